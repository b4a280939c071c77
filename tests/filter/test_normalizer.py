import errno
import signal
from concurrent.futures import ThreadPoolExecutor

from running import Folder, between, make_job, run_filter, run_ghostscript

TWO_SIDED = "sides=two-sided-long-edge"
MIRROR = '*MirrorPrint True: ""\n'
COPIES = "%RBIBeginNonPPDFeature: *NumCopies 3\n<</NumCopies 3>>setpagedevice\n%RBIEndNonPPDFeature\n"


class StandIns(Folder):
    """Shell scripts that stand where the system's conversion filters do. They find the folder as $CUPS_SERVERBIN, and
    may leave files there. By default each hands its input on unchanged."""

    def __init__(self, to_pdf="cat", to_postscript='cat "$6"'):
        super().__init__()
        self.write("filter/gstopdf", f"#!/bin/sh\n{to_pdf}\n", 0o755)
        self.write("filter/pdftops", f"#!/bin/sh\n{to_postscript}\n", 0o755)

    def run(self, options=TWO_SIDED, job=make_job(2), **how):
        return run_native(options, job, self.path, **how)


def run_native(options, job, server="", **how):
    env = {"CONTENT_TYPE": "application/postscript", "CUPS_SERVERBIN": str(server)}
    return run_filter(options, job, env=env, **how)


def test_the_systems_own_filters_keep_every_page_and_its_size():
    size = "%%BeginFeature: *PageSize Letter\n<</PageSize[300 400]>>setpagedevice\n%%EndFeature\n"
    # It draws, in the fonts that every interpreter has.
    job = make_job(4, size + COPIES).replace("(page", "/Helvetica findfont 40 scalefont setfont 72 200 moveto (page")
    result = run_native(TWO_SIDED + " number-up=2 page-ranges=2-3 page-set=odd OutputOrder=Reverse mirror page-label=x "
                        "copies=3", job)
    assert result.status == 0
    assert "Normalization was successful" in result.log
    assert result.output.count("\n%%Page: ") == 4
    assert result.output.count("NumCopies 3>>") == 1
    assert COPIES in result.output and "300 400" in result.output
    # Turned round once, by the filter itself.
    one_copy = result.output.replace("<</NumCopies 3>>setpagedevice", "")
    drawn = run_ghostscript("-dSAFER -sDEVICE=txtwrite -o -", one_copy)
    assert drawn.split() == "page 4 page 3 page 2 page 1".split()


def test_only_the_filter_itself_speaks_to_cups():
    with StandIns("echo 'PAGE: 1 1' >&2; printf 'ERROR: bad\\rSTATE: x\\nATTR: y' >&2; cat") as stand_ins:
        log = stand_ins.run().log
        for line in "PAGE: 1 1", "ERROR: bad", "STATE: x", "ATTR: y":
            assert "DEBUG: " + line in log and log.count(line) == 1, log


def test_whatever_fails_the_job_comes_out_whole():
    """In its old order, with no feature in it."""
    def expect_passed_through(server, **how):
        for job in make_job(5000), make_job(2, COPIES), "%!PS":
            for given in {"job": job}, {"job": "", "file": job}:
                result = run_native(TWO_SIDED + " MirrorPrint", server=server, ppd=MIRROR, **given, **how)
                assert result.output == job + "\x04", len(result.output)
                assert result.status == 0
                assert "DEBUG: Normalization was not successful" in result.log
                assert "DEBUG: Reordering failed. Switching to pass-through mode" in result.log

    assert f"Return code - {errno.ENOENT << 8}\n" in run_native(TWO_SIDED, make_job(1), "/nonexistent").log
    expect_passed_through("/nonexistent")
    for scripts in [("cat; exit 1",), ("cat", 'cat "$6"; exit 1'), ("cat >/dev/null",), ("cat", ":"), ("kill -9 $$",)]:
        with StandIns(*scripts) as stand_ins:
            expect_passed_through(stand_ins.path)
    with StandIns("dd if=/dev/zero bs=1000 count=4000 2>/dev/null; exit 0") as stand_ins:
        expect_passed_through(stand_ins.path, file_size_limit=3000000)  # no room for the result


def test_a_conversion_that_hangs_is_ended_and_a_slow_one_is_not():
    """The system's own hangs when its interpreter gives up on a job that is longer than the pipe to it."""
    with StandIns("true & exec sleep 1000") as hanging, StandIns("sleep 7; cat") as slow, ThreadPoolExecutor() as pool:
        ended, waited = pool.map(StandIns.run, (hanging, slow))
    assert ended.output == make_job(2) + "\x04" and ended.status == 0
    assert "Normalization was not successful. Return code - 15" in ended.log
    assert "Normalization was successful" in waited.log


def test_the_conversions_clean_and_do_nothing_else():
    report = """
printf '%s|' "$@" >>"$CUPS_SERVERBIN/arguments"; echo >>"$CUPS_SERVERBIN/arguments"
echo "PPD=$PPD" >>"$CUPS_SERVERBIN/environment"; """
    with StandIns(report + "cat", report + 'cat "$6"') as stand_ins:
        result = stand_ins.run("number-up=4 media=Letter landscape fit-to-page sides=two-sided-long-edge mirror "
                               "pdftops-renderer=pdftops orientation-requested=4", copies="7", title="a 'title'")
        assert result.status == 0
        said = stand_ins.read("arguments")
        arguments = "1|user|a 'title'|1|media=Letter pdftops-renderer=pdftops|"
        descriptor = between(said, "/dev/fd/", "|")
        assert said == f"{arguments}\n{arguments}/dev/fd/{descriptor}|\n"
        assert stand_ins.read("environment") == "PPD=\nPPD=\n"


def test_without_options_the_size_is_the_printers_default():
    with StandIns('echo "$5" >"$CUPS_SERVERBIN/options"; cat') as stand_ins:
        assert stand_ins.run().status == 0
        assert stand_ins.read("options") == "media=A4\n"


def test_nothing_is_left_behind():
    with StandIns('ls "$TMPDIR" >"$CUPS_SERVERBIN/files"; cat; kill -KILL $PPID') as stand_ins:
        assert stand_ins.run().status == 128 + signal.SIGKILL
        assert stand_ins.read("files") == ""
