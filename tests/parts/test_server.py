"""Jobs that lp sends to a print server of the test's own, through CUPS's filters and ours: what comes out on paper.

A job is a queue, a document ("pdf" or "ps" and its number of pages), arguments of lp, and what must become of it: parts
joined by " | ". First its sides, then what else matters: "trays", "duplex" and "colours" of each side, facts about the
"device" that hold for every side, text that it "holds".
"""

import random

import pytest
from paper import (make_numbered_pdf, make_numbered_postscript, read_sides, show_colours, show_duplex, show_sides,
                   show_trays)
from print_server import PrintServer
from running import Folder, shell

BOOKLET = "-o VXBookletFilter=True -o VXBookletPaperSize=A4 "
WITH_GUIDE = "-o VXManualDuplexSupport=True -o VXManualDuplexSwitch=True -o VXManualDuplexPrintGuide=True "
FIRST_FROM_TRAY_2 = "-o AP_FIRSTPAGE_InputSlot=Tray2 -o InputSlot=Tray1 "
MARK = "-o VXwmrSwitch=Overlay -o VXwmrTextColor=Red "
FIRST_MARKED = MARK + "-o VXwmrPages=FirstPage "
PIN = "-o VXJobRetentionOption=VXJobRetentionPrivate -o VXUsePINToPrint=True -o VXPinToPrintExtended=4711 "
FACE_UP, REVERSED = "-o VXFaceOrientation=FaceUp ", "-o OutputOrder=Reverse "
COLLATED = "-o collate=true -P 1-2 -n 2 "

FEATURES = [
    ("office", "pdf 2", "-o PMPageOrientation=2", "1 2 | holds << /VXContentOrientation 1 >>"),
    ("office", "pdf 3", FIRST_FROM_TRAY_2 + "-o sides=two-sided-long-edge", "1 2 3 | trays 1 1 0"),
    ("office", "pdf 2", PIN, "1 2 | holds /HoldKey (4711) | holds %%BeginFeature: *Collate True\n"),
    ("office", "pdf 1", PIN + "-o VXUserName=Set -o VXCustomUserName=Anna", "1 | holds /UserName (Anna)"),
    ("office", "pdf 1", "-U anna -o VXDepartmentID=42", "1 | holds (anna) | holds (42)"),
    ("veldra", "pdf 1", "-t Letter -o VXJobAccounting=True", "1 | holds (Letter)"),
    ("office", "pdf 5", BOOKLET, "1< 2< 3< 4<+5< | duplex short short short short"),
    ("manual", "pdf 3", WITH_GUIDE, "G B 2v 1 3 G | trays none none none manual manual manual"),
    ("office", "pdf 3", FIRST_MARKED, "1 2 3 | colours colour gray gray"),
    ("office", "pdf 1", "-o VXImageShiftFront=True -o VXImageShiftFrontX=25.4 -o VXImageShiftFrontY=-12.7",
     "1 | holds << /PageOffset [ 72.000001 -36.000001 ] >>"),
    ("office", "pdf 1", "-o VXZone2Limit=60", "1 | holds << /VXMidtoneLimit 60 >>"),
    ("veldra", "pdf 1", "-o VXCyanBrightness=15", "1 | holds << /VXCyanBrightness 15 >>"),
    ("wide", "pdf 2", "-o media=Custom.720x1080 -o PPDVersion=1.0 -o Product=7300vq",
     "2 1 | holds \n720 1080 1 0 0\n | device size=720x1080"),
    ("office", "pdf 1", "-o VXCustomMediaTypeID=12", "1 | holds << /MediaType (Custom12) >>"),
    ("wide", "pdf 1", "-o media=A4.Fullbleed", "1 | holds << /VXMarginsLayout (Oversize) >>"),
    ("office", "pdf 3", "-o sides=two-sided-short-edge", "1 2 3 | duplex short short one"),
    ("office", "pdf 2", "-o MirrorPrint=True", "1m 2m"),
    ("veldra", "pdf 1", "-o VXHoldJob=True", "1 | holds HoldPrint"),
    ("wide", "pdf 3", "", "3 2 1"),
]
FEATURES_TOGETHER = [
    ("office", "pdf 8", BOOKLET + MARK + PIN, "8<+1< 2<+7< 6<+3< 4<+5< | holds /HoldKey (4711)"
     " | duplex short short short short | colours colour colour colour colour"),
    ("office", "ps 3", FIRST_FROM_TRAY_2 + "-o sides=two-sided-long-edge -n 2 -o collate=true",
     "1 2 3 | holds << /Collate true >> | trays 1 1 0 | duplex long long one | device NumCopies=2"),
    ("manual", "pdf 3", FIRST_FROM_TRAY_2 + "-o MirrorPrint=True -n 2 -o collate=true",
     "1m 2m 3m 1m 2m 3m | trays 1 0 0 1 0 0 | device NumCopies=1"),
    ("office", "pdf 3", REVERSED + "-U anna", "3 2 1 | holds (anna)"),
    ("manual", "ps 3", WITH_GUIDE + "-n 2 -o collate=true", "G B 2v B 2v 1 3 1 3 G"),
    ("office", "ps 4", MARK + "-o number-up=2", "1<+2< 3<+4< | colours colour colour"),
    ("wide", "ps 3", FIRST_MARKED, "3 2 1 | colours gray gray colour"),
    ("office", "pdf 8", BOOKLET + "-o job-sheets=standard,none", "G 8<+1< 2<+7< 6<+3< 4<+5<"),
]
# What the filters in front of ours do already, by a way of their own for each kind of document.
CHANGED_BY_OTHERS = [
    ("office", REVERSED, "5 4 3 2 1"),
    ("manual", "-o outputorder=reverse", "5 4 3 2 1"),
    ("wide", REVERSED, "1 2 3 4 5"),
    ("office", FACE_UP + "-P 1-3", "3 2 1"),
    ("manual", "-o VXStraightPaperPath=True -P 1-3", "3 2 1"),
    ("office", "-o VXStaplerOptions=LowerLeft -P 1-3", "3 2 1"),
    ("office", FACE_UP + "-o sides=two-sided-long-edge", "5 B 3 4 1 2"),
    ("office", REVERSED + "-P 2-4", "4 3 2"),
    ("veldra", "-o page-set=even", "2 4"),
    ("office", REVERSED + "-o number-up=2", "5< 3<+4< 1<+2<"),
    ("veldra", "-o mirror -P 1", "1m"),
    ("manual", "-o MirrorPrint=True -P 1", "1m"),
    ("office", COLLATED, "1 2 | holds << /Collate true >> | device NumCopies=2"),
    ("manual", COLLATED, "1 2 1 2 | device NumCopies=1"),
    ("wide", COLLATED, "2 1 2 1 | device NumCopies=1"),
    ("manual", "-n 2 -o collate=false -P 1-2", "1 2 | device NumCopies=2"),
    ("office", "-o VXRotate180=True -P 1", "1v"),
    ("office", BOOKLET + REVERSED + "-P 1-4", "4<+1< 2<+3<"),
    ("office", "-o media=A3 -o fit-to-page -P 1", "1 | device size=842x1191"),
    ("office", "-o InputSlot=Tray2 -P 1", "1 | trays 1"),
]


@pytest.fixture
def folder():
    with Folder() as folder:
        yield folder


@pytest.fixture
def server():
    """Every job of a test must have ended well, and nothing may be left of it."""
    with PrintServer() as server:
        yield server
        assert "stopped with status" not in server.log
        assert "crashed" not in server.log
        # Fontconfig keeps what it knows of the fonts in its user's home where the system has not written it down.
        assert {path.name for path in (server.path / "tmp").iterdir()} <= {".cache"}


def make_document(folder, kind):
    make = make_numbered_postscript if kind.startswith("ps") else make_numbered_pdf
    return make(folder, int(kind.split()[1]))


def wait_for_paper(server, job):
    assert server.wait_for_end(job) == "completed"
    return read_sides(server.paper_of(job))


def check(server, job, wanted):
    sides = wait_for_paper(server, job)
    for part in wanted.split(" | "):
        kind, _, value = part.partition(" ")
        if kind == "holds":
            assert value in server.read(f"paper/{job}")
        elif kind == "device":
            name, value = value.split("=")
            assert {side.device[name] for side in sides} == {value}
        elif kind in ("trays", "duplex", "colours"):
            assert {"trays": show_trays, "duplex": show_duplex, "colours": show_colours}[kind](sides) == value
        else:
            assert show_sides(sides) == part


@pytest.mark.parametrize("jobs", [FEATURES, FEATURES_TOGETHER, *(
    [(queue, document, arguments, wanted) for queue, arguments, wanted in CHANGED_BY_OTHERS]
    for document in ("pdf 5", "ps 5"))], ids=["alone", "together", "beside others for PDF", "beside others for PS"])
def test_brings_features_to_paper(server, folder, jobs):
    numbers = [server.print(queue, f"{arguments} {make_document(folder, document)}")
               for queue, document, arguments, _ in jobs]
    for number, (queue, document, arguments, wanted) in zip(numbers, jobs):
        print("lp -d", queue, arguments, document)
        check(server, number, wanted)


def test_prints_documents_of_every_kind(server, folder):
    picture = folder.path / "picture.png"  # of the shape of a sheet, its left half black
    shell(f"gs -q -dSAFER -sDEVICE=pnggray -r72 -g210x297 -o {picture} -c '0 0 105 297 rectfill showpage'")
    pdf = server.print("office", make_numbered_pdf(folder, 3))
    postscript = server.print("manual", make_numbered_postscript(folder, 3))
    image = server.print("wide", f"-o fit-to-page {picture}")
    text = server.print("veldra", folder.write("letter.txt", "Dear reader\n\fThe second page\n"))
    assert show_sides(wait_for_paper(server, pdf)) == "1 2 3"
    assert show_sides(wait_for_paper(server, postscript)) == "1 2 3"
    assert [0.39 < side.ink < 0.51 for side in wait_for_paper(server, image)] == [True]
    # The letters of its font have no names that could be read back.
    assert [len(side.words) for side in wait_for_paper(server, text)] == [2, 3]


def test_adds_the_defaults_of_the_queue_to_a_job(server, folder):
    server.try_command("lpadmin -p manual -o VXManualDuplexSupport-default=True -o VXBookletFilter-default=True")
    job = server.print("manual", make_numbered_pdf(folder, 8))
    check(server, job, "4<+5< 2<+7< 8<+1< 6<+3< | trays none none manual manual")


def test_prints_fifty_jobs_at_once(server, folder):
    # Half of the jobs are booklets, which are kept in temporary files and converted.
    kinds = [("office", "ps 3", BOOKLET, "1< 2<+3<"), ("manual", "ps 2", BOOKLET, "1< 2<"),
             ("veldra", "pdf 3", "", "1 2 3"), ("manual", "ps 1", "", "1"), ("wide", "pdf 2", "", "2 1"),
             ("office", "pdf 4", BOOKLET, "4<+1< 2<+3<")]
    documents = [make_document(folder, kind[1]) for kind in kinds]
    numbers = []
    for i in range(50):
        queue, _, arguments, _ = kinds[i % len(kinds)]
        numbers.append(server.print(queue, f"-t document-{i}- {arguments} {documents[i % len(kinds)]}"))
    for i, number in enumerate(numbers):
        assert server.wait_for_end(number) == "completed"
        job = server.read(f"paper/{number}")
        assert f"document-{i}-" in job and job.endswith("%%EOF\n\x04")
    for i in range(42, 42 + len(kinds)):
        check(server, numbers[i], kinds[i % len(kinds)][3])


def make_long_document(folder):
    """With a page of noise, which stays too long for the pipes between the filters whatever they make of it."""
    noise = random.Random(1).randbytes(1000000).hex("\n", 40)
    return folder.write("long.ps", "%!PS-Adobe-3.0\n%%Pages: 1\n%%EndComments\n%%BeginProlog\n%%EndProlog\n"
                        "%%BeginSetup\n%%EndSetup\n%%Page: 1 1\n/line 1000 string def 500 500 scale 1000 1000 8 "
                        "[1000 0 0 1000 0 0] {currentfile line readhexstring pop} image\n" + noise +
                        "\nshowpage\n%%Trailer\n%%EOF\n")


def test_cancels_a_job_in_the_middle(server, folder):
    document = make_long_document(folder)
    for option in ("", "-o VXBookletFilter=True "):
        job = server.print("slow-office", option + document)
        assert server.wait_for_log(f"job {job} waits at the gate")
        assert "vxpostprocessing) exited" not in server.log, "the job is too short"
        server.try_command(f"cancel {job}")
        assert server.wait_for_end(job) == "canceled"
        assert not server.paper_of(job).exists()
    job = server.print("slow-office", make_numbered_pdf(folder, 2))
    server.open_gate()
    check(server, job, "1 2")


def test_keeps_jobs_when_it_is_restarted(server, folder):
    document = make_numbered_pdf(folder, 4)
    held = server.print("office", "-H hold -o VXBookletFilter=True " + document)
    printing = server.print("slow-office", REVERSED + document)
    assert server.wait_for_log(f"job {printing} waits at the gate")
    server.restart()
    server.open_gate()
    check(server, printing, "4 3 2 1")
    assert not server.paper_of(held).exists()
    server.try_command(f"lp -i {held} -H resume")
    check(server, held, "4<+1< 2<+3<")


def test_switches_to_the_protocol_of_the_printer_on_an_old_system(folder):
    with PrintServer({"VX_SYSTEM_VERSION": "10.3.9"}) as server:
        job = server.print("veldra", make_numbered_pdf(folder, 1))
        assert server.wait_for_end(job) == "completed"
        assert server.read(f"paper/{job}").startswith("\x01M%!PS-Adobe")
