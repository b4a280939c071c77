from running import between, make_job, make_ppd, run_filter

UPRIGHT = '*VXInsertOrientation Portrait/P: "upright"\n'
TURNED_LEFT = '*VXInsertOrientation Landscape/L: "turned left"\n'
CODES = UPRIGHT + TURNED_LEFT + """*VXInsertOrientation ReversePortrait/RP: "upside down"
*VXInsertOrientation ReverseLandscape/RL: "turned right"
"""
BOOKLET = '*VXBookletFilter True/On: ""\n'
GUIDES_BETWEEN_LANDSCAPE_PAGES = ("PMPageOrientation=2 VXManualDuplexSupport=True VXManualDuplexSwitch=True "
                                  "VXManualDuplexPrintGuide=True orientation-requested=4")


def run_simplex(options, job, statements=CODES):
    return run_filter(options, job, make_ppd(statements, has_duplex_unit=False))


def test_the_setup_gets_the_code_once():
    for value, code in {"1": "Portrait\nupright",
                        "2": "Landscape\nturned left",
                        "3": "ReversePortrait\nupside down",
                        "4": "ReverseLandscape\nturned right",
                        "reverseLANDSCAPE": "ReverseLandscape\nturned right",
                        "Portrait": "Portrait\nupright",
                        "1 VXBookletFilter=True": "Landscape\nturned left",
                        "2 VXBookletFilter=True": "Portrait\nupright",
                        "3 VXBookletFilter=True": "ReverseLandscape\nturned right",
                        "4 VXBookletFilter=True": "ReversePortrait\nupside down"}.items():
        output = run_simplex("PMPageOrientation=" + value, make_job(4, "%%BeginSetup\n"), CODES + BOOKLET).output
        assert (between(output, "%%BeginSetup\n", "%%EndSetup") ==
                f"%%BeginFeature: *VXInsertOrientation {code}\n%%EndFeature\n%%BeginSetup\n"), value


def test_nothing_is_written_without_a_code_for_the_value():
    job = make_job(1)
    for options in ("", "PMPageOrientation=0", "PMPageOrientation=5", "PMPageOrientation=11"):
        assert run_simplex(options, job).output == job + "\x04", options
    result = run_simplex("PMPageOrientation=1", job, TURNED_LEFT)
    assert result.output == job + "\x04"
    assert "kProcessingError != inReturnStatus assertion failed" in result.log


def test_guide_pages_between_landscape_pages_are_upright():
    output = run_simplex(GUIDES_BETWEEN_LANDSCAPE_PAGES, make_job(2)).output
    assert "VXInsertOrientation" not in output
    for begin, code in {"(reinsertion) 1\n": "upright",
                        "%%Page: 2 2\n": "turned left",
                        "%%Page: 3 3\n": "turned left"}.items():
        assert between(output, begin, "show").startswith(f"matrix VXcurrent\n{code}\nVXset\n"), begin


def test_without_upright_guides_the_code_stays_in_the_setup():
    options = GUIDES_BETWEEN_LANDSCAPE_PAGES
    for options, statements in ((options.replace("PrintGuide=True", "PrintGuide=False"), CODES),
                                (options.replace("requested=4", "requested=3"), CODES),
                                (options, CODES.replace(UPRIGHT, "")),
                                (options + " VXBookletFilter=True", CODES + BOOKLET)):
        output = run_simplex(options, make_job(2), statements).output
        assert output.count("%%BeginFeature: *VXInsertOrientation") == 1, (options, statements)
