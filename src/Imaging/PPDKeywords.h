#pragma once

#include <array>
#include <string_view>

// The keys and values that printer descriptions, print dialog and filter agree on. Every view ends before a NUL, so its
// data() is a C string.

inline constexpr std::string_view kOutputOrderKeyRef = "OutputOrder";
inline constexpr std::string_view kDefaultOutputOrderKeyRef = "DefaultOutputOrder";
inline constexpr std::string_view kReverseOptionRef = "Reverse";
inline constexpr std::string_view kFaceUpValueRef = "FaceUp";
inline constexpr std::string_view kCollateKeyRef = "Collate";
inline constexpr std::string_view kTrueValue = "True";
inline constexpr std::string_view kTrueValueRef = "True";
inline constexpr std::string_view kFalseValue = "False";
inline constexpr std::string_view kFalseValueRef = "False";

/// Parts the choice from the result in `*VXFinishingRotation VXStaplerOptions: "UpperLeft=180"`.
inline constexpr std::string_view kPPDSeparator = "=";

// Print settings of the dialog.
inline constexpr std::string_view kPMPageOrientationRef = "PMPageOrientation";
inline constexpr std::string_view kPortraitOrientationValueRef = "1";
inline constexpr std::string_view kLandscapeOrientationValueRef = "2";
inline constexpr std::string_view kReversePortraitOrientationValueRef = "3";
inline constexpr std::string_view kReverseLandscapeOrientationValueRef = "4";
inline constexpr std::string_view kPMLayoutRows = "com.apple.print.PrintSettings.PMLayoutRows..n.";
inline constexpr std::string_view kPMLayoutColumns = "com.apple.print.PrintSettings.PMLayoutColumns..n.";
inline constexpr std::string_view kPMJobNameKey = "PMJobName";
inline constexpr std::string_view kPMApplicationNameKey = "PMApplicationName";
inline constexpr std::string_view kMFPrintOnBottom = "MFPrintOnBottom";

// Job storage and accounting.
inline constexpr std::string_view kVXJobRetentionPersonalPINKeyRef = "VXJobRetentionPersonal_PIN";
inline constexpr std::string_view kVXJobAccountingPPDKeyRef = "VXJobAccounting";
inline constexpr std::string_view kVXHoldJobActionPPDKeyRef = "VXHoldJobAction";

// Paper.
/// Its value is a template whose one argument is the identifier of the media type.
inline constexpr std::string_view kVXCustomMediaTypePSCodeKeyRef = "VXCustomMediaTypePSCode";
inline constexpr std::string_view kMediaTypePPDKeyRef = "MediaType";
inline constexpr std::string_view kCustomMediaPrefixRef = "Custom";
inline constexpr std::string_view kStandardKeyRef = "Standard";
inline constexpr std::string_view kOversizeKeyRef = "Oversize";
inline constexpr std::string_view kVXMarginsLayoutModeKeyRef = "VXMarginsLayoutMode";

// Image shift: millimetres to PostScript units.
inline constexpr float kMmPerInch = 25.4F; ///< single precision on purpose: 25.4 mm are 72.000001 units
inline constexpr int kPSUnitFactor = 72;

// Colour adjustment.
inline constexpr std::string_view kGrayBalanceAdjustmentKey = "VXGrayBalanceAdjustment";
inline constexpr std::array<std::string_view, 3> kZonesLimitsKeys = {"VXZone1Limit", "VXZone2Limit", "VXZone3Limit"};
inline constexpr std::array<int, 3> kZonesDefaultGrayValues = {25, 50, 75};
/// Two levels a zone, zone by zone.
inline constexpr std::array<std::string_view, 6> kZonesHueLevelsKeys = {"VXZone1HueLevel1", "VXZone1HueLevel2",
                                                                        "VXZone2HueLevel1", "VXZone2HueLevel2",
                                                                        "VXZone3HueLevel1", "VXZone3HueLevel2"};
inline constexpr std::array<int, 6> kHueAdjustDefaultValues = {0, 0, 0, 0, 0, 0};
inline constexpr std::string_view kVXCyanBrightnessPPDKey = "VXCyanBrightness";
inline constexpr std::string_view kVXMagentaBrightnessPPDKey = "VXMagentaBrightness";
inline constexpr std::string_view kVXYellowBrightnessPPDKey = "VXYellowBrightness";
inline constexpr std::string_view kVXBlackBrightnessPPDKey = "VXBlackBrightness";
/// Attributes whose spec is the key of a control: the template of its code, and its default value.
inline constexpr std::string_view KControlPSCodePPDKey = "VXControlPSCode";
inline constexpr std::string_view kControlDefaultValuePPDKey = "VXControlDefaultValue";
