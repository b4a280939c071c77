#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct ppd_file_s;

/// One page size of a printer description, in points. Right and top are coordinates of the imageable area, not margins.
struct APageSizeRecord
{
    std::string fName; ///< as the PPD spells it; "Custom" for a custom size
    float fWidth = 0;
    float fLength = 0;
    float fLeft = 0;
    float fBottom = 0;
    float fRight = 0;
    float fTop = 0;
};

/// The limits of a custom page size, in points, as the PPD states them; zero where it does not.
struct ACustomLimits
{
    float fMinWidth = 0;
    float fMinHeight = 0;
    float fMaxWidth = 0;
    float fMaxHeight = 0;
};

/// The largest width and the largest length, in points, of a set of page sizes (not necessarily of the same size).
struct APageExtent
{
    float fWidth = 0;
    float fLength = 0;
};

/// A printer description file (Adobe PPD 4.3 with the CUPS extensions), owned while open and read through libcups.
///
/// Keywords, specs, choices and page size names compare without case, as libcups does. Answers are copies and stay
/// valid. The look-ups move cursors inside libcups's record, so one object serves one thread at a time.
class APPDFile
{
    struct ACloser
    {
        void operator()(ppd_file_s* inFile) const;
    };
    using AHandle = std::unique_ptr<ppd_file_s, ACloser>;

public:
    /// One statement "*KEYWORD SPEC: VALUE" that is no choice of an option.
    struct AAttribute
    {
        std::string fSpec;  ///< option keyword, empty without one
        std::string fValue; ///< empty without one
    };

    /// For Open, which alone can name what it takes.
    explicit APPDFile(AHandle inFile) : fFile(std::move(inFile)) {}

    /// Null when there is no path, no such file, or the file is no printer description that libcups reads. The defaults
    /// are marked, so that conflicts are judged by the installed options that the file states.
    /// A file that is still open is shared, not read again. Belongs to the main thread.
    [[nodiscard]] static std::shared_ptr<const APPDFile> Open(const char* inPath);

    /// The record of a media name: the size that libcups finds for the whole value ("A4", "Custom.200x300mm"); else for
    /// the first of its comma-separated parts that the PPD knows ("A4,Tray2"); else, for a PWG self-describing name
    /// ("iso_a4_210x297mm", PWG 5101.1), the PPD size that differs least (widths and lengths added) and by at most 5
    /// points a side; else none.
    [[nodiscard]] std::optional<APageSizeRecord> FindPageSize(std::string_view inMediaName) const;

    /// The code of a choice of option PageSize; none when it is empty.
    [[nodiscard]] std::optional<std::string> GetPageSizeCode(std::string_view inName) const;

    [[nodiscard]] ACustomLimits GetCustomLimits() const;

    /// Over the choices of option PageSize except "Custom"; zero without such choices.
    [[nodiscard]] APageExtent GetLargestPageSize() const;

    /// The value of DefaultPageSize, whether or not it names a size; none when absent or empty.
    [[nodiscard]] std::optional<std::string> GetDefaultPageSizeName() const;

    [[nodiscard]] bool HasOption(std::string_view inKeyword) const;
    [[nodiscard]] bool HasAttribute(std::string_view inKeyword) const;

    /// The names of an option's choices in file order; none at all without the option.
    [[nodiscard]] std::vector<std::string> GetChoices(std::string_view inKeyword) const;

    /// The code of an option's choice, also a JCL option's; none without option or choice or when the code is empty.
    [[nodiscard]] std::optional<std::string> GetChoiceCode(std::string_view inKeyword, std::string_view inChoice) const;

    /// Whether the option has the choice and the installed options do not forbid it.
    [[nodiscard]] bool IsChoiceAvailable(std::string_view inKeyword, std::string_view inChoice) const;

    /// All attributes of a keyword in file order.
    [[nodiscard]] std::vector<AAttribute> GetAttributes(std::string_view inKeyword) const;

private:
    [[nodiscard]] std::optional<APageSizeRecord> FindNamedPageSize(std::string_view inName) const;
    [[nodiscard]] std::optional<APageSizeRecord> FindSelfDescribedPageSize(std::string_view inName) const;

    AHandle fFile; ///< never null
};
