"""What goes wrong around the filter: full disks, readers that leave, ends at any moment, hostile jobs."""

import os
import signal
import time
from pathlib import Path

import pytest
from running import IS_SANITIZED, PIPE, Filter, Folder, make_job, run_filter, wait_until

EVERY_LINE = "MirrorPrint"  # tasks are outstanding to the trailer
STORED = "MirrorPrint sides=two-sided-long-edge"  # and the job is stored first
MIRROR = '*MirrorPrint True: ""\n'
in_every_mode = pytest.mark.parametrize("options", ["", EVERY_LINE, STORED])


def start(options=EVERY_LINE, **how):
    return Filter(options, MIRROR, **how)


def expect_loss(run, sentence, job=""):
    """The job was lost: one plain sentence, and a status that CUPS sees."""
    assert run.finish(job) == 1
    assert f"\nERROR: {sentence}\n" in run.log
    assert run.log.count("\nERROR: ") == 1
    assert not os.listdir(run.path / "tmp")


@pytest.mark.parametrize("pages", [1, 20000])  # fails at the last flush, and in the midst of the job
def test_a_full_disk_on_the_output_is_told(pages):
    with open("/dev/full", "wb") as full, start(stdout=full) as run:
        expect_loss(run, "Unable to write the print job: No space left on device", make_job(pages))


@in_every_mode
def test_a_reader_that_leaves_is_told(options):
    with start(options, stdout=PIPE) as run:
        run.process.stdout.close()
        expect_loss(run, "Unable to write the print job: Broken pipe", make_job(20000))


@in_every_mode
def test_a_read_error_is_told(options):
    with Folder() as folder:
        directory = os.open(folder.path, os.O_RDONLY)
        with start(options, stdin=directory) as run:
            os.close(directory)
            expect_loss(run, "Unable to read the whole print job: Is a directory")


def test_without_a_temporary_file_the_job_prints_as_it_came():
    result = run_filter("sides=two-sided-long-edge", make_job(4), env={"TMPDIR": "/nowhere"})
    assert (result.output, result.status) == (make_job(4) + "\x04", 0)
    assert "ERROR" not in result.log


@in_every_mode
def test_small_bites_make_no_difference(options):
    job = make_job(3, "%%BeginFeature: *MirrorPrint True\r\ncode\r\n%%EndFeature\r\n")
    with start(options, stdout=PIPE) as run:
        run.finish_later(job, bite=1)
        output = b"".join(iter(lambda: run.process.stdout.read(1), b"")).decode()
        assert output == run_filter(options, job, MIRROR).output
        assert run.wait() == 0


def terminate(run):
    """Gone by the signal, and nothing stays behind. Returns how many seconds it took."""
    before = time.monotonic()
    assert run.terminate() == 128 + signal.SIGTERM
    duration = time.monotonic() - before
    assert not os.listdir(run.path / "tmp")
    return duration


def wait_until_blocked(run, descriptor):
    """Until it sleeps in a system call whose first argument is the descriptor (proc_pid_syscall(5))."""
    call = Path(f"/proc/{run.process.pid}/syscall")
    assert wait_until(lambda: call.read_text().split()[1:2] == [hex(descriptor)], 60)


def test_a_termination_is_obeyed_at_once():
    durations = []
    for options in ("", EVERY_LINE, STORED):
        with start(options) as reading:
            reading.feed("%!PS-Adobe-3.0\n%%EndComments\n%%Page: 1 1\n")
            wait_until_blocked(reading, 0)
            durations.append(terminate(reading))
        with start(options, stdout=PIPE) as writing:
            feeder = writing.finish_later(make_job(20000))
            wait_until_blocked(writing, 1)
            durations.append(terminate(writing))
            feeder.join()
    # One of six: a machine that is busy with something else may delay any of them.
    assert min(durations) < 0.1


def test_a_termination_may_come_at_any_moment():
    job = make_job(400)
    for fed in range(0, len(job), len(job) // (5 if IS_SANITIZED else 23)):
        with start(STORED) as run:
            run.feed(job[:fed])
            terminate(run)


# A signal that can be caught ends what the converter started, too, and what does not care for signals.
@pytest.mark.parametrize("number, script", [(signal.SIGTERM, "trap '' TERM\nexec 9>FIFO\nsleep 1000\n:\n"),
                                            (signal.SIGKILL, "exec 9>FIFO sleep 1000\n")])
def test_a_converter_ends_with_the_filter(number, script):
    with Folder() as programs:
        fifo = programs.path / "fifo"
        os.mkfifo(fifo)
        programs.write("filter/gstopdf", "#!/bin/sh\n" + script.replace("FIFO", str(fifo)), 0o755)
        with start(STORED, env={"CUPS_SERVERBIN": str(programs.path), "CONTENT_TYPE": ""}) as run:
            run.finish_later(make_job(1))
            with open(fifo, "rb") as alive:
                run.process.send_signal(number)
                assert run.wait() == 128 + number
                assert alive.read() == b"", "ends when the converter has ended"


def test_long_arguments_are_taken_whole():
    options = "VXJobRetention=VXJobRetentionPrivate VXCustomJobName=" + 100000 * "n"
    keywords = '*VXJobAccounting True: ""\n*VXAccountingInfo: "2"\n' + MIRROR
    for more in ("", " VXJobAccounting=True VXUUID=True", " VXJobAccounting=True VXUUID=True MirrorPrint"):
        result = run_filter(options + more, make_job(2), keywords, user=100000 * "(", title=100000 * "(")
        assert result.status == 0
        assert result.output.count(") show\n") == 2


@in_every_mode
def test_an_endless_line_needs_no_memory(options):
    pieces = 10 if IS_SANITIZED else 100
    with start(options) as run:
        for _ in range(pieces):
            run.feed((1 << 20) * "a")
        peak = Path(f"/proc/{run.process.pid}/status").read_text().split("VmHWM:")[1].split()[0]  # KiB
        assert IS_SANITIZED or int(peak) < 16 * 1024
        assert run.finish() == 0
        assert (run.path / "output").stat().st_size == (pieces << 20) + 1


@pytest.mark.parametrize("options", [EVERY_LINE, STORED])
def test_a_million_page_comments(options):
    pages = 50000 if IS_SANITIZED else 1000000
    comments = "".join(f"%%Page: {page} 1\n" for page in range(1, pages + 1))
    with open("/dev/null", "wb") as nowhere, start(options, stderr=nowhere) as run:
        assert run.finish(f"%!PS-Adobe-3.0\n%%EndComments\n%%EndSetup\n{comments}%%Trailer\n") == 0
        assert run.output.count("%%Page:") == pages


def test_a_million_end_of_job_marks():
    with start() as run:
        job = "%!PS-Adobe-3.0\n%%EndComments\n%%EndSetup\n%%Page: 1 1\n" + 1000000 * "\x04\n" + "not the end\n"
        assert run.finish(job, seconds=20) == 0
        assert run.output.count("\x04\n") == 1000000


@in_every_mode
def test_nothing_but_page_comments(options):
    for job in ("%%Page: 1 1", "%%Page: 1 1\r%%Page: 2 2\r", "%%Page:\n%%Page: (\n%%Page: 0 0\n",
                "%%Trailer\n%%Page: 1 1\n%%EOF\n", "%%Page: 1 -1\n\x04%%Page: 1 99999999999\n"):
        result = run_filter(options, job, MIRROR)
        assert result.status == 0
        assert "\x04" in result.output


@pytest.mark.parametrize("options", [EVERY_LINE, STORED])
def test_binary_data_that_looks_like_comments(options):
    binary = ("\x80\xff\0%%Page: 9 9\nx%%Trailer\n(%%EOF) show\n" + 9000 * "\xfe" + "%%Page: 8 8\n\0%%EndSetup\n")
    output = run_filter(options, make_job(2).replace("(page 1)", binary + "(page 1)"), MIRROR).output
    assert binary in output
    assert output.count("\nVXshowpage\n") == 2
