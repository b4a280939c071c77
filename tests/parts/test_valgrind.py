"""The main roads in valgrind, which also sees what no sanitizer looks at: the use of memory that nobody wrote, in the
libraries too."""

import shutil

import pytest
from running import BUILD, FILTER, SOURCES, run_filter


@pytest.mark.skipif(shutil.which("valgrind") is None, reason="valgrind is not installed")
@pytest.mark.parametrize("printer, content_type, options", [
    ("office", "application/pdf", ""),
    ("office", "application/pdf", "MirrorPrint=True VXwmrSwitch=Overlay VXImageShiftFront=True VXAccountID=True "
     "VXJobRetentionOption=VXJobRetentionPrivate VXPinToPrintExtended=1 orientation-requested=4"),
    ("office", "application/pdf", "VXBookletFilter=True VXBookletPaperSize=A4 AP_FIRSTPAGE_InputSlot=x InputSlot=y"),
    ("office", "application/postscript", "VXFaceOrientation=FaceUp sides=two-sided-long-edge"),
    ("manual", "application/pdf", "VXManualDuplexSupport=True VXManualDuplexSwitch=True VXManualDuplexPrintGuide=True"),
    ("veldra", "application/pdf", "media=Custom.300x400 collate=true")])
def test_memory_is_written_before_it_is_used(printer, content_type, options):
    # The text layout is made in a module and freed by the program: both have their own name for the same operator.
    valgrind = ["-q", "--error-exitcode=9", "--show-mismatched-frees=no", str(FILTER)]
    result = run_filter(job=(SOURCES / "tools/sample.ps").read_text(), ppd=(BUILD / f"ppd/{printer}.ppd").read_text(),
                        env={"CONTENT_TYPE": content_type, "DEVICE_URI": "file:/dev/null"},
                        program="/usr/bin/valgrind", arguments=[*valgrind, "1", "user", "title", "2", options])
    assert result.status == 0, result.log
