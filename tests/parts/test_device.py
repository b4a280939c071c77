"""Jobs on a printer that is watched: an IPP printer of the test's own, which stops, fails, or is none at all."""

import signal
import time

import pytest
from ipp_printer import HEAD, IPPPrinter, drip, flood, hang, say
from running import SOURCES, Filter, make_job, run_filter, wait_until

JOB_HEAD = "%!PS-Adobe-3.0\n%%EndComments\n%%BeginSetup\n%%EndSetup\n"
JOB_TAIL = "%%Trailer\n%%EOF\n"
WATCHED = '*VXSupportDeviceStatusMonitoring: "True"\n*MirrorPrint: "True"\n'
STOPPED = "ERROR: recoverable:The printer has stopped.\n"
UNRESOLVED = "Service info hasn't been resolved. The error: "


@pytest.fixture
def printer():
    with IPPPrinter() as printer:
        yield printer


def watch(printer, options="", uri=None):
    """A job for the printer, or for another one."""
    return Filter(options, WATCHED, env={"VX_RESOURCES": str(SOURCES / "resources"), "LANG": "en_US.UTF-8",
                                         "DEVICE_URI": uri or printer.get_uri()})


def page(number, content=""):
    return f"%%Page: {number} {number}\n{content}showpage\n"


def test_without_the_keyword_nobody_is_asked_and_without_a_device_nothing_starts(printer):
    result = run_filter(ppd='*VXSupportDeviceStatusMonitoring: "False"\n', env={"DEVICE_URI": printer.get_uri()})
    assert result.status == 0
    assert "INFO:" not in result.log
    assert printer.connections == 0
    result = run_filter(ppd=WATCHED)
    assert (result.output, result.status) == ("", 1)


@pytest.mark.parametrize("state, reasons, line", [
    (3, ["none"], "INFO:The printer is ready.\n"),
    (4, ["none"], "INFO:Printing\n"),
    (5, ["none"], STOPPED),
    (4, ["none", "media-low-report", "toner-low-warning"], "INFO:The printer needs attention.\n"),
    (4, ["media-empty-error"], "ERROR: recoverable:The printer has a problem that needs to be fixed.\n"),
    (4, ["shutdown"], "ERROR:The printer is out of service.\n"),
    (3, ["processing-to-stop-point"], "INFO:The printer is canceling the job.\n")])
def test_what_the_printer_says_is_told(printer, state, reasons, line):
    printer.state, printer.reasons = state, reasons
    with watch(printer) as run:
        run.feed(JOB_HEAD)
        times = 2 if "Printing" in line else 1  # that is said before anybody is asked, too
        assert wait_until(lambda: run.log.count("\n" + line) == times)
    assert printer.asked_uri == printer.get_uri()


def test_holds_the_job_while_the_printer_is_stopped(printer):
    printer.state = 5
    with watch(printer) as run:
        run.feed(JOB_HEAD)
        assert run.wait_for_log(STOPPED)
        assert run.log.index("\nINFO:Printing\n") < run.log.index(STOPPED)
        # The pause comes right after the line: some pages may be quicker. What is held does not come out.
        pages = 0
        while pages == 0 or run.wait_for_output(page(pages), 1):
            pages += 1
            run.feed(page(pages))
        assert run.finish(JOB_TAIL, seconds=1) is None
        assert "%%Trailer" not in run.output
        printer.state = 3
        assert run.wait_for_log("\nWARNING: recovered:\n", 20)
        assert run.wait() == 0
        assert "".join(map(page, range(1, pages + 1))) + JOB_TAIL + "\x04" in run.output


def test_gives_what_there_is_before_a_pause(printer):
    # Line by line the output has a buffer, which a few pages do not fill.
    printer.state = 5
    with watch(printer, "MirrorPrint=True") as run:
        run.feed(JOB_HEAD)
        assert run.wait_for_log(STOPPED)
        for number in range(1, 20):
            run.feed(page(number))
            if run.wait_for_output("%%EndSetup\n", 1):
                return
        pytest.fail("nothing came out")


# The rest of a job that awaits no line goes in large blocks, and is looked at between them; else the first page is
# finished, and no other one begun.
@pytest.mark.parametrize("options, unprinted", [("", "%%Page: 50 50\n"), ("MirrorPrint=True", "%%Page: 2 2\n")])
def test_ends_the_job_on_a_fatal_error_and_waits(printer, options, unprinted):
    printer.reasons = ["shutdown"]
    with watch(printer, options) as run:
        run.feed(JOB_HEAD + page(1))
        assert run.wait_for_log("\nERROR:The printer is out of service.\n")
        assert run.wait_for_log("Terminating iteration\n")
        feeder = run.finish_later("".join(page(number, 50000 * "\n") for number in range(2, 60)))
        assert run.wait_for_output("\n%%EOF\x04")
        assert run.output.endswith("\n%%EOF\x04")
        assert unprinted not in run.output
        assert run.wait(1) is None, "it waits to be cancelled"
        assert run.terminate() == 128 + signal.SIGTERM
        feeder.join()


def test_ends_itself_when_the_printer_cancels(printer):
    printer.reasons = ["processing-to-stop-point"]
    with watch(printer) as run:
        run.feed(JOB_HEAD)
        assert run.wait_for_log("\nINFO:The printer is canceling the job.\n")
        assert run.finish(page(1) + page(2) + JOB_TAIL) == 0
        assert page(2) + JOB_TAIL + "\x04" in run.output


def expect_quick_end(run, job):
    start = time.monotonic()
    assert run.finish(job) == 0
    assert time.monotonic() - start < 2
    assert run.output.endswith(job + "\x04")


@pytest.mark.parametrize("fault", [hang, drip])
def test_a_stuck_printer_does_not_delay_the_job(printer, fault):
    printer.behave = fault
    uris = [printer.get_uri("ipp"), printer.get_uri("ipps")]
    with watch(printer, uri=uris[0]) as first, watch(printer, uri=uris[1]) as second:
        for run in (first, second):
            run.feed(JOB_HEAD)
        for run in (first, second):
            assert run.wait_for_log(UNRESOLVED, 9), "it is asked for seven seconds"
            expect_quick_end(run, page(1) + JOB_TAIL)
    for uri in uris:
        connections = printer.connections
        with watch(printer, uri=uri) as run:
            assert wait_until(lambda: printer.connections > connections)
            expect_quick_end(run, make_job(1))


@pytest.mark.parametrize("uri", ["ipp://127.0.0.1:1/x", "ipp://nowhere.invalid/x", "usb://Maker/Model", "ipps"])
def test_an_unreachable_printer_does_not_delay_the_job(printer, uri):
    with watch(printer, uri=uri if ":" in uri else printer.get_uri(uri)) as run:
        expect_quick_end(run, make_job(1))


@pytest.mark.parametrize("behave", [
    say(b"220 ready\r\n\r\n"),
    say(b'HTTP/1.1 401 Unauthorized\r\nContent-Length: 0\r\nWWW-Authenticate: Basic realm="x"\r\n\r\n'),
    say(HEAD + b"Content-Length: 9\r\n\r\nhellohell"),
    say(HEAD + b"Content-Length: 0\r\n\r\n"),
    say(HEAD + b"Content-Length: 99\r\n\r\n\1\1\0\0\0\0\0\1\1G"),
    say(HEAD + b"Content-Length: 9\r\n\r\n\2\0\5\3\0\0\0\1\3"),
    flood(HEAD + b"\r\n\1\1\0\0\0\0\0\1\4", b"\x44\0\1a\0\1b"),
], ids=["no HTTP", "wants a password", "no IPP", "nothing", "breaks off", "refuses the version", "endless"])
def test_what_is_no_answer_is_refused(printer, behave):
    printer.behave = behave
    with watch(printer) as run:
        assert run.wait_for_log(UNRESOLVED, 6), "not for want of time"
        expect_quick_end(run, make_job(1))
