"""Runs the built programs as CUPS does, and says what came of it.

A text is a str whose characters stand for bytes (Latin-1): jobs and options as well as outputs and logs. utf8() makes
one of real characters.
"""

import os
import resource
import signal
import subprocess
import tempfile
import threading
import time
from dataclasses import dataclass
from pathlib import Path
from subprocess import DEVNULL, PIPE

SOURCES = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("VX_BUILD_DIR", SOURCES / "build/release")).resolve()
FILTER = BUILD / "vxpostprocessing"
IS_SANITIZED = os.environ.get("VX_SANITIZE", "") != ""  # slower and larger: tests do less there, and do not judge sizes

PPD_HEAD = Path(__file__).with_name("printer.ppd").read_text()
DUPLEX_UNIT = """*OpenUI *Duplex: PickOne
*DefaultDuplex: None
*Duplex None: "<</Duplex false>>setpagedevice"
*Duplex DuplexNoTumble: "<</Duplex true/Tumble false>>setpagedevice"
*Duplex DuplexTumble: "<</Duplex true/Tumble true>>setpagedevice"
*CloseUI: *Duplex
"""


def utf8(text):
    return text.encode().decode("latin-1")


def make_ppd(statements="", has_duplex_unit=True):
    """A printer description that libcups accepts: two page sizes, a duplex unit, then the statements."""
    return PPD_HEAD + (DUPLEX_UNIT if has_duplex_unit else "") + statements


def make_job(pages, setup=""):
    """A converted job; each page holds the line "(page N) show"."""
    text = "".join(f"%%Page: {n} {n}\n%%BeginPageSetup\n%%EndPageSetup\n(page {n}) show\nshowpage\n%%PageTrailer\n"
                   for n in range(1, pages + 1))
    return (f"%!PS-Adobe-3.0\n%%Pages: {pages}\n%%EndComments\n%%BeginProlog\n%%EndProlog\n%%BeginSetup\n{setup}"
            f"%%EndSetup\n{text}%%Trailer\n%%EOF\n")


def between(text, begin, end):
    """What stands between the first begin and the next end; None when either is missing."""
    _, found, rest = text.partition(begin)
    inside, ended, _ = rest.partition(end)
    return inside if found and ended else None


def wait_until(condition, seconds=10):
    """Looks every few milliseconds whether it is so. False when it is not within the time."""
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            return False
        time.sleep(0.005)
    return True


@dataclass
class Result:
    output: str
    log: str
    status: int


class Folder:
    """A new folder that is gone with all it holds at the end of its `with` block."""

    def __init__(self):
        self._temporary = tempfile.TemporaryDirectory(prefix="vxtest.")
        self.path = Path(self._temporary.name)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._temporary.cleanup()

    def write(self, name, text, mode=0o644):
        """Writes a file, with the folders on its way, and returns its path."""
        path = self.path / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(text.encode("latin-1"))
        path.chmod(mode)
        return str(path)

    def read(self, name):
        """The file's text; empty when there is none."""
        path = self.path / name
        return path.read_bytes().decode("latin-1") if path.exists() else ""


class Program(Folder):
    """A program while it runs, in a folder of its own. What still runs at the end of the `with` block is killed.

    env is all of its environment, but for the sanitizers' options. A stream is PIPE, a file, the name of a file to be
    written in the folder, or None for a closed one.
    """

    def start(self, arguments, env, *, program=FILTER, stdin=PIPE, stdout="output", stderr="log", pass_fds=(),
              file_size_limit=resource.RLIM_INFINITY):
        streams = [stdin, stdout, stderr]

        def prepare():
            for number, stream in enumerate(streams):
                if stream is None:
                    os.close(number)
            resource.setrlimit(resource.RLIMIT_FSIZE, (file_size_limit, file_size_limit))

        sanitizers = {name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")}
        opened = [open(self.path / stream, "wb") if isinstance(stream, str) else DEVNULL if stream is None else stream
                  for stream in streams]
        self.process = subprocess.Popen(
            [argument.encode("latin-1") for argument in ["vxpostprocessing", *arguments]], executable=program,
            env={name: value.encode("latin-1") for name, value in (sanitizers | env).items()},
            stdin=opened[0], stdout=opened[1], stderr=opened[2], bufsize=0, preexec_fn=prepare,
            pass_fds=pass_fds)
        for stream, file in zip(streams, opened):
            if isinstance(stream, str):
                file.close()
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        for stream in (self.process.stdin, self.process.stdout):
            if stream:
                stream.close()
        super().__exit__()

    @property
    def output(self):
        return self.read("output")

    @property
    def log(self):
        return self.read("log")

    def feed(self, text, bite=1 << 20):
        """Gives it more on its standard input. Nothing happens when it has none or does not read any more."""
        data = text.encode("latin-1") if self.process.stdin else b""
        try:
            for at in range(0, len(data), bite):
                piece = memoryview(data)[at:at + bite]
                while piece:
                    piece = piece[self.process.stdin.write(piece):]
        except BrokenPipeError:
            pass

    def finish(self, text="", seconds=100, bite=1 << 20):
        """Its exit status after this last piece; None when it does not end within the time."""
        self.feed(text, bite)
        if self.process.stdin:
            self.process.stdin.close()
        return self.wait(seconds)

    def finish_later(self, text, bite=1 << 20):
        """The same from a thread, for who reads the output meanwhile."""
        thread = threading.Thread(target=self.finish, args=(text,), kwargs={"bite": bite}, daemon=True)
        thread.start()
        return thread

    def wait(self, seconds=100):
        """The exit status, or 128 + signal when a signal ended it; None when it still runs after the time."""
        try:
            status = self.process.wait(seconds)
        except subprocess.TimeoutExpired:
            return None
        return status if status >= 0 else 128 - status

    def terminate(self):
        self.process.send_signal(signal.SIGTERM)
        return self.wait()

    def wait_for_output(self, text, seconds=10):
        return wait_until(lambda: text in self.output, seconds)

    def wait_for_log(self, text, seconds=10):
        return wait_until(lambda: text in self.log, seconds)


class Filter(Program):
    """The built filter while it runs as in the chain for a converted job: with a printer description of its own and a
    folder for its temporary files.

    ppd is the statements behind the usual head, or a whole description. An empty value of env unsets a variable. file
    is the text of a job that is given as a file. how goes to Program.start.
    """

    def __init__(self, options="", ppd="", env={}, user="user", title="title", copies="1", file=None, arguments=None,
                 **how):
        super().__init__()
        (self.path / "tmp").mkdir()
        description = ppd if ppd.startswith("*PPD-Adobe") else make_ppd(ppd)
        whole = {"PATH": "/usr/bin:/bin", "HOME": os.environ.get("HOME", ""), "CONTENT_TYPE": "application/pdf",
                 "PPD": self.write("printer.ppd", description), "TMPDIR": str(self.path / "tmp"),
                 "SOURCE_DATE_EPOCH": "1700000000"} | env
        if arguments is None:
            arguments = ["1", user, title, copies, options] + ([] if file is None else [self.write("job", file)])
        self.start(arguments, {name: value for name, value in whole.items() if value}, **how)


def run_filter(options="", job=None, ppd="", **how):
    """One whole run. The job is a converted one of one page unless another is given."""
    with Filter(options, ppd, **how) as run:
        status = run.finish("" if "file" in how else make_job(1) if job is None else job)
        return Result(run.output, run.log, status)


def setup_of(options, ppd, setup=""):
    """The setup that comes out of a converted job of one page."""
    output = run_filter(options, make_job(1, setup), ppd).output
    return between(output, "%%BeginSetup\n", "%%EndSetup")


def shell(command):
    """What the command says. Expects it to end well."""
    done = subprocess.run(["bash", "-c", command], stdout=PIPE, stderr=subprocess.STDOUT)
    said = done.stdout.decode("latin-1")
    assert done.returncode == 0, f"{command}\n{said}"
    return said


def run_ghostscript(options, program):
    """What Ghostscript prints while it runs the program, and then what it reports. Expects it to end well."""
    with Folder() as folder:
        job, errors = folder.write("job.ps", program), folder.path / "errors"
        return shell(f"gs -q -dBATCH -dNOPAUSE {options} {job} 2>{errors}; status=$?; cat {errors}; exit $status")
