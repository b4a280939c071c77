from running import between, make_job, run_filter

SLOTS = """*MirrorPrint True/On: ""
*OpenUI *InputSlot: PickOne
*DefaultInputSlot: Plain
*InputSlot Letterhead/First: "letterhead code"
*InputSlot Plain/Rest: "plain code"
*CloseUI: *InputSlot
"""
FROM_BOTH = "AP_FIRSTPAGE_InputSlot=Letterhead InputSlot=Plain "


def list_feeds(output):
    """What each page of a job is fed from: F first-page source, R remaining-pages source, - nothing stated."""
    return "".join("F" if "letterhead code" in page else "R" if "plain code" in page else "-"
                   for page in output.split("%%Page: ")[1:])


def test_each_copy_starts_from_the_first_pages_source():
    mirror, duplex, collate = "MirrorPrint=True ", "sides=two-sided-long-edge ", "collate=True "
    by_hand = "VXManualDuplexSupport=True VXManualDuplexSwitch=True "
    guide, bottom = "VXManualDuplexPrintGuide=True ", "MFPrintOnBottom=True "
    for options, cases in {
            mirror: {(3, 1): "FR-", (1, 1): "F", (6, 2): "FR----"},
            # At the end: no two equal copies, so that it is one document.
            mirror + collate: {(6, 2): "FR-FR-", (3, 3): "FFF", (5, 2): "FR---"},
            # The back of the first sheet comes from where its front came from.
            duplex: {(5, 1): "F-R--"},
            duplex + collate: {(8, 2): "F-R-F-R-", (4, 2): "F-F-"},
            # Two passes, the fronts in one of them, with a guide in front of each or behind it.
            by_hand: {(4, 1): "RF--"},
            by_hand + guide: {(4, 1): "R-FR--", (2, 1): "RF--"},
            by_hand + bottom: {(4, 1): "FR--"},
            by_hand + guide + bottom: {(4, 1): "RFR---"},
            by_hand + "BinStackOrder=Reverse " + bottom: {(4, 1): "RF--"}}.items():
        for (pages, copies), feeds in cases.items():
            output = run_filter(FROM_BOTH + options, make_job(pages), SLOTS, copies=str(copies)).output
            assert list_feeds(output) == feeds, (options, pages, copies)


def test_the_source_is_stated_right_behind_the_page_comment():
    block = "[{\n%%BeginFeature: *InputSlot Letterhead\n\tletterhead code\n%%EndFeature\n} stopped cleartomark\n"
    for options, stated in {"sides=two-sided-long-edge": block,
                            "MirrorPrint=True": "matrix VXcurrent\n" + block + "VXset\n"}.items():
        result = run_filter(FROM_BOTH + options, make_job(3), SLOTS)
        assert between(result.output, "%%Page: 1 1\n", "%%BeginPageSetup") == stated
        assert "Insert First Page From PS command" in result.log
        assert "Insert Remaining Pages From PS command" in result.log


def test_the_jobs_own_features_are_emptied_behind_the_first_page():
    endless = "%%BeginFeature: *InputSlot Plain\nits own code\n"
    feature = endless + "%%EndFeature\n"
    emptied = "%%BeginFeature: *InputSlot Plain\n\n%%EndFeature\n"
    job = (f"%!PS-Adobe-3.0\n%%EndComments\n{feature}%%Page: ? ?\n{feature}%%Page: 1 1\n%%Page: 2 2\n{feature}"
           f"(1) show\n{endless}%%Page: 3 3\n(2) show\n%%Trailer\n")
    for options in "MirrorPrint=True", "MirrorPrint=True InputSlot=Unknown":
        output = run_filter(FROM_BOTH + options, job, SLOTS).output
        assert "%%EndComments\n" + feature in output
        assert between(output, "%%Page: ? ?\n", "VXsave") == feature
        assert f"{emptied}(1) show\n{emptied}VXsave\n" in output


def test_one_source_alone_is_not_stated():
    for options in ("AP_FIRSTPAGE_InputSlot=Letterhead", "AP_FIRSTPAGE_ManualFeed=True InputSlot=Plain",
                    "AP_FIRSTPAGE_InputSlot=Letterhead InputSlot=NoSuchSlot"):
        assert list_feeds(run_filter("MirrorPrint=True " + options, make_job(3), SLOTS).output) == "---", options


def test_the_printer_helps_itself_while_nothing_moves_the_pages():
    assert run_filter(FROM_BOTH, make_job(3), SLOTS).output == make_job(3) + "\x04"
