import re

from running import Folder, between, make_job, run_filter, utf8

PPD = '*VXwmrSwitch Watermark/On: ""\n'


def mark(options, job=None, **how):
    result = run_filter("VXwmrSwitch=" + options, job or make_job(1), **({"ppd": PPD} | how))
    assert result.status == 0
    return result


def outline_of(output):
    """What decides about the marks, in order: page comments, page ends and calls."""
    setup_end = output.find("%%EndSetup")
    found = re.findall(r"^(?:%%Page: (.*)|VX(wmDraw|showpage)$|(%%EndPageSetup|%%Trailer)$)", output[setup_end:], re.M)
    return "".join("".join(groups) + ";" for groups in found)


def width_of(options):
    """Of the text, in points."""
    return float(between(mark("Overlay " + options).output, "VXwmDrawing {\n-", " ") or 0) * 2


def test_the_text_is_stored_once_as_outlines():
    output = mark("Watermark VXwmCodedTextMessage=ab%20c",
                  make_job(2).replace("%%EndSetup\n", "%%EndSetup\n% two\n%%EndSetup\n")).output
    assert output.count("ustroke") == 4  # a blank is a glyph too
    assert output.count("/VXwmDrawing {") == 1
    assert output.index("/VXwmDrawing {") < output.index("%%EndSetup")


def test_marks_are_painted_in_their_style():
    for style, width in {"": "\n0.480000 setlinewidth", "Thin": "\n0.240000 setlinewidth",
                         "Thick": "\n0.960000 setlinewidth", "Fill": "\n0.550000 setlinewidth", "Halo": ""}.items():
        output = mark("Watermark VXwmrTextStyle=" + style).output
        assert between(output, "forall setcolor", "grestore\n} bind") == width + " VXwmDrawing\n", style
        assert ("1 setgray 1.8 setlinewidth VXwmDrawing" in output) == (style == "Halo"), style
        assert ("ufill" in output) == (style == "Fill"), style


def test_options_are_read():
    for options, logged in {
            "watermark": "mode = 2",
            "Overlay VXwmrTextAngle=Deg": "angle = 45",
            "Overlay VXwmrTextAngle=Deg90x": "angle = 90",
            "Overlay VXwmrTextAngle=abcd": "angle = 0",
            "Overlay VXwmrTextAngle=DegN99999999999": "angle = -2147483647",
            "Overlay VXwmrFontName=Times": "font = Times Bold",
            "Overlay": "font = \n",
            "Overlay VXwmrTextColor=Mauve": "color = 0.000000 0.000000 0.000000 1.000000",
            "Overlay VXwmrBrightness=Dim": "brightness = 0.550000",
            "Overlay ColorDevice=true": "VXwm: color = no",
            "Overlay ColorDevice=False": "VXwm: color = yes",
            "overlay": "text = Draft\n",
            "Overlay VXwmCodedTextMessage=%00x": "text = Draft\n",
            "Overlay VXwmCodedTextMessage=100%25%2B%C3%A9": utf8("text = 100%+é\n"),
            "Overlay VXwmCodedTextMessage=caf%E9": utf8("text = café\n"),
            "Overlay VXwmCodedTextMessage=a%0AERROR:b": "text = a\nDEBUG: ERROR:b\n"}.items():
        assert logged in mark(options).log, options


def test_the_text_is_as_large_as_asked():
    usual = width_of("")
    assert usual > 80  # the width of five letters
    assert width_of("VXwmrFontSize=pt0") == width_of("VXwmrFontSize=pt") == usual
    assert abs(width_of("VXwmrFontSize=pt96.5") - usual * 2) < 0.2
    assert abs(width_of("VXwmrFontSize=99999999999999999999") - usual * 2000 / 48) < 2


def test_marks_stand_under_the_pages_or_over_them_once_each_whatever_comments_a_page_has():
    two = make_job(2)
    twice = two.replace("%%EndPageSetup\n", "%%EndPageSetup\n%%EndPageSetup\n", 1)
    for options, job, outline in [
            ("Watermark", two, "1 1;wmDraw;%%EndPageSetup;showpage;2 2;wmDraw;%%EndPageSetup;showpage;"),
            ("Overlay", two, "1 1;%%EndPageSetup;wmDraw;showpage;2 2;%%EndPageSetup;wmDraw;showpage;"),
            ("Overlay VXwmrPages=FirstPage", two, "1 1;%%EndPageSetup;wmDraw;showpage;2 2;%%EndPageSetup;showpage;"),
            ("Watermark VXwmrPages=FirstPage", two, "1 1;wmDraw;%%EndPageSetup;showpage;2 2;%%EndPageSetup;showpage;"),
            ("Watermark VXwmrPages=FirstPage", twice,
             "1 1;wmDraw;%%EndPageSetup;%%EndPageSetup;showpage;2 2;%%EndPageSetup;showpage;"),
            ("Watermark", twice,
             "1 1;wmDraw;%%EndPageSetup;%%EndPageSetup;showpage;2 2;wmDraw;%%EndPageSetup;showpage;")]:
        assert outline_of(mark(options, job).output) == outline + "%%Trailer;", options
    repeated = two.replace("%%Page: 2 2\n", "%%Page: 1 1 (excessive)\n%%Page: 2 2\n")
    assert outline_of(mark("Overlay", repeated).output).count("wmDraw") == 2


def test_blank_fillers_are_left_alone():
    for mode in "Watermark", "Overlay":
        outline = outline_of(mark(mode + " sides=two-sided-long-edge", make_job(3),
                                  ppd=PPD + "*DefaultVXFaceOrientation: FaceUp\n").output)
        assert (outline.count("showpage"), outline.count("wmDraw")) == (4, 3), outline


def test_a_job_without_setup_or_trailer_is_marked_all_the_same():
    output = mark("Overlay", "%!PS-Adobe-3.0\n%%EndComments\n%%Page: 1 1\n%%EndPageSetup\nshowpage\n\x04").output
    assert outline_of(output) == "1 1;%%EndPageSetup;wmDraw;showpage;%%Trailer;"
    assert output.index("/VXwmDrawing {") < output.index("%%EndSetup")


def test_a_text_of_any_length_and_size_is_set_whole():
    text = "VXwmCodedTextMessage=" + utf8("".join(chr(0x4E00 + n) for n in range(10000)))
    assert mark("Overlay " + text).output.count("ustroke") == 10000
    assert width_of("VXwmrFontSize=2000 " + text) > 1e7  # beyond 32 bits in Pango's units


def test_without_a_font_the_job_is_printed_unmarked():
    with Folder() as folder:
        for text in "", f"<cachedir>{folder.path}</cachedir>":
            configuration = folder.write("fonts.conf", f"<fontconfig>{text}</fontconfig>")
            result = mark("Overlay", make_job(3), env={"FONTCONFIG_FILE": configuration})
            assert outline_of(result.output).count("showpage") == 3
            assert "VXwm" not in result.output
            assert "no font is installed" in result.log and "without its watermark" in result.log


def test_no_other_job_pays_for_the_text_layout():
    def is_loaded(options, **how):
        return "libpango" in mark(options, env={"LD_DEBUG": "files"}, **how).log  # names every library that is opened

    assert is_loaded("Overlay")
    assert not is_loaded("Off")
    assert not is_loaded("Overlay", ppd="")
