"""What a job leaves on paper: drawn by Ghostscript as the printer would, and read back."""

import re
from dataclasses import dataclass, field
from pathlib import Path

from running import Folder, shell

PROLOG = Path(__file__).with_name("DeviceProlog.ps")

# A page bears its number, and at the lower left a letter: a for page 1 and so on.
DRAWING = """/number { /Helvetica findfont 300 scalefont setfont 200 300 moveto
dup 10 string cvs show
/Helvetica findfont 20 scalefont setfont 72 60 moveto
96 add (x) dup 0 4 -1 roll put show showpage } bind def
"""
RIGHT, UP = 210, 380  # points from the middle of the letter to that of the number on an upright page


@dataclass
class Page:
    """A page of a numbered document as it lies on a side of paper."""
    number: int
    turn: str  # where its head points: ^ < > v
    is_mirrored: bool
    x: float  # middle of the number, in points from the side's top left corner
    y: float


@dataclass
class Side:
    """A side of paper; lengths in points."""
    width: float
    height: float
    pages: list[Page]
    words: list[str]  # all that can be read
    ink: float = 0  # part of the side that is covered with black, 0 to 1
    colour: float = 0  # the same for other inks, all together
    device: dict[str, str] = field(default_factory=dict)  # what DeviceProlog.ps says, and the size


def make_numbered_pdf(folder, pages, width=595, height=842):
    path = folder.path / f"numbered{pages}-{width}.pdf"
    source = folder.write("numbered.ps", f"%!PS\n{DRAWING}<</PageSize[{width} {height}]>>setpagedevice\n"
                                         f"1 1 {pages} {{number}} for\n")
    shell(f"gs -q -dSAFER -dAutoRotatePages=/None -sDEVICE=pdfwrite -o {path} {source}")
    return str(path)


def make_numbered_postscript(folder, pages):
    """The same with comments about its structure, as an application makes it."""
    text = "".join(f"%%Page: {n} {n}\n%%BeginPageSetup\n%%EndPageSetup\n{n} number\n%%PageTrailer\n"
                   for n in range(1, pages + 1))
    return folder.write(f"numbered{pages}.ps",
                        f"%!PS-Adobe-3.0\n%%Pages: {pages}\n%%BoundingBox: 0 0 595 842\n%%EndComments\n%%BeginProlog\n"
                        f"{DRAWING}%%EndProlog\n%%BeginSetup\n%%EndSetup\n{text}%%Trailer\n%%EOF\n")


def read_sides(path):
    """The sides of a job in the order in which they come."""
    # A printer forgets everything at the byte that ends a document.
    documents = Path(path).read_bytes().decode("latin-1").split("\x04")
    return [side for document in documents if document for side in read_document(document.removeprefix("\x01M"))]


def read_document(document):
    with Folder() as folder:
        folder.write("job", document)
        said = shell(f"cd {folder.path}; set -e\n"  # no page is turned to be read better
                     "timeout 100 gs -q -dSAFER -dAutoRotatePages=/None -sDEVICE=pdfwrite -o paper.pdf "
                     f"{PROLOG} job 2>&1\n"
                     "pdftotext -bbox paper.pdf words 2>/dev/null\n"  # it mentions each side without a word
                     "gs -q -dSAFER -sDEVICE=inkcov -r20 -o ink paper.pdf")
        sides = [read_side(text) for text in folder.read("words").split("<page ")[1:]]
        inks = folder.read("ink").splitlines()
    devices = [line.split()[1:] for line in said.splitlines() if line.startswith("side ")]
    assert len(devices) == len(sides) == len(inks), said
    for side, device, ink in zip(sides, devices, inks):
        cyan, magenta, yellow, side.ink = map(float, ink.split()[:4])
        side.colour = cyan + magenta + yellow
        side.device = dict(fact.split("=") for fact in device) | {"size": f"{side.width:.0f}x{side.height:.0f}"}
    return sides


def read_side(text):
    width, height = map(float, re.match('width="([0-9.]+)" height="([0-9.]+)"', text).groups())
    words = []  # with the middle and the longer edge of the box around each
    for *box, word in re.findall('xMin="(.*?)" yMin="(.*?)" xMax="(.*?)" yMax="(.*?)">([^<]*)</word>', text):
        left, top, right, bottom = map(float, box)
        words.append((word, (left + right) / 2, (top + bottom) / 2, max(right - left, bottom - top)))
    pages = [make_page(number, letter) for number in words if re.fullmatch("[0-9]{1,2}", number[0])
             for letter in words if letter[0] == chr(96 + int(number[0])) and number[3] > 10 * letter[3]]
    return Side(width, height, pages, [word[0] for word in words])


def make_page(number, letter):
    right, up = number[1] - letter[1], letter[2] - number[2]
    is_upright = abs(up) > abs(right)
    turn = ("^" if up > 0 else "v") if is_upright else (">" if right > 0 else "<")
    return Page(int(number[0]), turn, is_upright == (right * up < 0), number[1], number[2])


def get_place(page):
    """How far a page stands from the others of its side in reading order, when its head is up."""
    line = 20  # rows count more than columns; the middle of a number differs with its digits
    return {"<": page.x * line - page.y, ">": -page.x * line + page.y, "v": -page.y * line - page.x,
            "^": page.y * line + page.x}[page.turn]


def show_side(side):
    if not side.pages:
        return "G" if side.ink + side.colour > 0 else "B"
    return "+".join(f"{page.number}{page.turn.strip('^')}{'m' if page.is_mirrored else ''}"
                    for page in sorted(side.pages, key=get_place))


def show_sides(sides):
    """"3" an upright page, "3v" "3<" "3>" one with its head elsewhere, "3m" a mirrored one, "B" a blank side, "G" a
    side with something else on it; pages of one side are joined by "+" in reading order."""
    return " ".join(map(show_side, sides))


def show_trays(sides):
    """The paper source of each side: a tray's position, "manual", or "none" where none was asked for."""
    return " ".join("manual" if side.device["ManualFeed"] == "true" else side.device["MediaPosition"] for side in sides)


def show_duplex(sides):
    """How each side is printed: "one" sided, or on a sheet that is turned over its "long" or "short" edge."""
    return " ".join("one" if side.device["Duplex"] != "true" else "short" if side.device["Tumble"] == "true" else "long"
                    for side in sides)


def show_colours(sides):
    return " ".join("colour" if side.colour > 0 else "gray" for side in sides)
