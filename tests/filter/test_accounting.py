import grp
import os
import pwd
import socket

from running import between, make_job, run_filter, utf8

TIME = "2023-11-14T22:13:20Z"  # of the time that test runs have
FORM_1 = '*VXAccountingInfo: "1"\n'
COMPUTER, _, DOMAIN = socket.gethostname().partition(".")  # a host without a domain has the resolver's first one


def plug_ins(*calls):
    return "".join(f"[{{\n%%BeginPluginPS: {keyword}\n\t/VXDict /ProcSet findresource /{procedure} get ({value}) exch "
                   "exec\n%%EndPluginPS\n}stopped cleartomark\n" for keyword, procedure, value in calls)


def dictionaries(options="", ppd=FORM_1, **how):
    """What is stated in UTF-8 and in Latin 1."""
    output = run_filter(options, ppd=ppd, **how).output
    return (between(output, "(UTF8) >> setpagedevice\n\t\t<<\n", "\t\t>> setuserparams\n\t}\n"),
            between(output, "\t{\n\t\t<<\n", "\t\t>> setuserparams\n\t} ifelse\n"))


def test_servers_get_a_call_for_each_field():
    base = [("VXTime", "SetTime", TIME), ("VXJobName", "SetJobName", "title")]
    user = [("VXUserName", "SetUserName", "user"), ("VXUUID", "SetUUID", "\\(1\\)")]
    keywords = '*VXJobAccounting True/On: ""\n*VXAccountID Custom/C: ""\n'
    for options, ppd, calls in [
            ("VXJobAccounting=False VXUUID=%281%29", keywords, base),
            ("VXJobAccounting=true VXUUID=%281%29", keywords, base + user),
            ("VXJobAccounting=off VXAccountID=Custom VXAccountIDEdit=a%0Ab", keywords,
             base + [("VXAccountID", "SetAccountId", "a\\012b")]),
            ("VXUUID=%281%29", "*DefaultVXJobAccounting: true\n", base + user),
            ("VXUUID=%281%29", '*VXAccountingInfo: "3"\n',
             [("VXTime", "SetTimeStamp", TIME), base[1], *user, ("VXHostName", "SetHostName", COMPUTER),
              ("VXDomainName", "SetDomain", DOMAIN or "first.example")])]:
        output = run_filter(options, ppd=ppd, env={"LOCALDOMAIN": "first.example. second.example"}).output
        assert between(output, "%%Pages: 1\n", "%%EndComments") == plug_ins(*calls), options + ppd
        assert "setuserparams" not in output
    # Calls are written whole or not at all.
    output = run_filter(ppd="*DefaultVXJobAccounting: False\n", title="x" * 9000).output
    assert between(output, "%%Pages: 1\n", "%%EndComments") == plug_ins(base[0])


def test_office_printers_get_a_dictionary_in_two_encodings():
    def fields(umlaut, domain, file):
        values = ["", f"J{umlaut}rgen", COMPUTER, domain, TIME, "u", "Excel \\(x\\)", file, umlaut, "9876"]
        stated = [f"\t\t\t/JobAcct{number} ({value})\n" for number, value in enumerate(values) if value]
        return "\t\t\t/JobName (title)\n" + "".join(stated)

    options = utf8("VXUUID=u VXApplicationName=Excel%20%28x%29 VXApplicationFilename=文.xls VXDepartmentID=%C3%BC "
                   "VXDepartmentAccessCode=9876")
    for search in " ", "first.example":
        domain = DOMAIN or search.strip()
        output = run_filter(options, ppd='*VXAccountingInfo: "0x1"\n', user=utf8("Jürgen"),
                            env={"LOCALDOMAIN": search}).output
        assert between(output, "%%BeginProlog\n", "%%EndProlog") == (
            "[{\n%%BeginFeature: *VXAccountingInfo\n\tcurrentpagedevice /StringCodeSet known\n"
            "\t{\n\t\t<< /StringCodeSet (UTF8) >> setpagedevice\n\t\t<<\n" +
            fields(utf8("ü"), domain, utf8("文.xls")) + "\t\t>> setuserparams\n\t}\n\t{\n\t\t<<\n" +
            fields("ü", domain, "") + "\t\t>> setuserparams\n\t} ifelse\n%%EndFeature\n} stopped cleartomark\n")
        assert "VXDict" not in output


def test_the_log_never_shows_the_access_code():
    result = run_filter("VXDepartmentAccessCode=s3cr" + utf8("ë") + "t%28", ppd=FORM_1)
    assert "/JobAcct9 (s3cr" + utf8("ë") + "t\\()\n" in result.output
    assert "Accounting info:[{\n" in result.log and "/JobAcct9 (***)" in result.log
    assert "s3cr" not in result.log
    assert "JobAcct9" not in run_filter(ppd=FORM_1).log


def test_names_of_any_kind_keep_their_place():
    in_utf8, in_latin1 = dictionaries(title="a\x01b\xFF(\\", user="Jürgen")
    assert in_utf8.startswith(utf8("\t\t\t/JobName (a b\uFFFD\\(\\\\)\n\t\t\t/JobAcct1 (Jürgen)\n"))
    assert in_latin1.startswith("\t\t\t/JobAcct1 (Jürgen)\n")
    long = {"title": "x" * 255, "user": "x" * 256}
    assert dictionaries(**long)[0].startswith("\t\t\t/JobName (" + "x" * 255 + ")\n\t\t\t/JobAcct2 (")
    in_utf8, _ = dictionaries("PMJobName=a%20b VXRealUserName=%41 PMApplicationName=%42", **long)
    assert in_utf8.startswith("\t\t\t/JobName (a%20b)\n\t\t\t/JobAcct1 (%41)\n")
    assert "/JobAcct6 (%42)\n" in in_utf8


def test_one_form_lists_the_users_groups():
    names = {grp.getgrgid(group).gr_name for group in os.getgrouplist("root", pwd.getpwnam("root").pw_gid)}
    groups = "".join(f"\t\t\t/Group{number} ({name})\n" for number, name in enumerate(sorted(names), 1))
    for form, has_groups in {"2": True, "02": True, "1": False}.items():
        for text in dictionaries("VXAccountingInfo=" + form, '*VXAccountingInfo: "7"\n', user="root"):
            assert text.endswith(groups) == has_groups, form


def test_nothing_happens_unless_the_printer_keeps_accounts():
    for statements in ("", '*VXAccountingInfo: "0"\n', '*VXAccountingInfo: "none"\n',
                       "*DefaultVXJobAccounting: Maybe\n", '*VXAccountingInfo: ""\n'):
        assert run_filter("VXJobAccounting=True", ppd=statements).output == make_job(1) + "\x04", statements
