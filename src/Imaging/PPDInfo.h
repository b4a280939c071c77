#pragma once

#include "Imaging/PPDFile.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Features that printer descriptions state in more than one way, asked for by number.
enum PPDFeature : unsigned
{
    kStraightPaperPathFeature = 1,
    kWatermarksFeature = 2,
    kBookletFeature = 8,
    kDuplexFeature = 16,
    kMarginsLayoutFeature = 256,
    kMirrorPrintFeature = 1024,
};

/// The unprintable borders of a page, in points.
struct AMargins
{
    float fLeft = 0;
    float fBottom = 0;
    float fRight = 0;
    float fTop = 0;
};

/// What a filter asks about the printer's abilities. Keywords, specs and choices compare without case. An attribute
/// with an empty value has no value, but IsFeatureSupported finds it. One object serves one thread at a time.
class APPDInfo
{
public:
    /// The description of a queue: the file ppd/NAME.ppd below CUPS_SERVERROOT (default /etc/cups) when the name holds
    /// no slash and the file opens; otherwise the file that the environment variable PPD names. Null when neither
    /// opens.
    ///
    /// Takes a string and the other overload a C string: a path in a std::string has to be passed by its c_str().
    [[nodiscard]] static std::unique_ptr<APPDInfo> CreatePPDInfo(const std::string& inPrinterName);

    /// The description in a file. Null for a null path or when the file cannot be opened.
    [[nodiscard]] static std::unique_ptr<APPDInfo> CreatePPDInfo(const char* inPath);

    /// inFile is not null.
    explicit APPDInfo(std::shared_ptr<const APPDFile> inFile);

    /// Whether the PPD has an option or an attribute of that keyword.
    [[nodiscard]] bool IsFeatureSupported(std::string_view inKeyword) const;

    /// inFeatureBit is one PPDFeature; any other number is a feature that no printer has.
    [[nodiscard]] bool IsFeatureSupported(unsigned inFeatureBit) const;

    /// The value of attribute K when K starts with "Default", else of "Default" + K.
    [[nodiscard]] std::optional<std::string> GetDefaultValue(std::string_view inKeyword) const;

    /// The value of the first attribute of that name, whatever its spec.
    [[nodiscard]] std::optional<std::string> GetValue(std::string_view inKeyword) const;

    /// The code of the option's choice, else the value of the keyword's attribute that has the choice as its spec. An
    /// empty code is no code.
    [[nodiscard]] std::optional<std::string> GetInvocationCode(std::string_view inKeyword,
                                                               std::string_view inChoice) const;

    /// The attributes of the keyword in file order.
    [[nodiscard]] std::vector<APPDFile::AAttribute> GetEntries(std::string_view inKeyword) const;

    /// Whether the choice exists and the installed options do not forbid it.
    [[nodiscard]] bool IsChoiceAvailable(std::string_view inKeyword, std::string_view inChoice) const;

    /// The decimal integer that the value of the keyword's attribute without spec begins with (0 for none, the nearest
    /// limit for one outside `int`); -1 when there is no such attribute or it is empty.
    [[nodiscard]] int GetNumericValue(std::string_view inKeyword) const;

    /// Whether Product, ModelName or NickName contains "Veldra".
    [[nodiscard]] bool IsVeldraPrinter() const;

    /// None for a size that the PPD does not know; such a paper counts as one with margins.
    [[nodiscard]] std::optional<AMargins> GetPaperMargins(std::string_view inMediaName) const;

private:
    std::shared_ptr<const APPDFile> fFile; ///< never null
};
