"""TBCP, smart duplex, jobs held at the printer."""

from running import between, make_job, make_ppd, run_filter, setup_of

VELDRA = make_ppd('*cupsProtocol: "TBCP"\n').replace('*ModelName: "Test"', '*ModelName: "Veldra 1"')
DUPLEX_OFF = "\nmark\n\n<< /Duplex false >> setpagedevice\ncleartomark\n"


def run_veldra(job, ppd=VELDRA, **env):
    return run_filter("", job, ppd, env={"VX_SYSTEM_VERSION": "10.3.9"} | env).output


def run_duplex(pages, options=""):
    return run_filter("sides=two-sided-long-edge " + options, make_job(pages), '*MirrorPrint True/On: ""\n').output


def test_tbcp_switches_in_front_of_the_job_and_only_there():
    assert (run_veldra("%!PS-Adobe-3.0\nx\x01My\x01Mz\nlater \x01M\n%!PS-Adobe-3.0\n") ==
            "\x01M%!PS-Adobe-3.0\nxyz\nlater \x01M\n%!PS-Adobe-3.0\n\x04")
    assert (run_veldra("\x01M%!PS-Adobe-3.0\nx\n%!PS-Adobe-3.0\n") ==
            "%!PS-Adobe-3.0\nx\n\x01M%!PS-Adobe-3.0\n\x04")


def test_tbcp_is_only_for_old_systems_converted_jobs_and_printers_that_talk_it():
    job = "%!PS-Adobe-3.0\n\x01M\n"
    for how in ({"VX_SYSTEM_VERSION": "10.4"}, {"CONTENT_TYPE": "application/postscript"},
                {"ppd": VELDRA.replace("Veldra", "Other")}, {"ppd": VELDRA.replace('"TBCP"', '"BCP"')}):
        assert run_veldra(job, **how) == job + "\x04", how


def test_the_last_page_of_an_odd_job_is_one_sided():
    output = run_duplex(3)
    assert between(output, "%%Page: 3 3\n", "%%BeginPageSetup") == f"matrix currentmatrix{DUPLEX_OFF}setmatrix\n"
    assert between(output, "%%Page: 1 1\n", "%%BeginPageSetup") == ""
    assert "/Duplex false" not in run_duplex(4)


def test_smart_duplex_uses_the_redefined_operators_where_there_are_some():
    output = run_duplex(1, "MirrorPrint=True")
    assert between(output, "%%Page: 1 1\n", "%%BeginPageSetup") == f"matrix VXcurrent{DUPLEX_OFF}VXset\n"


def test_tells_the_printer_whether_to_hold_the_job():
    for option, held in {"true": "True", "Off": "False"}.items():
        assert setup_of("VXHoldJob=" + option, '*VXHoldJob: "yes"\n') == (
            f"[{{\n%%BeginPluginPS: VXHoldJob {held}\n\t/VXDict /ProcSet findresource /HoldPrint get {held.lower()} "
            "exch exec\n%%EndPluginPS\n}stopped cleartomark\n")
    assert setup_of("VXHoldJob=true", "") == ""
