from running import between, make_job, make_ppd, run_filter

FIRST_HALF = "%%Subpage 1\nmatrix VXcurrent\n0.0 33.3 VXscale\n"
SECOND_HALF = "VXset\n%%Subpage 2\n360.0 33.3 VXscale\n"
SHOW = "VXsave\nVXshowpage\nVXrestore\n"
TUMBLE_BLOCK = ("[{\n\t%%BeginFeature: *Duplex DuplexTumble\n\t\t<</Duplex true /Tumble true>> setpagedevice\n"
                "\t%%EndFeature\n} stopped cleartomark\n")
ON_LETTER = "VXBookletPaperSize=Letter media=A4"


def run_booklet(pages, options, setup="", job=None, ppd=make_ppd('*VXBookletFilter: "True"\n')):
    result = run_filter("VXBookletFilter=True " + options, job or make_job(pages, setup), ppd)
    assert result.status == 0
    return result.output


def page_text(number):
    return f"%%BeginPageSetup\n%%EndPageSetup\n(page {number}) show\nshowpage\n%%PageTrailer\n"


def test_puts_pairs_of_pages_on_sheet_sides():
    output = run_booklet(3, ON_LETTER)
    assert between(output, "%%EndSetup\n", "%%Trailer") == (
        "userdict/VXpages true put\n%%Page: 1 1\n" + FIRST_HALF + SECOND_HALF + "%%Page: 2 1\ninitclip\n" +
        page_text(1) + SHOW + "%%Page: 3 2\n" + FIRST_HALF + page_text(2) + SECOND_HALF +
        "%%Page: 4 2\ninitclip\n" + page_text(3) + SHOW)
    assert between(output, "%%BeginSetup\n", "%%EndSetup") == TUMBLE_BLOCK


def test_writes_its_header():
    job = make_job(4).replace("%%EndComments", "%%PageOrder: Ascend\n%%EndComments")
    header = between(run_booklet(4, ON_LETTER, job=job), "%!PS-Adobe-3.0\n", "userdict begin\ntrue setglobal")
    assert header.startswith("%%Pages: (atend)\n%%PageOrder: Special\nuserdict begin\n/VXscale {\n"
                             "612.0 18.0 translate\n90 rotate\ntranslate\n0.605 0.605 scale\n}bind def\nend\n"
                             "userdict begin\n/VXpages false def\n")


def test_replaces_sheet_size_and_duplex_once():
    output = run_booklet(
        4, "VXBookletPaperSize=Letter",
        "% *PageSize\n%%BeginFeature: *PageRegion A4\nold\n%%EndFeature\n%%BeginFeature: *PageSize A5\nkept\n"
        "%%EndFeature\n%%BeginFeature: *Duplex None\nold\n%%EndFeature\n%%BeginFeature: *Duplex DuplexNoTumble\nold\n"
        "%%EndFeature\n%%BeginFeature: *Duplex DuplexTumble\nkept\n%%EndFeature\n")
    assert between(output, "%%BeginSetup\n", "%%EndSetup") == (
        "% *PageSize\n%%BeginFeature: *PageSize Letter\n<</PageSize[612 792]>>setpagedevice\n\n%%EndFeature\n"
        "%%BeginFeature: *PageSize A5\nkept\n%%EndFeature\n"
        "%%BeginFeature: *Duplex DuplexTumble\n<</Duplex true /Tumble true>> setpagedevice\n\n%%EndFeature\n"
        "\n%%EndFeature\n%%BeginFeature: *Duplex DuplexTumble\nkept\n%%EndFeature\n")


def test_chooses_page_and_sheet_size():
    for options, scale in {"VXBookletPaperSize=A4 PageSize=Letter": "0.668 0.668",
                           "VXBookletPaperSize=A4": "0.678 0.678",
                           "VXBookletPaperSize=A4 media=Unknown PageSize=Letter": "0.678 0.678",
                           "VXBookletPaperSize=Unknown media=A4 VXBookletScaling=fitpage": "0.687 0.678"}.items():
        assert between(run_booklet(4, options), "90 rotate\ntranslate\n", " scale") == scale, options


def test_by_hand_counts_guides_as_sides_and_leaves_duplex_alone():
    output = run_booklet(4, "VXBookletPaperSize=A4 media=A4 VXManualDuplexSupport=True VXManualDuplexPrintGuide=True",
                         ppd=make_ppd('*VXBookletFilter: "True"\n', has_duplex_unit=False))
    assert between(output, "%%BeginSetup\n", "%%EndSetup") == ""
    assert "userdict/VXpages true put\n%%Page: (reinsertion) 1\n" in output
    assert "%%Page: 2 2\n%%Subpage 1\n" in output
    assert "%%Page: (reinsertion) 4\n" in output
