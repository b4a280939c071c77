from running import between, make_job, run_filter

CODE = ("-1 1 matrix scale currentpagedevice/PageSize get 0 get 0 matrix translate userdict /VXcs "
        "get concatmatrix\nVXsetCS\n%%EndSetup\n")
MENTION = "% MirrorPrint\n"
FEATURE = "%%BeginFeature: *MirrorPrint True\nmirror code\n"


def mirror(job):
    result = run_filter("MirrorPrint=True", job, '*MirrorPrint True/On: ""\n')
    assert result.status == 0
    return result.output


def test_mirrors_in_the_setup_and_drops_the_jobs_own_feature():
    output = mirror(make_job(2, MENTION + FEATURE + "%%EndFeature\n"))
    assert between(output, "%%BeginSetup\n", "%%Page:") == MENTION + CODE
    again = mirror(make_job(2).replace("(page 2)", "%%EndComments\n%%EndSetup\n(page 2)"))
    assert (again.count("/VXshowpage/showpage load def"), again.count(CODE)) == (1, 1)


def test_a_missing_end_costs_the_feature_not_the_job():
    assert between(mirror(make_job(2, FEATURE)), "%%BeginSetup\n", "%%Page:") == CODE


def test_a_job_without_setup_or_trailer_gets_both():
    for content, kept in (("\nshowpage\n", "showpage\n"), ("", "")):
        output = mirror(f"%!PS-Adobe-3.0\n%%EndComments\n%%Page: 1 1{content}\x04")
        assert output.endswith(f"{CODE}%%Page: 1 1\n{kept}VXsave\nVXshowpage\nVXrestore\n%%Trailer\n\x04"), output


def test_a_repeated_page_is_shown_with_the_one_that_it_repeats():
    def outline_of(*comments):
        pages = "".join(f"%%Page: {comment}\nshowpage\n" for comment in comments)
        lines = mirror(f"%!PS-Adobe-3.0\n%%EndComments\n%%EndSetup\n{pages}%%Trailer\n").splitlines()
        return "".join("|" if line == "VXshowpage" else line.removeprefix("%%Page:") for line in lines
                       if line.startswith(("%%Page:", "VXshowpage")))

    assert outline_of("1 1", "1 1", "2 2") == " 1 1 1 1| 2 2|"
    assert outline_of("1 1", "2 2 (excessive)", "3 3") == " 1 1| 2 2 (excessive) 3 3|"
    assert outline_of("3 3", "x ?", "3 3", "4 4") == " 3 3| x ? 3 3| 4 4|", "a number that cannot be read is none"
