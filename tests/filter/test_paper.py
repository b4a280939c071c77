"""Custom page sizes, custom media types, margins."""

from running import run_filter, setup_of

CUSTOM = """*VariablePaperSize: True
*MaxMediaWidth: "1000.5"
*MaxMediaHeight: "3000"
*CustomPageSize True: "pop pop pop <</PageSize[5 -2 roll]>>setpagedevice"
*ParamCustomPageSize Width: 1 points 100 1000.5
*ParamCustomPageSize Height: 2 points 100 3000
"""
MARGINS = """*OpenUI *VXMarginsLayoutMode: PickOne
*DefaultVXMarginsLayoutMode: Standard
*VXMarginsLayoutMode Standard: "standard"
*VXMarginsLayoutMode Oversize: "oversize"
*CloseUI: *VXMarginsLayoutMode
*ImageableArea Full: "0 0 500 500"
*PaperDimension Full: "500 500"
"""


def feature(name, code):
    return f"%%BeginFeature: *{name}\n{code}\n%%EndFeature\n"


def test_an_old_printer_gets_its_call_once_after_the_line_with_the_custom_size():
    old = " PPDVersion=1.0 Product=Big\\ 7100VQ\\ II"
    setup = ("%%BoundingBox: 0 0 612 700\n612 700 gS\n%%BeginFeature: *PageSize Custom\n612 700 a\n{}"
             "%%EndFeature\n612 700 b\n612.5 700 c\n")
    assert setup_of("media=Custom.612.5x700" + old, CUSTOM, setup.format("")) == setup.format("612.5 700 1 0 0\n")
    setup = "/PageSize[612 700]\n"
    assert setup_of("media=Custom.612x700" + old, CUSTOM, setup) == setup + "612 700 1 0 0\n"


def test_another_printer_and_letter_get_no_call():
    setup = "/PageSize[612 700]\n612.00 792.00\n"
    for options in ("612x700", "612x700 PPDVersion=1.0", "612x700 Product=7300vq", "612x700 PPDVersion=1 Product=900vq",
                    "612.00x792.00 PPDVersion=1.0 Product=900vq"):
        assert setup_of("media=Custom." + options, CUSTOM, setup) == setup, options


def test_tells_when_the_custom_size_is_out_of_the_printers_limits():
    for size, is_told in {"1000.5x3000": False, "1000.6x3000": True, "500x99": True}.items():
        log = run_filter("media=Custom." + size, "", CUSTOM).log
        assert ("Custom page: bounds are invalid!" in log) == is_told, size


def test_a_custom_media_type_replaces_that_of_the_job():
    mention, plain = "% MediaType\n", feature("MediaType Plain", "old")
    code = '*VXCustomMediaTypePSCode: "media %d (%s) %n"\n'
    assert (setup_of("VXCustomMediaTypeID=12 VXCustomMediaTypeName=My%20Card", code, mention + plain) ==
            mention + feature("MediaType CustomMy%20Card", "media 12 (%s) %n"))
    assert setup_of("VXCustomMediaTypeID=12", code, plain) == feature("MediaType Custom", "media 12 (%s) %n")
    assert setup_of("VXCustomMediaTypeID=12", "", plain) == plain


def test_margins_follow_the_paper():
    own = feature("VXMarginsLayoutMode Mine", "old")
    standard = feature("VXMarginsLayoutMode Standard", "standard")
    oversize = feature("VXMarginsLayoutMode Oversize", "oversize")
    for options, setup in {"VXMarginsLayoutMode=Oversize": own,
                           "media=A4": standard,
                           "media=A4 VXMarginsLayoutMode=standard": own,
                           "media=A4 VXMarginsLayoutMode=Oversize": standard,
                           "media=Full": oversize,
                           "media=Full VXMarginsLayoutMode=Standard": oversize,
                           "media=Full VXMarginsLayoutMode=Oversize": own,
                           "media=Custom.500x500": oversize,
                           "media=Custom.500x500 VXMarginsLayoutMode=Mine": own}.items():
        assert setup_of(options, MARGINS, own) == setup, options


def test_without_margin_code_the_jobs_own_mode_still_goes():
    assert setup_of("media=Unknown", '*VXMarginsLayoutMode: "yes"\n',
                    feature("VXMarginsLayoutMode Oversize", "old")) == ""
