"""How the filter starts and ends, and its debug module."""

import os
import signal
import stat
import subprocess

import pytest
from running import FILTER, Filter, Folder, make_job, make_ppd, run_filter

USAGE = "vxpostprocessing job-id user title copies options [file]\n"
PLAIN = ["1", "user", "title", "1", ""]


def test_the_version_is_told_and_wrong_arguments_show_the_right_ones():
    for arguments in "-v", "", "-version", "-V", "-v a", "-v a b", "1 u t 1", "1 u t 1 o f x":
        result = run_filter(arguments=arguments.split())
        assert result.log == ""
        assert (result.output, result.status) == (("5.2.0.615\n", 0) if arguments == "-v" else (USAGE, 1)), arguments


@pytest.mark.parametrize("message, how", [
    ("Unable to redirect stdin", {"stdin": None}),
    ("Error opening stdout", {"stdout": None}),
    ('Unable to open print file "/nowhere/job"', {"arguments": PLAIN + ["/nowhere/job"]}),
    ('Unable to open file "/nowhere/job": No such file or directory', {"arguments": PLAIN + ["/nowhere/job"]}),
    ('Unable to open print file ""', {"arguments": PLAIN + [""]}),
    ('Unable to open file "/tmp": Is a directory', {"arguments": PLAIN + ["/tmp"]}),
    ("Error initializing pages manager", {"env": {"PPD": ""}}),
    ("Error initializing pages manager", {"env": {"PPD": "/nowhere"}})])
def test_a_start_that_fails_writes_nothing(message, how):
    result = run_filter(**how)
    assert result.log.startswith("DEBUG: vxPostProcessing launched\n")
    assert f"\nDEBUG: {message}\n" in result.log
    assert (result.output, result.status) == ("", 1)


@pytest.mark.parametrize("how", [{"stdin": None, "file": make_job(2)}, {"stderr": None, "file": make_job(2)},
                                 {"stderr": None}])
def test_a_closed_standard_stream_takes_no_part_of_the_job(how):
    result = run_filter("sides=two-sided-long-edge", make_job(2), **how)
    assert (result.output, result.status) == (make_job(2) + "\x04", 0)


# Without a task the last block counts, with one that waits in vain for its line the last line.
@pytest.mark.parametrize("job, in_blocks, in_lines", [
    ("a\x04\nb\n", "", "\x04"), ("%!PS\n\x04" + 2 * 131070 * "a", "\x04", "\x04"), ("abc\x04", "", "")])
def test_the_job_ends_with_its_mark(job, in_blocks, in_lines):
    assert run_filter("", job).output == job + in_blocks
    assert run_filter("MirrorPrint", job, '*MirrorPrint True: ""\n').output == job + in_lines


OPTIONS = "a=1 nob c='x y'"
ARGUMENTS = ["7", "user", "title", "1", OPTIONS]
NAMESPACE = ["-m"] if os.geteuid() == 0 else ["-m", "-r"]


def start_debugged(tmp, arguments=ARGUMENTS, **how):
    """The debug module works at fixed places below /tmp: here in one that nobody else sees.

    The program may lie below the /tmp that goes, so it is opened before.
    """
    program = os.open(FILTER, os.O_RDONLY)
    script = f'mount --bind "$0" /tmp && exec -a vxpostprocessing /proc/self/fd/{program} "$@"'
    run = Filter(env={"PPD": "/tmp/printer-given.ppd", "TMPDIR": "/tmp/spool"}, program="/usr/bin/unshare",
                 arguments=[*NAMESPACE, "bash", "-c", script, str(tmp.path), *arguments], pass_fds=[program], **how)
    os.close(program)
    return run


def run_debugged(tmp, commands=None, arguments=ARGUMENTS, job=make_job(1)):
    if commands is not None:
        tmp.write("vxpsfilterinit", commands)
    with start_debugged(tmp, arguments) as run:
        status = run.finish(job)
        return run.output, status


@pytest.fixture
def tmp():
    """What the filter sees as /tmp: with a printer description and a folder for temporary files."""
    with Folder() as folder:
        if subprocess.run(["unshare", *NAMESPACE, "mount", "--bind", folder.path, "/tmp"]).returncode != 0:
            pytest.skip("no private /tmp on this system")
        folder.write("printer-given.ppd", make_ppd())
        (folder.path / "spool").mkdir()
        yield folder


def mode_of(path):
    return stat.S_IMODE(path.stat().st_mode)


@pytest.mark.parametrize("commands, name, content", [
    ("DumpJobSettings\n", "job_settings.txt", OPTIONS),
    ("djs;;1\n", "job_settings.txt", "a=1\nb=false\nc=x y\n"),
    ("DJS;;true\n", "job_settings.txt", "a=1\nb=false\nc=x y\n"),
    ("djs;;1;;1\n", "job_settings.txt", OPTIONS),
    ("d\n", "job_settings.txt", OPTIONS),
    ("unknown\r\n\nDumpJ\r\n", "job_settings.txt", OPTIONS),
    ("dcla\n", "parameters.txt", "".join(f'argv[{number}]="{argument}"\n' for number, argument
                                         in enumerate(["vxpostprocessing", *ARGUMENTS]))),
    ("DIPS\n", "job.ps", make_job(1)),
    ("DumpInputPostScript\n", "job.ps", make_job(1)),
    ("dev\nppd\n", "printer.ppd", make_ppd())])
def test_every_command_leaves_its_file(tmp, commands, name, content):
    assert run_debugged(tmp, commands) == (make_job(1) + "\x04", 0)
    assert tmp.read(name) == content
    assert mode_of(tmp.path / name) == 0o666
    assert ("PPD=/tmp/printer-given.ppd\n" in tmp.read("environment.txt")) == ("dev" in commands)


def test_makes_a_test_case(tmp):
    run_debugged(tmp, "dips\nCreateTestCase\n")
    assert tmp.read("title7/job.ps") == make_job(1)
    assert tmp.read("title7/job_settings.txt") == OPTIONS
    assert tmp.read("title7/printer.ppd") == make_ppd()
    assert not (tmp.path / "job.ps").exists(), "the first copy was the job's file, and moved on"

    run_debugged(tmp, "ctc\n", ["7", "u", "below/", "1", ""])
    assert not (tmp.path / "below").exists(), "only the last level is made"
    run_debugged(tmp, "ctc\n", ["7", "u", "spool/../x", "1", ""])
    assert not (tmp.path / "x7").exists()
    run_debugged(tmp, "ctc\n", ["", "u", "./", "1", ""])
    assert mode_of(tmp.path) == 0o1777, "the place for everybody's files stays one"


def test_never_copies_a_file_over_itself(tmp):
    # The print file and the description are where the copies go, under other names.
    os.link(tmp.write("job-given", make_job(1)), tmp.path / "job.ps")
    os.link(tmp.path / "printer-given.ppd", tmp.path / "printer.ppd")
    assert run_debugged(tmp, "dips\nppd\n", [*ARGUMENTS, "/tmp/job-given"], "not this")[0] == make_job(1) + "\x04"
    assert tmp.read("printer-given.ppd") == make_ppd()


def test_trusts_only_what_is_its_own(tmp):
    init = tmp.path / "vxpsfilterinit"

    def is_obeyed():
        (tmp.path / "job_settings.txt").unlink(missing_ok=True)
        assert run_debugged(tmp)[1] == 0
        init.unlink(missing_ok=True)
        return (tmp.path / "job_settings.txt").exists()

    tmp.write("vxpsfilterinit", "djs\n")
    assert is_obeyed()
    assert not is_obeyed(), "there is none"
    tmp.write("vxpsfilterinit", "djs\n", 0o664)
    assert not is_obeyed(), "the group may write it"
    tmp.write("real", "djs\n")
    init.symlink_to("/tmp/real")
    assert not is_obeyed(), "a link"
    os.mkfifo(init, 0o600)
    assert not is_obeyed(), "a pipe, which would hold the job"
    # A dump does not follow a link at its place, and neither hangs on a pipe nor reports anything.
    (tmp.path / "job_settings.txt").symlink_to("/tmp/victim")
    os.mkfifo(tmp.path / "parameters.txt", 0o600)
    assert run_debugged(tmp, "djs\ndcla\n")[1] == 0
    assert not (tmp.path / "victim").exists()


def test_a_pause_ends_with_a_signal(tmp):
    tmp.write("vxpsfilter", "")
    with start_debugged(tmp) as run:
        assert run.finish(make_job(1), seconds=0.2) is None
        run.process.send_signal(signal.SIGHUP)
        run.process.send_signal(signal.SIGQUIT)
        assert run.wait(0.1) is None, "these two are blocked"
        assert run.terminate() == 128 + signal.SIGTERM
