"""Marked pages as a printer draws them: where the mark stands, what it covers, and what it leaves behind."""

from math import cos, radians, sin

from running import Folder, run_filter, run_ghostscript, utf8

WHITE = b"\xff\xff\xff"
A4 = (595, 842)

# Tells what a mark must leave alone. The current path is looked at through its current point.
PAGE = """%!PS-Adobe-3.0
%%EndComments
%%BeginProlog
/probe {
    [ count countdictstack vmstatus pop pop currentgray currentcolorspace currentlinewidth currentlinejoin
      currentlinecap currentdash currentmiterlimit currentstrokeadjust currentfont /FontName get currentpoint
      matrix VXcurrent gsave clippath pathbbox grestore ] ==
} bind def
%%EndProlog
%%BeginSetup
<</PageSize[SIZE]>>setpagedevice
%%EndSetup
%%Page: 1 1
%%BeginPageSetup
TURN
%%EndPageSetup
CONTENT
showpage
%%Trailer
%%EOF
"""


def mark(options, size=A4, turn="", content=""):
    """The marked job of one page. The code turn turns the page."""
    job = PAGE.replace("SIZE", "%d %d" % size).replace("TURN", turn).replace("CONTENT", content)
    return run_filter("VXwmrTextStyle=Fill " + options, job, '*VXwmrSwitch Overlay/On: ""\n').output


def print_page(job, level=3):
    """Its rows from the top, a pixel a point, and what its print operators and errors said."""
    with Folder() as folder:
        said = run_ghostscript(f"-dNOSAFER -dDELAYBIND -sDEVICE=ppmraw -r72 -o {folder.path}/page.ppm "
                               f"-c '{level} .setlanguagelevel .bindnow' -f", job)
        _, _, size, _, pixels = (folder.path / "page.ppm").read_bytes().split(b"\n", 4)
    width, height = map(int, size.split())
    assert len(pixels) == 3 * width * height
    return [pixels[at:at + 3 * width] for at in range(0, len(pixels), 3 * width)], said


def colors_of(row):
    return [row[at:at + 3] for at in range(0, len(row), 3)]


class Ink:
    """A page's ink in the directions along and across a text that is turned by an angle, from the page's middle."""

    def __init__(self, rows, degrees=0):
        middle_x, middle_y = len(rows[0]) / 6, len(rows) / 2
        points = [(x + 0.5 - middle_x, middle_y - y - 0.5) for y, row in enumerate(rows) if row.strip(b"\xff")
                  for x, color in enumerate(colors_of(row)) if color != WHITE]
        right, up = cos(radians(degrees)), sin(radians(degrees))
        along, across = [x * right + y * up for x, y in points], [y * right - x * up for x, y in points]
        self.count = len(points)
        if points:
            self.length, self.middle = max(along) - min(along), (max(along) + min(along)) / 2
            self.height, self.middle_across = max(across) - min(across), (max(across) + min(across)) / 2
            self.mean = sum(along) / len(along)


# "MMMM----" is dense where it begins, so its direction shows.
def test_marks_stand_in_the_middle_at_the_angle_of_the_page():
    for options, size, turn, angle in (
            ("", A4, "", 45),
            ("", (612, 792), "", 45),
            ("", (842, 1191), "", 45),
            ("VXwmrTextAngle=Deg0", A4, "", 0),
            ("VXwmrTextAngle=DegN30", A4, "", -30),
            ("VXwmrTextAngle=Deg90", (842, 595), "", 90),
            ("", A4, "180 rotate -595 -842 translate", 225),
            ("", A4, ".5 .5 scale 300 200 translate", 45),
            ("orientation-requested=4", A4, "90 rotate 0 -595 translate", 135),
            ("orientation-requested=5", A4, "-90 rotate -842 0 translate", -45)):
        job = mark("VXwmrSwitch=Overlay VXwmCodedTextMessage=MMMM---- VXwmrFontSize=48 " + options, size, turn)
        for level in (2, 3):
            case = (options, size, turn, level)
            rows, _ = print_page(job, level)
            assert len(rows[0]) == 3 * size[0], case
            ink = Ink(rows, angle)
            assert abs(ink.middle) <= 5, case
            assert ink.length > 200, case
            assert ink.mean < -20, f"{case} runs the other way"
            assert abs(ink.middle_across) <= 15, case
            assert 27 <= ink.height <= 43, case


# A patch of the expected colour, drawn by the page itself, must add no colour to the page.
def test_marks_have_the_color_and_brightness_asked_for():
    for options, patch in {"": "0 0 0 .55",
                           "VXwmrBrightness=Lightest": "0 0 0 .11",
                           "VXwmrBrightness=MediumLight": "0 0 0 .44",
                           "VXwmrBrightness=MediumDark": "0 0 0 .66",
                           "VXwmrTextColor=Red VXwmrBrightness=Darkest": "0 1 .3 0",
                           "VXwmrTextColor=Orange": "0 .275 .55 0",
                           "VXwmrTextColor=Yellow VXwmrBrightness=Dark": "0 0 .77 0",
                           "VXwmrTextColor=Green VXwmrBrightness=Darkest": ".9 0 .9 0",
                           "VXwmrTextColor=Blue VXwmrBrightness=Darker": ".88 .088 0 0",
                           "VXwmrTextColor=Purple VXwmrBrightness=Light": ".264 .264 0 0"}.items():
        content = patch + " setcmykcolor 20 20 50 50 rectfill"
        rows, _ = print_page(mark("VXwmrSwitch=Overlay " + options, content=content))
        expected = colors_of(rows[-41])[40]
        assert expected != WHITE, options
        right_halves = [row[3 * (A4[0] // 2):] for row in rows]
        colors = {color for half in right_halves if half.strip(b"\xff") for color in colors_of(half)} - {WHITE}
        assert len(colors) == 1, options
        assert max(abs(a - b) for a, b in zip(colors.pop(), expected)) <= 1, options


def test_marks_leave_the_page_as_they_found_it():
    state = (
        "(operand) 20 dict begin /Times-Roman 12 selectfont 1 2 scale 10 20 translate 50 60 400 300 rectclip "
        "100 200 moveto 5 setlinewidth 1 setlinejoin 2 setlinecap [3 1] 2 setdash .3 setgray 4 setmiterlimit")
    for options in ("Watermark", "Overlay", "Watermark VXwmrTextStyle=Halo", "Watermark orientation-requested=4",
                    "Overlay VXwmrFontSize=2000"):
        job = mark("VXwmrSwitch=" + options, turn=state)
        job = job.replace("matrix VXcurrent matrix defaultmatrix", "probe matrix VXcurrent matrix defaultmatrix", 1)
        job = job.replace("\nVXwmDraw\n", "\nprobe VXwmDraw probe\n", 1)
        for level in (2, 3):
            _, said = print_page(job, level)
            first, *others = said.splitlines()
            assert "Times-Roman" in first, options
            assert others == [first, first], options


# Scripts that no font of a printer has; what is joined or written from the right must be so here.
def test_marks_show_every_script():
    def ink_of(text):
        options = "VXwmrSwitch=Overlay VXwmrTextAngle=Deg0 VXwmCodedTextMessage=" + utf8(text)
        return Ink(print_page(mark(options))[0])

    for text in ("Größe", "Πρόχειρο", "Черновик", "טיוטה", "草稿", "下書き", "초안"):
        ink = ink_of(text)
        assert ink.count > 500, text
        assert abs(ink.middle) <= 8, text
    assert ink_of("ببب").length < ink_of("ب%20ب%20ب").length * 0.8, "letters that join are shorter"
    assert ink_of("ייייםםםם").mean < -4, "the big letters come last, so they stand on the left"
    assert abs(ink_of("x%CC%83x").length - ink_of("xx").length) <= 3, "a combining mark takes no room"
    assert ink_of("%F0%9F%AB%A8").count == 0, "a character that no font has"
