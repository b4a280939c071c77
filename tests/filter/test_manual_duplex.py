import gzip

from running import Folder, between, make_job, make_ppd, run_filter

TURN_A4 = "595.0 842.0 translate 180 rotate\n"
TURN_IF = f"cond{{\n{TURN_A4}}}{{}}ifelse\n"
FEED_OFF = "matrix VXcurrent\n<</ManualFeed false>> setpagedevice\nVXset\n\n"
SHOW = "VXsave\nVXshowpage\nVXrestore\n"
GUIDED = "media=A4 VXManualDuplexPrintGuide=True "


def run_by_hand(pages, options, setup="", guides=()):
    """With guide pages of one line that tells their name."""
    with Folder() as resources:
        for name in guides:
            resources.write(f"guides/{name}.gz", gzip.compress(f"guide {name}\n".encode()).decode("latin-1"))
        result = run_filter("VXManualDuplexSupport=True VXManualDuplexSwitch=True " + options, make_job(pages, setup),
                            make_ppd(has_duplex_unit=False), env={"VX_RESOURCES": str(resources.path)})
    assert result.status == 0
    return result.output


def pages_of(output):
    return between(output, "%%EndSetup\n", "%%EOF\n\x04")


def page_text(number):
    return f"%%BeginPageSetup\n%%EndPageSetup\n(page {number}) show\nshowpage\n%%PageTrailer\n{SHOW}"


def manual_feed(back_side="<</PrintOnBackside true>> setpagedevice"):
    return ("matrix VXcurrent\nmark\n/DefM matrix defaultmatrix def\n\n" + back_side + "\n<</ManualFeed true>> "
            "setpagedevice\n\n/DefM1 matrix defaultmatrix def\n\n/DefT matrix def\nDefM1 DefM matrix invertmatrix DefT "
            "concatmatrix\ncleartomark\nVXset\nDefT concat\n")


def test_prints_the_backs_turned_then_the_fronts_by_manual_feed():
    assert pages_of(run_by_hand(3, "media=A4")) == (
        f"{FEED_OFF}%%Page: 1 1\n{TURN_A4}{SHOW}%%Page: 2 2\n{TURN_A4}{page_text(2)}%%Page: 3 3\n{manual_feed()}"
        f"{page_text(1)}%%Page: 4 4\n{page_text(3)}%%Trailer\n%%Pages: 4\n")


def test_inserts_guides_where_the_passes_begin_and_end():
    output = run_by_hand(2, GUIDED + "PaperFeedEdge=LONG SecondSideCode=back VXManualDuplexOrientation=DuplexTumble",
                         guides=["longDownGuide", "recycledGuide"])
    assert pages_of(output) == (
        f"{FEED_OFF}%%Page: (reinsertion) 1\n{TURN_A4}guide longDownGuide\n%%EOF\n{SHOW}%%Page: 2 2\n{page_text(2)}"
        f"%%Page: 3 3\n{manual_feed('back')}{page_text(1)}%%Page: (reinsertion) 4\n{TURN_A4}guide recycledGuide\n"
        f"%%EOF\n{SHOW}%%Trailer\n%%Pages: 4\n")


def test_chooses_and_turns_the_guide():
    names = ["shortDownGuide", "shortUpGuide", "eitherRightDownTop", "eitherLeftUpBottom"]
    for options, guide in {
            "": TURN_A4 + "guide shortDownGuide",
            "VXRotate180=True": "guide shortDownGuide",
            "PaperFeedEdge=either GuidePageExtraTumble=False": TURN_A4 + "guide eitherRightDownTop",
            "PaperFeedEdge=eitherleftup MFPrintOnBottom=True GuidePageExtraTumble=cond": "guide eitherLeftUpBottom",
            "MFPrintOnBottom=True GuidePageExtraTumble=cond VXRotate180=True": TURN_IF + "guide shortUpGuide"}.items():
        output = run_by_hand(2, GUIDED + options, guides=names)
        assert between(output, "%%Page: (reinsertion) 1\n", "\n%%EOF") == guide, options
    assert between(run_by_hand(2, GUIDED), "%%Page: (reinsertion) 1\n", "%%Page: 2 2\n") == SHOW  # there are no guides


def test_finds_a_page_size_on_every_job():
    for options, size in {"media=Letter PageSize=A4": "612.0 792.0", "media=Unknown PageSize=Letter": "612.0 792.0",
                          "PageSize=Unknown": "595.0 842.0", "TumbleFirstSides=False": None}.items():
        assert between(run_by_hand(2, options), "%%Page: 1 1\n", " translate 180") == size, options


def test_drops_the_jobs_own_features_and_cuts_only_the_second_side_code():
    output = run_by_hand(2, "SecondSideCode=" + "c" * 300,
                         "% *Duplex\n%%BeginFeature: *VXManualDuplexSwitch True\nold\n%%EndFeature\n"
                         "%%BeginFeature: *VXManualDuplexSupport True\nold\n%%EndFeature\n")
    assert between(output, "%%BeginSetup\n", "%%EndSetup") == "% *Duplex\n"
    assert "\n" + "c" * 255 + "\n" in output
