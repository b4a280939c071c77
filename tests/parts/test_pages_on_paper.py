"""Pages that are moved, mirrored or put together, printed by Ghostscript: where their ink is."""

from running import make_job, make_ppd, run_filter, run_ghostscript

PPD = make_ppd("""*MirrorPrint: "True"
*VXBookletFilter: "True"
*VXImageShiftDetails Front: "<< /PageOffset [ %f %f ] >> setpagedevice"
""")


def print_bars(pages, options, page_setup="", ppd=PPD):
    """What the job leaves on the two stacks, and the ink of each side as "left bottom right top" in points, each
    rounded outwards by a point. Each page shows one bar, from 100 100 to 300 150."""
    job = make_job(pages, "<</PageSize[595 842]>>setpagedevice\n"
                          "%%BeginFeature: *VXImageShiftFront True\n%%EndFeature\n")
    for page in range(1, pages + 1):
        job = job.replace(f"(page {page}) show", page_setup + "100 100 200 50 rectfill")
    job = job.replace("%%EOF", "(left: )print count =only ( )print countdictstack =\n%%EOF")
    said = run_ghostscript("-dSAFER -sDEVICE=bbox", run_filter(options, job, ppd).output)
    return "; ".join(line.partition(": ")[2] for line in said.splitlines() if not line.startswith("%%HiRes"))


def test_pages_are_shifted_by_the_millimetres_asked_for():
    assert print_bars(1, "") == "0 3; 99 99 301 151"
    options = "VXImageShiftFront=True VXImageShiftFrontX=25.4 "
    assert print_bars(1, options + "VXImageShiftFrontY=12.7") == "0 3; 171 135 373 187"
    assert print_bars(1, options + "VXRotate180=True") == "0 3; 27 99 229 151"


# A mirror leaves its matrix on the operand stack.
def test_pages_are_mirrored_about_their_middle():
    assert print_bars(1, "MirrorPrint=True") == "1 3; 294 99 495 151"
    assert print_bars(1, "MirrorPrint=True orientation-requested=4") == "1 3; 99 691 301 743"


def test_pages_share_a_side_of_a_booklet_whatever_size_and_clip_they_set():
    assert print_bars(3, "VXBookletFilter=True VXBookletPaperSize=A4 media=A4",
                      "<</PageSize[595 842]>>setpagedevice\n0 0 400 400 rectclip\n") == (
        "0 3; 481 493 516 630; 481 79 516 630")


def test_pages_are_turned_on_the_back_of_a_sheet_that_is_turned_by_hand():
    assert print_bars(2, "VXManualDuplexSupport=True VXManualDuplexSwitch=True media=A4",
                      ppd=make_ppd(has_duplex_unit=False)) == "0 3; 294 691 495 743; 99 99 301 151"
