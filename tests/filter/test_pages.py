from running import Filter, Folder, between, make_job, make_ppd, run_filter

FACE_UP = "*DefaultVXFaceOrientation: FaceUp\n"
REVERSING = make_ppd(FACE_UP, has_duplex_unit=False)  # last page first: the plainest way to have pages moved
SIMPLEX = make_ppd(has_duplex_unit=False)
BY_HAND = "VXManualDuplexSupport=True VXManualDuplexSwitch=True "
COLLATED = BY_HAND + "collate=true"
TWO_SIDED = "sides=two-sided-long-edge"
COMMENTS = "%!PS-Adobe-3.0\n%%EndComments\n"
HEAD = COMMENTS + "%%EndSetup\n"
TRAILER = "%%Trailer\n%%EOF\n"
END = TRAILER + "\x04"
FEATURE = "%%BeginFeature: *InputSlot Upper\nupper code\n%%EndFeature\n"


def show_pages(output):
    """The pages in the order in which they come, by what make_job drew on them: "3 2 1"; B a page with nothing on it,
    G a guide. A page comment that does not bear its place in the job stands as "!"."""
    shown = []
    for place, page in enumerate(output.split("%%Page: ")[1:], 1):
        is_page = page.startswith(f"{place} {place}\n")
        is_guide = page.startswith(f"(reinsertion) {place}\n")
        shown.append("G" if is_guide else between(page, "(page ", ")") or "B" if is_page else "!")
    return " ".join(shown)


def reverse(job, **how):
    result = run_filter("", job, REVERSING, **how)
    assert result.status == 0
    return result.output


def page(number, text=None, more=""):
    return f"%%Page: {number} {number}\n(page {text or number}) show\nshowpage\n{more}"


def stopped(feature):
    return f"[{{\n{feature}\n}} stopped cleartomark\n"


def reverse_two(first_text="", end=TRAILER):
    """What becomes of two pages between a head and some end."""
    return reverse(HEAD + page(1, 1, first_text) + page(2) + end)


def turned(first_text="", end=END):
    """The two pages in their new order."""
    return HEAD + page(1, 2) + page(2, 1, first_text) + end


def run_native(job, options=TWO_SIDED, ppd="", **how):
    """An application's own job, with conversions that leave it as it is."""
    with Folder() as server:
        server.write("filter/gstopdf", "#!/bin/sh\ncat\n", 0o755)
        server.write("filter/pdftops", '#!/bin/sh\ncat "$6"\n', 0o755)
        env = {"CONTENT_TYPE": "application/postscript", "CUPS_SERVERBIN": str(server.path)}
        return run_filter(options, job, ppd, env=env, **how)


def test_pages_move_whole_and_are_numbered_anew():
    assert show_pages(reverse(make_job(40))) == " ".join(str(n) for n in range(40, 0, -1))


def test_every_end_of_a_job_is_an_end():
    for end, written in {TRAILER: END, END: END, "%%EOF\n": END, "": "\x04", "\x04": "\x04",
                         "%%Trailer": "%%Trailer\x04", TRAILER + "more\n" + TRAILER: END}.items():
        assert reverse_two(end=end) == turned(end=written), end
    for end in "last words", "last words\x04", "last words\x04\n\x04":
        assert reverse_two(end=end) == HEAD + page(1, 2, "last words\n") + page(2, 1, "\x04"), end
    assert reverse(HEAD + page(1) + TRAILER + page(2) + TRAILER) == turned()  # a page behind a trailer


def test_only_the_start_of_a_line_of_the_job_itself_is_a_boundary():
    foreign = "%!PS-Adobe-3.0 EPSF-3.0\n%%Page: 9 9\n%%Trailer\n%%EOF\n"
    document, end = "%%BeginDocument: inner\n" + foreign, "%%EndDocument\n"
    for text in (document + end, document + document + end + "%%Page: 8 8\n" + end, end + document + end, foreign,
                 "(%%Trailer) show\n %%Page: 9 9\n/x (%%EOF) def\n"):
        assert reverse_two(text) == turned(text)
    unclosed = HEAD + page(1) + "%%BeginDocument: open\n" + page(2) + TRAILER
    assert reverse(unclosed) == unclosed + "\x04"
    cut = HEAD + page(1) + "%%BeginDocument: cut at its NUL\0, and joined\n%%EndDocument\n" + page(2) + TRAILER
    assert reverse(cut) == cut.replace("\0, and joined\n", "") + "\x04"


def test_long_lines_move_whole():
    piece = "x" * 8191
    for text in piece + "%%Page: 9 9\n", piece + piece + "%%Trailer\n", "y" * 300000 + "\n":
        assert reverse_two(text) == turned(text)
    # No rest of a page comment becomes code.
    assert reverse(HEAD + page(1).replace("1 1\n", "1 1 " + "c" * 9000 + "\n") + page(2) + TRAILER) == turned()


def test_carriage_returns_end_lines():
    output = reverse((HEAD + page(1) + page(2) + TRAILER).replace("\n", "\r"))
    assert output == turned().replace("\n", "\r").replace("1 1\r", "1 1\n").replace("2 2\r", "2 2\n")


def test_a_job_without_pages_comes_out_whole():
    job = HEAD + "(text) show\nshowpage\n" + TRAILER
    for options, ppd in ("", REVERSING), (TWO_SIDED, ""):
        assert run_filter(options, job, ppd).output == job + "\x04"
        assert run_filter(options, ppd=ppd, file=job).output == job + "\x04"
    for tiny, output in {"": "\x04", "\x04": "\x04", "%": "%\x04"}.items():
        assert reverse(tiny) == output
    assert run_native("%!PS").output == "%!PS\x04"


def test_blank_sides_complete_sheets_and_every_collated_copy_has_its_own():
    for options, ppd, cases in [
            (TWO_SIDED, FACE_UP, {(5, 1): "5 B 3 4 1 2", (1, 1): "1 B"}),
            (BY_HAND, SIMPLEX, {(5, 1): "B 4 2 1 3 5", (1, 1): "1"}),
            (BY_HAND + "VXManualDuplexPrintGuide=True", SIMPLEX, {(4, 1): "G 4 2 1 3 G"}),
            # At the end: no backs to print, which takes one page a sheet; no whole copies.
            (COLLATED, SIMPLEX, {(9, 3): "B 8 B 5 B 2 1 3 4 6 7 9", (8, 2): "8 6 4 2 1 3 5 7", (2, 2): "1 B 2 B",
                                 (5, 2): "B 4 2 1 3 5", (5, 0): "B 4 2 1 3 5"})]:
        for (pages, copies), shown in cases.items():
            output = run_filter(options, make_job(pages), ppd, copies=str(copies)).output
            assert show_pages(output) == shown, (options, pages, copies)


def test_booklet_pages_come_in_pairs_of_one_sheet_side():
    for options, cases in {"": {(8, 1): "8 1 2 7 6 3 4 5"},
                           "VXBookletPageOrder=Asian": {(8, 1): "1 8 7 2 3 6 5 4"},
                           "VXBookletBackCover=True": {(6, 1): "6 1 2 B B 3 4 5"},
                           "collate=true": {(8, 2): "4 1 2 3 8 5 6 7", (9, 3): "B 1 2 3 B 4 5 6 B 7 8 9",
                                            (2, 2): "B 1 B B B 2 B B"},
                           "number-up=2": {(5, 1): "1 2 3 4 5"},
                           BY_HAND: {(4, 1): "2 3 4 1", (1, 1): "B 1"}}.items():  # at the end: no whole sheet
        for (pages, copies), shown in cases.items():
            output = run_filter("VXBookletFilter=True " + options, make_job(pages), "*VXBookletFilter: True\n",
                                copies=str(copies)).output
            # Both pages of a side bear its number, and not their place.
            drawn = [between(page, "(page ", ")") or "B" for page in output.split("%%Page: ")[1:]]
            assert " ".join(drawn) == shown, (options, pages, copies)


def test_features_of_a_native_job_come_back_once_in_front_of_the_end_of_the_setup():
    copies = "%RBIBeginNonPPDFeature: *NumCopies 1\n1 setcopies\n%RBIEndNonPPDFeature\n"
    unended = "%%BeginFeature: *Open End\nopen code\n"
    restored = stopped(FEATURE) + copies + stopped(unended)
    start = COMMENTS + FEATURE
    for setup_end in "%%EndSetup\n", "":
        end = setup_end + page(1) + page(2) + TRAILER
        assert run_native(start + copies + unended + end).output == start + unended + restored + end + "\x04"


def test_features_come_back_to_pages_that_are_not_moved():
    output = run_native(COMMENTS + FEATURE + "%%EndSetup\n" + page(1) + TRAILER, "VXwmrSwitch=Overlay",
                        '*VXwmrSwitch: ""\n').output
    assert FEATURE + stopped(FEATURE) in output


def test_the_rotation_is_dropped_where_the_pages_are_turned_already():
    rotation = "%%BeginFeature: *VXRotate180 True\nrotation\n%%EndFeature\n"
    end = "%%EndSetup\n" + page(1) + page(2) + TRAILER
    output = run_native(COMMENTS + rotation + end, TWO_SIDED + " VXRotate180=True").output
    assert output == COMMENTS + stopped(rotation) + end + "\x04"


def test_repeated_pages_go_where_their_page_goes():
    def repeated(number, text):
        return page(number, text).replace("\n", "(excessive)\n", 1)

    job = HEAD + page(1) + page(1, 11) + page(2) + page(3) + page(3, 33) + TRAILER
    result = run_native(job, "", REVERSING)
    assert result.output == HEAD + page(1, 3) + repeated(3, 33) + page(2) + page(3, 1) + repeated(1, 11) + END
    assert "Final number of pages = 3" in result.log
    marked = page(9).replace("9 9", "x ? (excessive)")  # by its application
    result = run_native(HEAD + page(1) + marked + page(3) + TRAILER, "", REVERSING)
    assert result.output == HEAD + page(1, 3) + page(2, 1) + marked + END
    result = run_native(HEAD + page(0) + page(5) + TRAILER, "", REVERSING)  # a first page repeats nothing
    assert result.output == HEAD + page(1, 5) + page(2, "0") + END


def test_subset_fonts_get_their_substitution_comment():
    font = "%ADOBeginSubsetFont: A\nfont\n%ADOEndSubsetFont\n"
    output = run_native(HEAD + page(1, 1, font + font) + page(2) + TRAILER).output
    fonts = f"%%FontSubstitute:0\n{font}%%FontSubstitute:1\n{font}"
    assert output == HEAD + page(1, 1, fonts) + page(2) + END


def test_a_native_document_that_states_its_copies_holds_one():
    stated = "%RBIBeginNonPPDFeature: *NumCopies {0}\n{0} setcopies\n%RBIEndNonPPDFeature\n"
    for setup, options, shown in [(stated.format(2), COLLATED, "6 4 2 1 3 5"),
                                  ("", COLLATED, "B 5 B 2 1 3 4 6"),
                                  (stated.format(1), BY_HAND, "B 5 B 2 1 3 4 6")]:
        assert show_pages(run_native(make_job(6, setup), options, SIMPLEX, copies="2").output) == shown, setup


def test_a_full_disk_is_told_once_before_anything_is_printed():
    for limit in 1, 20000, 200000:
        result = run_filter("", HEAD + page(1, 1, "x" * 300000 + "\n") + page(2) + TRAILER, REVERSING,
                            file_size_limit=limit)
        assert (result.status, result.output) == (1, "")
        assert result.log.count("ERROR: ") == (1 if limit > 10000 else 0)


def test_what_cannot_be_stored_is_read_where_it_is():
    with Folder() as folder:
        path = folder.write("job", make_job(3))
        for unusable in "/proc", "/nonexistent":  # in the first even root creates nothing
            with open(path) as job, Filter("", REVERSING, {"TMPDIR": unusable}, stdin=job) as run:
                assert run.wait() == 0
                assert show_pages(run.output) == "3 2 1", unusable
