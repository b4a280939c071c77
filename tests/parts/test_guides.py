"""The guide pages as they are shipped, printed by Ghostscript alone and in the middle of a job."""

import gzip
import re

from running import BUILD, between, make_job, make_ppd, run_filter, run_ghostscript

# The edges that a guide marks (in the order top, left, bottom, right) and how it says the stack lies.
GUIDES = {
    "shortDownGuide": ("top", "printed sides DOWN"),
    "shortUpGuide": ("top", "printed sides UP"),
    "longDownGuide": ("left", "printed sides DOWN"),
    "longUpGuide": ("left", "printed sides UP"),
    "eitherRightDownTop": ("bottom right", "printed sides DOWN"),
    "eitherRightDownBottom": ("bottom right", "printed sides UP"),
    "eitherLeftUpTop": ("top left", "printed sides DOWN"),
    "eitherLeftUpBottom": ("top left", "printed sides UP"),
    "eitherRightUpTop": ("top right", "printed sides DOWN"),
    "eitherRightUpBottom": ("top right", "printed sides UP"),
    "eitherLeftDownTop": ("left bottom", "printed sides DOWN"),
    "eitherLeftDownBottom": ("left bottom", "printed sides UP"),
    "recycledGuide": ("", "can be recycled"),
}
SIZES = [(595, 842), (612, 792), (420, 595), (842, 595), (1224, 792), (288, 1000)]
MARGIN = 12

# A job that has set everything a guide could stumble over, and reports its state before and behind the guide.
JOB_BEFORE_GUIDE = """
/Times-Roman 7 selectfont 0.5 setgray 9 setlinewidth 2 setlinecap 2 setlinejoin 3 setmiterlimit [1 2] 1 setdash
true setoverprint 0 0 50 50 rectclip 100 200 moveto true setglobal (operand) [ 1 2
userdict /probe {
    (state: ) print currentglobal dup ==only false setglobal
    [ count countdictstack matrix VXcurrent aload pop currentpoint
      currentgray currentlinewidth currentlinecap currentlinejoin currentmiterlimit currentdash
      currentoverprint currentfont /FontName get currentdict /probed known ] { ( ) print ==only } forall
    setglobal (\\n) print flush
} bind put
20 dict begin
/probed true def
[/moveto /show /stroke /fill /def /exch /dup /gsave /findfont /selectfont /setgray /dict]
{ currentdict exch { (the job's own operator was called\\n) print stop } put } bind forall
"""


def read_guide(name):
    return gzip.decompress((BUILD / "guides" / f"{name}.gz").read_bytes()).decode("latin-1")


def inks_in(said):
    """Left, bottom, right and top of every printed page's ink in points, as the device "bbox" reports it."""
    return [tuple(map(float, box.split())) for box in re.findall("%%HiResBoundingBox:(.*)", said)]


def is_inside_margins(ink, size):
    """Ink that is clipped reaches the page's edge; ink beyond the usual margins would be lost on a real printer."""
    left, bottom, right, top = ink
    width, height = size
    return (MARGIN <= left and right <= width - MARGIN and right - left > width / 4 and
            MARGIN <= bottom and top <= height - MARGIN and top - bottom > height / 4)


def page_size(size):
    return "<</PageSize [%d %d]>> setpagedevice\n" % size


def in_job(guide, size, turn=""):
    """The guide on a page of this size, behind the code that turns it; the page is ejected as in a real job."""
    return (f"{page_size(size)}save\n{turn}{JOB_BEFORE_GUIDE}probe\n{guide}%%EOF\nprobe\n"
            "end cleartomark pop false setglobal restore\nVXsave\nVXshowpage\nVXrestore\n")


def print_job(name, pages, options=""):
    """The inks of a job that begins as the filter lets one begin. Expects each guide to leave the state as it was."""
    begin = run_filter("VXManualDuplexSupport=True VXManualDuplexSwitch=True media=A4", make_job(2),
                       make_ppd(has_duplex_unit=False)).output
    operators = between(begin, "%!PS-Adobe-3.0\n", "%%EndComments")
    said = run_ghostscript("-sDEVICE=bbox " + options, operators + pages)
    inks, states = inks_in(said), re.findall("^state:.*", said, re.MULTILINE)
    assert len(states) == 2 * len(inks), f"{name}: {said}"
    assert states[::2] == states[1::2], name
    return inks


# The filter writes an end-of-file comment behind a guide. Only behind the header of an encapsulated file does a reader
# of the job take that for the guide's end and not for the job's.
def test_guides_are_embedded_documents_without_further_comments():
    for name in GUIDES:
        header, *lines, last = read_guide(name).split("\n")
        assert (header, last) == ("%!PS-Adobe-3.0 EPSF-3.0", ""), name
        for line in lines:
            assert re.fullmatch("[\t -$&-~]{0,255}", line), name


def test_guides_print_on_any_page_size_the_edges_that_may_lead_and_which_side_is_up():
    for name, (marked_edges, text) in GUIDES.items():
        program = "".join(page_size(size) + read_guide(name) for size in SIZES)
        inks = inks_in(run_ghostscript("-sDEVICE=bbox", program))
        assert len(inks) == len(SIZES), name
        for ink, size in zip(inks[:-1], SIZES):
            assert is_inside_margins(ink, size), (name, ink, size)
        left, _, right, _ = inks[-1]
        assert MARGIN <= left and right <= SIZES[-1][0] - MARGIN, name
        left, bottom, right, top = inks[0]
        edges = {"top": top > 842 - 50, "left": left < 50, "bottom": bottom < 50, "right": right > 595 - 50}
        assert " ".join(edge for edge, is_marked in edges.items() if is_marked) == marked_edges, name
        assert run_ghostscript("-sDEVICE=txtwrite -sOutputFile=-", program).count(text) == len(SIZES), name


def test_guides_leave_the_job_as_it_was_and_its_page_unejected():
    places = {(595, 842): "595.0 842.0 translate 180 rotate\n", (612, 792): "",
              (700, 500): "700.0 0 translate 90 rotate\n"}
    for name in GUIDES:
        program = "".join(in_job(read_guide(name), size, turn) for size, turn in places.items())
        for level in (2, 3):
            inks = print_job(name, program, f"-dNOSAFER -dDELAYBIND -c '{level} .setlanguagelevel .bindnow' -f")
            assert len(inks) == len(places), name
            for ink, size in zip(inks, places):
                assert is_inside_margins(ink, size), (name, ink, size)


# An error in the midst of a drawing leaves things on both stacks; the job must not notice.
def test_a_failing_guide_leaves_the_job_as_it_was():
    whole = read_guide("shortDownGuide")
    failing = whole.replace("30 30 translate\n", "gsave systemdict begin [ 1 (operand) noSuchOperator\n", 1)
    assert failing != whole
    assert len(print_job("failing", in_job(failing, (595, 842)))) == 1
