"""All features in one job, and none of them."""

from running import BUILD, make_job, run_filter

PPD = (BUILD / "ppd/office.ppd").read_text() + '*VXMarginsLayoutMode Standard: "% margins"\n'
FEATURES = (
    "[{\n%%BeginFeature: *VXJobRetentionOption VXJobRetentionPrivate\n% hold\n%%EndFeature\n} stopped cleartomark\n"
    "%%BeginFeature: *VXMarginsLayoutMode Oversize\n% oversize\n%%EndFeature\n"
    "%%BeginFeature: *VXImageShiftFront True\n%%EndFeature\n"
    "%%BeginFeature: *MirrorPrint True\n% mirror\n%%EndFeature\n")
PLACES = (
    "/VXshowpage/showpage load def|%%EndComments\n|%%BeginProlog\n|VXAccountingInfo|/VXHighlightLimit 20|"
    "/VXCyanBrightness 0|%%BeginSetup\n|*VXInsertOrientation Portrait\n<< /VXContentOrientation 0|*Collate True|"
    "*VXJobRetentionOption|/HoldKey (1234)|% margins|*VXImageShiftFront True|/PageOffset [ 72.000001 0.000000 ]|"
    "-1 1 matrix scale|/VXwmDrawing|%%EndSetup\n|%%Page: 1 1\n|/MediaPosition 1|(page 1) show|VXwmDraw\n|VXshowpage\n|"
    "%%Page: 2 2\n|(page 2) show|VXwmDraw\n|%%Page: 3 3\n|/MediaPosition 0|/Duplex false|VXwmDraw\n|VXshowpage\n|"
    "%%Trailer\n").split("|")


def test_every_feature_finds_its_place_in_one_job():
    result = run_filter(
        "MirrorPrint=True PMPageOrientation=1 VXImageShiftFront=True VXImageShiftFrontX=25.4 media=A4 "
        "VXJobRetentionOption=VXJobRetentionPrivate VXPinToPrintExtended=1234 VXwmrSwitch=Overlay "
        "sides=two-sided-long-edge AP_FIRSTPAGE_InputSlot=Tray2 InputSlot=Tray1 orientation-requested=3",
        make_job(3, FEATURES), PPD)
    assert result.status == 0
    at = 0
    for place in PLACES:
        found = result.output.find(place, at)
        assert found >= 0, f"{place} is missing, or stands before its place"
        at = found
    assert "% oversize" not in result.output
    assert "% mirror\n" not in result.output
    assert "1234" not in result.log


def test_a_job_that_asks_for_nothing_comes_out_as_it_went_in():
    # Page content that looks like much of what the filter looks for, and is not.
    content = ("(%%Page: 1 1) show\nx %%Trailer\n% VXImageShiftFront\r\n(VXUserName) show\r" + "\xff" * 9000 +
               "%%BeginFeature: *Foo\n%%EndFeature\n%%EOF later\n" + "a" * 140000 + "*Duplex *PageSize\n\n%%EndSetup\n")
    job = make_job(3).replace("(page 2) show\n", content)
    options = "MirrorPrint=True VXwmrSwitch=On number-up=2 VXImageShiftFrontX=3 VXUUID=1 VXPinToPrintExtended=9"
    assert run_filter(options, job).output == job + "\x04"
    assert run_filter(options, file=job).output == job + "\x04"
