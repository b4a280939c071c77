"""What the features write into a job, run by Ghostscript: the pages must find everything as they would without it."""

from running import BUILD, run_filter, run_ghostscript

PPD = (BUILD / "ppd/office.ppd").read_text() + """*VXHoldJob: "True"
*VXMarginsLayoutMode Standard/S: "<< /Margins [0 0] >> setpagedevice"
"""
SHIFT = "%%BeginFeature: *VXImageShiftFront True\n%%EndFeature\n"
PAGE_FEATURES = (
    "%%BeginFeature: *MediaType Plain\n(plain) pop\n%%EndFeature\n"
    "%%BeginFeature: *VXMarginsLayoutMode Oversize\n(oversize) pop\n%%EndFeature\n"
    "%%BeginFeature: *PageSize A4\n<< /PageSize [595 842] >> setpagedevice\n%%EndFeature\n")
# What PostScript printers of language level 2 do not have, taken away.
LEVEL_2 = """userdict begin /languagelevel 2 def { addglyph clipsave cliprestore composefont currentsmoothness
    setsmoothness findcolorrendering removeall removeglyphs shfill settrapparams settrapzone currenttrapparams
    setobjectformat3 GetHalftoneName GetPageDeviceName GetSubstituteCRD } { { stop } def } forall end"""
PAGE = """%%Page: {0} {0}
%%BeginPageSetup
%%EndPageSetup
(stacks: )print count =only ( )print countdictstack =
(dictionary: )print currentdict userdict eq =
(matrix: )print matrix currentmatrix ==
(tray: )print currentpagedevice /MediaPosition 2 copy known {{get ==}} {{pop pop (none) =}} ifelse
pstack 0 0 9 9 rectfill showpage
"""
# Leaves two operands on the stack for the pages to find, which say what they find.
PROBED_JOB = ("%!PS-Adobe-3.0\n%%EndComments\n%%BeginProlog\n/a /b\n%%EndProlog\n%%BeginSetup\n%%EndSetup\n" +
              "".join(PAGE.format(number) for number in "123") +
              "%%Trailer\n(end: )print count =only ( )print countdictstack =\n%%EOF\n")


def storage(retention):
    return (
        "%%BeginFeature: *VXUserName Set\n%%EndFeature\n%%BeginFeature: *VXJobName Set\n%%EndFeature\n"
        "%%BeginFeature: *VXUsePINToPrint True\n<< /CollateDetails << /HoldKey (%s) >> >> setpagedevice\n%%EndFeature\n"
        "%%BeginFeature: *Collate False\n<< /Collate false >> setpagedevice\n%%EndFeature\n"
        "[{\n%%BeginFeature: *VXJobRetentionOption " + retention + "\n<< /CollateDetails << /Type 8\n /Hold 1 %s\n"
        ">> >> setpagedevice\n%%EndFeature\n} stopped cleartomark\n")


def print_job(level, moves_pages, options="", setup="", ppd=""):
    """What the pages say, and a line for each page that is shown; nothing of places if they are meant to move: the
    pages find another matrix or tray then, or mark other places."""
    output = run_filter(
        options + " VXCustomUserName=%28%5c VXCustomJobName=%29 VXPinToPrintExtended=%28%5c VXUsePINToPrint=True "
        "VXwmCodedTextMessage=%28a%5c", PROBED_JOB.replace("%%EndSetup", setup + "%%EndSetup"), ppd,
        title="(unbalanced \\").output
    said = []
    for line in run_ghostscript(f"-dSAFER -sDEVICE=bbox -c '{level}' -f", output).splitlines():
        if not (moves_pages and line.startswith(("%%", "matrix: ", "tray: "))):
            said.append(line)
        if line.startswith("%%BoundingBox"):
            said.append("shown")
    assert said and not [line for line in said if "Error" in line], options
    return said


def expect_no_trace(jobs, moves_pages):
    """Each printer's language level and all features are held against a job for a printer that has none."""
    for level in ("", LEVEL_2):
        plain = print_job(level, moves_pages)
        for job in jobs:
            assert print_job(level, moves_pages, *job, ppd=PPD) == plain, job


def test_features_leave_the_pages_as_they_were():
    expect_no_trace([
        ("PMPageOrientation=2",),
        ("VXCustomMediaTypeID=7 VXCustomMediaTypeName=x media=A4", PAGE_FEATURES),
        ("media=Custom.300x400 Product=7300vq PPDVersion=1.0",),
        ("VXHoldJob=True",),
        ("VXAccountingInfo=1",),
        ("VXAccountingInfo=3 VXJobAccounting=True",),
        ("sides=two-sided-long-edge",),
        *((f"VXJobRetention=VXJobRetention{kind}", storage(f"VXJobRetention{kind}"))
          for kind in ("Private", "Proof", "Personal"))], moves_pages=False)


def test_features_move_or_mark_the_pages_and_do_nothing_else():
    expect_no_trace([
        ("VXwmrSwitch=Watermark VXwmrTextStyle=Halo",),
        ("VXwmrSwitch=Overlay AP_FIRSTPAGE_InputSlot=Tray2 InputSlot=Tray1",),
        ("VXwmrSwitch=Overlay VXwmrTextStyle=Fill orientation-requested=4",),
        ("VXImageShiftFront=True VXImageShiftFrontX=10", SHIFT),
        ("VXImageShiftFront=True PMPageOrientation=2 VXJobRetention=VXJobRetentionPrivate VXwmrSwitch=Overlay "
         "sides=two-sided-long-edge VXHoldJob=True", SHIFT + storage("VXJobRetentionPrivate") + PAGE_FEATURES)],
        moves_pages=True)
