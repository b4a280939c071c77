"""A CUPS scheduler of the test's own, all of it in one folder."""

import os
import re
import shutil
import signal
import subprocess
from pathlib import Path

from running import BUILD, FILTER, SOURCES, Folder, wait_until

PROGRAMS = Path("/usr/lib/cups")
PARTS = Path(__file__).with_name("server")


class PrintServer(Folder):
    """Has the system's filters, the built filter beside them, and a queue for each sample printer, which writes each
    job to a file. Such a queue with the prefix "slow-" takes the beginning of a job and no more until open_gate.

    settings is what the filters get in their environment besides the usual.
    """

    def __init__(self, settings={}):
        super().__init__()
        self.path.chmod(0o711)
        for name in ("root/ppd", "programs/filter", "state", "cache", "spool", "log", "tmp", "paper"):
            (self.path / name).mkdir(parents=True)
        for name in ("tmp", "paper"):
            (self.path / name).chmod(0o1777)
        self._put_programs()
        shutil.copytree(SOURCES / "resources", self.path / "resources")
        shutil.copytree(BUILD / "guides", self.path / "resources/guides", dirs_exist_ok=True)
        os.mkfifo(self.path / "gate")
        (self.path / "gate").chmod(0o644)
        self._make_queues()
        for name in ("cupsd.conf", "cups-files.conf"):
            self.write("root/" + name, (PARTS / name).read_text().replace("FOLDER", str(self.path)))
        with open(self.path / "root/cups-files.conf", "a") as files:
            files.writelines(f"SetEnv {name} {value}\n" for name, value in settings.items())
        self._start()

    def __exit__(self, *_):
        self._stop()
        super().__exit__()

    def _put_programs(self):
        for name in ("cgi-bin", "daemon", "driver", "monitor", "notifier"):
            (self.path / "programs" / name).symlink_to(PROGRAMS / name)
        filters = self.path / "programs/filter"
        for program in [FILTER, *BUILD.glob("*.so")]:
            shutil.copy(program, filters)
            (filters / program.name).chmod(0o755)
        for program in (PROGRAMS / "filter").iterdir():
            if not (filters / program.name).exists():
                (filters / program.name).symlink_to(program)
        for name in ("paper", "slow"):
            self.write("programs/backend/" + name, (PARTS / name).read_text(), 0o755)

    def _make_queues(self):
        queues = ""
        for description in (BUILD / "ppd").glob("*.ppd"):
            for prefix, scheme in (("", "paper"), ("slow-", "slow")):
                queue = prefix + description.stem
                queues += (f"<Printer {queue}>\nDeviceURI {scheme}:{self.path}/paper\nState Idle\nAccepting Yes\n"
                           "ErrorPolicy abort-job\n</Printer>\n")
                shutil.copy(description, self.path / f"root/ppd/{queue}.ppd")
        self.write("root/printers.conf", queues)

    def _start(self):
        command = ["cupsd", "-f", "-c", self.path / "root/cupsd.conf", "-s", self.path / "root/cups-files.conf"]
        with open(self.path / "log/output", "wb") as output:
            self._scheduler = subprocess.Popen(command, executable="/usr/sbin/cupsd", stdin=subprocess.DEVNULL,
                                               stdout=output, stderr=output, umask=0o022)
        assert wait_until(lambda: self.try_command("lpstat -r").startswith("scheduler is running"), 100), self.log

    def _stop(self):
        self._scheduler.send_signal(signal.SIGTERM)
        self._scheduler.wait()

    def restart(self):
        """Ends it as a shutdown of the machine does, and starts it again with the jobs that it kept."""
        self._stop()
        self._start()

    def try_command(self, command):
        """What one of CUPS's commands, sent to this server, says."""
        environment = os.environ | {"CUPS_SERVER": f"{self.path}/socket", "LC_ALL": "C",
                                    "PATH": os.environ["PATH"] + ":/usr/sbin"}
        return subprocess.run(command, shell=True, env=environment, stdout=subprocess.PIPE, text=True).stdout

    def print(self, queue, arguments):
        """lp(1) to a queue, with arguments as in a shell. The job's number."""
        said = self.try_command(f"lp -d {queue} {arguments}")  # "request id is QUEUE-NUMBER (1 file(s))"
        return int(said.split()[3].rpartition("-")[2])

    def wait_for_log(self, text):
        with open(self.path / "log/error", errors="replace") as log:
            kept = ""

            def is_there():
                nonlocal kept
                kept = kept[-len(text):] + log.read()
                return text in kept

            return wait_until(is_there, 100)

    def wait_for_end(self, job):
        """How it ended: "completed", "canceled" or "aborted"."""
        assert self.wait_for_log(f"[Job {job}] time-at-completed="), self.log
        return re.search(rf"\[Job {job}\] Job (completed|canceled|aborted)", self.log)[1]

    def open_gate(self):
        """Lets the slow queues' jobs go on, this one and all further ones."""
        # Who waits reads the end of the pipe, who comes later that of a file.
        gate = os.open(self.path / "gate", os.O_RDWR)
        os.rename(self.write("open", ""), self.path / "gate")
        os.close(gate)

    @property
    def log(self):
        return self.read("log/error")

    def paper_of(self, job):
        """Where what the printer got of a job is once it has ended."""
        return self.path / f"paper/{job}"
