from running import between, make_job, run_filter, utf8

PIN = "4711"
PRIVATE = "VXJobRetentionOption=VXJobRetentionPrivate VXPinToPrintExtended=4711 "
PPD = '*VXJobRetentionPersonal_PIN True/On: "/HoldType 1"\n'
COLLATE_BEGIN = "%%BeginFeature: *Collate True\n\t<< /Collate true >> setpagedevice\n"
COLLATE_TRUE = COLLATE_BEGIN + "%%EndFeature\n"
HELD_ONCE = "VXJobRetentionOption VXJobRetentionPrivate"
PIN_USED = "VXUsePINToPrint True"


def feature(name, code="its own code\n"):
    return f"%%BeginFeature: *{name}\n{code}%%EndFeature\n"


def filter_setup(options, setup, content_type="", env={}, copies="1"):
    """What becomes of the setup of a native job; the PIN must never reach the log."""
    result = run_filter(options, make_job(1, setup), PPD, env={"CONTENT_TYPE": content_type} | env, copies=copies)
    assert result.status == 0
    assert PIN not in result.log
    return between(result.output, "%%BeginSetup\n", "%%EndSetup")


def test_private_jobs_are_held_for_their_pin():
    for options, name, hold, pin in [
            (PRIVATE, HELD_ONCE, 1, PIN),
            ("VXJobRetention=VXJobRetentionPrivateStore VXPinToPrintExtended=%28a%5c%25s", HELD_ONCE + "Store", 2,
             "\\(a\\\\%s"),
            ("VXJobRetention=x VXPinToPrintExtended=" + "7" * 9000, HELD_ONCE, 1, "7" * 9000)]:
        held = ("\t<< /Collate true /CollateDetails\n"
                f"\t\t<< /Type 8 /Hold {hold} /HoldType 1 /HoldKey ({pin}) >>\n\t>> setpagedevice\n")
        assert filter_setup(options, feature(name)) == COLLATE_TRUE + feature(name, held + "its own code\n")


def test_a_converted_job_gets_a_stopped_context_for_each_feature():
    setup = filter_setup(PRIVATE, "[{\n" + feature(HELD_ONCE), content_type="application/pdf")
    assert setup.startswith(f"[{{\n{COLLATE_TRUE}}} stopped cleartomark\n[{{\n%%BeginFeature: *VXJobRetentionOption")


def named(feature_name, key, in_utf8, in_latin1):
    """The feature for printers that read UTF-8 and for others."""
    def dictionary(name):
        return f"\t\t<< /CollateDetails\n\t\t\t<< /Type 8\n\t\t\t\t/{key} ({name})\n\t\t\t>>\n\t\t>> setpagedevice\n"

    return feature(feature_name, "\tcurrentpagedevice /StringCodeSet known\n\t{\n\t\t<< /StringCodeSet (UTF8) >> "
                   f"setpagedevice\n{dictionary(in_utf8)}\t}}\n\t{{\n{dictionary(in_latin1)}\t}} ifelse\n\n")


def test_names_reach_every_printer_in_an_encoding_it_can_read():
    for option, in_utf8, in_latin1 in [
            ("VXCustomJobName=" + utf8("Grüß"), utf8("Grüß"), "Grüß"),
            ("VXCustomJobName=Gr%C3%BC%c3%9F%2", utf8("Grüß%2"), "Grüß%2"),
            ("VXCustomJobName=Gr%FC%DF", utf8("Grüß"), "Grüß"),
            ("VXCustomJobName=" + utf8("文+%29\\\\("), utf8("文+\\)\\\\\\("), ""),
            ("VXCustomJobName=%0A%%Page:", "\\012%%Page:", "\\012%%Page:"),
            ("VXCustomJobName=", "", ""),
            ("", "", "")]:
        assert filter_setup(PRIVATE + option, feature("VXJobName Set")) == named(
            "VXJobName Set", "JobMgrName", in_utf8, in_latin1), option
    # 130 such letters fit in Latin 1 only, 300 not at all.
    for count, in_latin1 in {130: "ü" * 130, 300: ""}.items():
        setup = filter_setup(PRIVATE + "VXCustomUserName=" + utf8("ü") * count, feature("VXUserName FileSharingName"))
        assert setup == named("VXUserName FileSharingName", "UserName", "", in_latin1), count


def test_only_the_first_feature_block_is_replaced():
    rest = (feature("VXUserName None") + "%%+ VXUserName Set\n(VXJobName Set) show\n"
            "%%Title: VXJobRetentionPrivate VXUsePINToPrint True *Collate False\n")
    assert filter_setup(PRIVATE, rest) == rest
    user, replaced = feature("VXUserName Set"), named("VXUserName Set", "UserName", "", "")
    assert filter_setup(PRIVATE, user + user) == replaced + user
    # Without its end a block costs itself alone.
    assert filter_setup(PRIVATE, "%%BeginFeature: *VXUserName Set\nlost\n" + rest) == replaced + rest


def test_a_proof_of_one_copy_is_printed_at_once():
    options = "VXJobRetentionOption=VXJobRetentionProof VXPinToPrintExtended=4711"
    proof, pin = feature("VXJobRetentionOption VXJobRetentionProof"), feature(PIN_USED, "/HoldKey (%s)\n")
    assert filter_setup(options, proof + pin) == (
        COLLATE_TRUE + "%%BeginFeature: *VXJobRetentionOption VXJobRetentionProof\n\t<< /Collate true /CollateDetails\n"
        "\t\t<< /Type 8 /Hold 0 >>\n\t>> setpagedevice\n%%BeginFeature: *VXUsePINToPrint True\n")
    assert filter_setup(options, proof + pin, copies="2") == COLLATE_TRUE + proof + pin.replace("%s", PIN)


def test_the_pin_fills_the_printers_template():
    template = feature(PIN_USED, "<< 100% %d\n/HoldKey (%s) %d %%\n>> setpagedevice\n")
    filled = feature(PIN_USED, "<< 100% %d\n/HoldKey (4711) %d %\n>> setpagedevice\n")
    unused = template.replace("True", "False") + template
    cut = feature(PIN_USED, "%" * 250 + "/HoldKey (%s)\n")  # lines are read in pieces of 255 bytes here
    for setup, becomes in {template: filled, unused: unused, cut: cut}.items():
        assert filter_setup(PRIVATE, setup) == becomes
    assert filter_setup("VXJobRetention=x", template) == "%%BeginFeature: *VXUsePINToPrint True\n"


def test_a_personal_job_gets_the_printers_hold_for_its_pin():
    name, code = "VXJobRetentionOption VXJobRetentionPersonal", "<< /Hold 1 %s\n << /Hold 1 %s %s >>\n% %s\n"
    filled = "<< /Hold 1 /HoldType 1\n << /Hold 1 /HoldType 1 %s >>\n% %s\n"
    for value in "true", "True", "TRUE", "false", "no", "":
        setup = filter_setup("VXJobRetention=VXJobRetentionPersonal VXUsePINToPrint=" + value, feature(name, code))
        assert setup == COLLATE_TRUE + feature(name, filled if value.lower() == "true" else code), value


def test_switched_off_it_leaves_the_job_alone():
    setup = feature(HELD_ONCE) + feature("Collate False")
    for options in ("", "VXJobRetention=vxjobretentionOFF",
                    "VXJobRetentionOption=VXJobRetentionOff VXJobRetention=VXJobRetentionPrivate"):
        assert filter_setup(options, setup) == setup, options


def test_a_held_job_loses_every_collation_of_its_own():
    off = feature("VXJobRetentionOption VXJobRetentionOff")
    store = feature("VXJobRetentionOption VXJobRetentionStoreJob")
    setup = feature("Collate True") + off + feature("Collate False") + store + store
    assert filter_setup(PRIVATE, setup) == off + COLLATE_TRUE + store + store


def test_old_dialogs_forget_to_collate_what_they_staple():
    wanted = "VXStaplerOptions=UpperLeft collate=false com.apple.print.PrintSettings.PMCopyCollate..b.=True"
    setup = feature("Collate True") + feature("Collate False") + feature("Collate False")
    old = {"VX_SYSTEM_VERSION": "10.3.9"}
    assert filter_setup(wanted, setup, env=old, copies="2") == feature("Collate True") + COLLATE_BEGIN * 2
    for part, other in ("UpperLeft", "none"), ("collate=false", "collate=False"), ("=True", "=False"), ("collate", "o"):
        assert filter_setup(wanted.replace(part, other), setup, env=old, copies="2") == setup, part
    assert filter_setup(wanted, setup, env={"VX_SYSTEM_VERSION": "10.4"}, copies="2") == setup
