#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <cups/cups.h>

#include "Imaging/PPDFile.h"
#include "Imaging/PPDInfo.h"

/// Final orientation of the document: the values of "orientation-requested" less 3.
enum AOrientation : int
{
    kPortraitOrientation = 0,
    kLandscapeOrientation = 1,
    kReverseLandscapeOrientation = 2,
    kReversePortraitOrientation = 3,
};

/// A value of a CUPS option, valid as long as the settings store; none when the option is absent.
using AOptionValue = std::optional<std::string_view>;

/// True when the option is present and equal to the text, without regard to case.
[[nodiscard]] bool IsOption(AOptionValue inValue, std::string_view inText);

/// Pages on a sheet: the product of two decimal option values, each limited to a million.
[[nodiscard]] std::int64_t MultiplyCounts(std::string_view inRows, std::string_view inColumns);

/// Everything the job was started with, and the job flags that follow from it: arguments (CUPS filter(7)), environment,
/// options, printer description. Read once at start-up; a few flags are set later by the part of the program that
/// decides them.
class ASettingsStore
{
public:
    static ASettingsStore& GetInstance();

    /// For GetInstance, and for a test that wants one of its own.
    ASettingsStore() = default;
    ~ASettingsStore() = default;
    ASettingsStore(const ASettingsStore&) = delete;
    ASettingsStore& operator=(const ASettingsStore&) = delete;

    /// Parses the arguments and derives the flags. Nothing can fail: what is missing leaves its default. The vectors
    /// are not copied and must outlive the store; null vectors do nothing.
    void Initialize(int inArgumentCount, char** inArguments, char** inEnvironment);

    /// Null when there is no such argument.
    [[nodiscard]] const char* GetCommandLineParameter(int inIndex) const;

    /// The copies argument as it stands, whatever it says; 0 for one that is no number.
    [[nodiscard]] long long GetRequestedCopies() const;

    /// Of the process's environment, not of the vector given to Initialize; null when it is not set.
    [[nodiscard]] static const char* GetEnvironmentVariable(const char* inName);

    [[nodiscard]] char** GetEnvironmentVariables() const { return fEnvironment; }

    /// All options of the job, by name.
    [[nodiscard]] std::span<const cups_option_t> GetCUPSOptions() const
    {
        return {fOptions.fItems, static_cast<std::size_t>(fOptions.fCount)};
    }

    /// The value of a CUPS option (keys compare without case). With inOnlyIfInPPD an option counts only when the
    /// printer description knows its keyword.
    [[nodiscard]] AOptionValue GetCUPSOption(std::string_view inKey, bool inOnlyIfInPPD = false) const;

    /// What the printer can do: the description of the queue that PRINTER names, else the one that PPD names. Null
    /// without one; a printer without description has no feature.
    [[nodiscard]] const APPDInfo* GetPPDInfo() const;

    /// False without a printer description.
    [[nodiscard]] bool IsFeatureSupported(std::string_view inKeyword) const;
    [[nodiscard]] bool IsFeatureSupported(PPDFeature inFeature) const;

    /// The code that the printer description gives for a choice of a keyword; none without one.
    [[nodiscard]] std::optional<std::string> GetInvocationCode(std::string_view inKeyword,
                                                               std::string_view inChoice) const;

    /// The printer description that the variable PPD names: page sizes and custom limits come from it. Null when it did
    /// not open.
    [[nodiscard]] const APPDFile* GetPPDFile() const { return fPPDFile.get(); }

    bool fShouldReversePages = false; ///< this filter itself must emit the pages in reverse order
    bool fFinishingInOrder = false;   ///< an even number of the three order flags is set; see CheckFinishingPageOrder
    bool fReverseOrderRequested = false;  ///< reverse order was asked for, whoever performs it
    bool fDuplexFaceUp = false;           ///< two-sided and the output lands face up
    bool fIsDuplex = false;               ///< two-sided by a printer that can
    bool fDuplexSupported = false;        ///< the printer has a duplex unit
    bool fRotate180 = false;              ///< pages are turned by 180 degrees
    bool fMirrorPrint = false;            ///< pages are mirrored
    bool fWatermarksOn = false;           ///< pages get a mark
    bool fJobStorageActive = false;       ///< the job is held or stored at the printer
    bool fWatermarkFirstPageOnly = false; ///< only the first page gets the mark
    bool fIsNativePostScript = true;      ///< the job was not made from PDF or plain text
    bool fRedefineShowpage = false;       ///< the page-drawing operators are to be redefined
    bool fFirstPageDifferent = false;     ///< the first page has a paper source of its own
    bool fFaceDownOutput = false;         ///< output lands face down, in order
    bool fCollate = false;                ///< collation requested, possible, and more than one copy
    int fOrientation = 0;                 ///< AOrientation, or what else the options say
    bool fPortrait = false;               ///< the sheet is upright
    bool fBooklet = false;                ///< two pages to a side, in booklet order
    bool fBookletBackCover = false;       ///< the booklet's last page goes on its outside
    std::string fBookletPaperSize;        ///< PPD name of the booklet's sheet
    bool fManualDuplex = false;           ///< two-sided by hand
    bool fManualDuplexPrintGuide = false; ///< with printed instructions for turning the stack
    bool fPrintOnBottom = false;          ///< the printer prints on the bottom side of a sheet

private:
    /// Options as libcups parses them.
    struct AOptions
    {
        AOptions() = default;
        ~AOptions() { cupsFreeOptions(fCount, fItems); }
        AOptions(const AOptions&) = delete;
        AOptions& operator=(const AOptions&) = delete;

        int fCount = 0;
        cups_option_t* fItems = nullptr;
    };

    void CheckCreator();
    void CheckPageOrder();
    void CheckRequestedOrder(bool inIsReverse);
    void CheckDuplex();
    void CheckFinishingRotation();
    void CheckBinOrder();
    void CheckFaceOrientation();
    void CheckFinishingPageOrder();
    void CheckFirstPage();
    void CheckCollation();
    void CheckOrientation();
    void SwapOrientation();
    void CheckWatermarks();
    [[nodiscard]] std::optional<std::string> FindFinishingResult(std::string_view inKeyword) const;
    [[nodiscard]] std::optional<std::string> GetDefaultValue(std::string_view inKeyword) const;

    int fArgumentCount = 0;
    char** fArguments = nullptr;
    char** fEnvironment = nullptr;
    AOptions fOptions;
    std::shared_ptr<const APPDFile> fPPDFile;
    mutable std::unique_ptr<APPDInfo> fPPDInfo;
    mutable bool fPPDInfoWasSought = false;
};
