"""Image shift, gray balance and brightness."""

from running import between, make_job, run_filter, setup_of

SHIFT_CODE = '*VXImageShiftDetails Front: "front %f %.2f"\n*VXImageShiftDetails Back: "back %g"\n'
FRONT = "%%BeginFeature: *VXImageShiftFront True\nold\n"
BACK = "%%BeginFeature: *VXImageShiftBack True\nold\n"
END = "%%EndFeature\n"
SLIDERS = (
    '*VXCyanBrightness: "-1"\n*VXMagentaBrightness: "-1"\n*VXYellowBrightness: "-1"\n'
    '*VXControlPSCode VXCyanBrightness: "c %d"\n*VXControlDefaultValue VXCyanBrightness: "5"\n'
    '*VXControlPSCode VXMagentaBrightness: "m %d"\n*VXControlPSCode VXBlackBrightness: "k %d"\n')


def blocks(features):
    return "".join(f"[{{\n%%BeginFeature: *{name}\n{code}\n%%EndFeature\n}} stopped cleartomark\n"
                   for name, code in features.items())


def adjustments(options, ppd):
    return between(run_filter(options, ppd=ppd).output, "%%EndProlog\n", "%%BeginSetup")


def test_image_shift_fills_the_feature_of_the_shifted_side_only():
    for options, setup in {
            "VXImageShiftFront=True VXImageShiftFrontX=25%2E4 VXImageShiftFrontY=-10":
            FRONT + "front 72.000001 -28.35\n" + END + BACK + END,
            "VXImageShiftBack=True VXImageShiftBackX=10 VXRotate180=True":
            FRONT + END + BACK + "back -28.3465\n" + END}.items():
        assert setup_of(options, SHIFT_CODE, FRONT + END + BACK + END) == setup, options


def test_image_shift_takes_no_mention_for_a_feature_and_a_missing_end_costs_the_feature_not_the_job():
    setup = "% VXImageShiftFront True\n" + FRONT
    assert setup_of("VXImageShiftFront=True", "", setup) == setup + "\n" + END


def test_image_shift_redefines_the_operators_for_a_turned_document():
    for options, times in {"VXImageShiftFront=True": 0, "VXImageShiftFront=True orientation-requested=4": 1}.items():
        assert run_filter(options).output.count("/VXcs matrix def") == times, options


def test_gray_balance_takes_option_then_printer_then_built_in_values():
    ppd = ('*VXGrayBalanceAdjustment VXZone1Limit: "lower rank"\n'
           '*VXGrayBalanceAdjustment VXZone3HueLevel2: "hue %d"\n'
           '*VXControlPSCode VXZone1Limit: "one %d 100%%"\n*VXControlPSCode VXZone2Limit: "two %d"\n'
           '*VXControlPSCode VXZone3Limit: "three %d"\n*VXControlDefaultValue VXZone2Limit: "55"\n')
    assert adjustments("VXZone1Limit=30 VXZone3HueLevel2=-7.9", ppd) == blocks({
        "VXGrayBalanceAdjustment VXZone1Limit": "one 30 100%",
        "VXGrayBalanceAdjustment VXZone2Limit": "two 55",
        "VXGrayBalanceAdjustment VXZone3Limit": "three 75",
        "VXGrayBalanceAdjustment VXZone3HueLevel2": "hue -7"})


def test_brightness_is_written_for_the_inks_that_have_code_and_value():
    options = "VXBlackBrightness=12 VXYellowBrightness=3"
    assert adjustments(options, SLIDERS + '*VXBlackBrightness: "-1"\n') == blocks({
        "VXCyanBrightness 5": "c 5", "VXBlackBrightness 12": "k 12"})
    assert run_filter(options, ppd=SLIDERS + '*VXBlackBrightness: "100"\n').output == make_job(1) + "\x04"
