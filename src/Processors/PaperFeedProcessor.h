#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Processors/PostScriptProcessor.h"

/// Feeds the first page of each copy from another paper source than the pages after it.
///
/// A printer does so by itself as long as nothing moves the pages. Where another feature does, the source is stated at
/// the pages themselves, and the job's own feature blocks behind the first page are emptied, so that they cannot undo
/// the choice.
class APaperFeedProcessor final : public APostScriptProcessor
{
public:
    explicit APaperFeedProcessor(ADocumentIterator& ioIterator);

    [[nodiscard]] const char* GetName() const override { return "PaperFeed"; }
    [[nodiscard]] bool IsApplicable() const override;
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override;

private:
    /// A paper source as the job selects it.
    struct ASource
    {
        std::string fFeature; ///< name of the feature block
        std::string fCode;
    };

    [[nodiscard]] static std::optional<ASource> FindSource(std::string_view inOption);
    void Initialize();
    void PlanManualDuplex(unsigned inPagesPerCopy);
    void ProcessPage(int inNumber);
    void CompleteWhenDone();
    LineProcessStatus EmptyFeature(const APostScriptLineInfo& inLine);
    void InsertPaperFeedPSCommand(bool inFirstPage);

    std::optional<ASource> fFirstPageSource;
    std::optional<ASource> fRemainingSource;
    bool fPageSeen = false;
    std::int64_t fNextFirstPage = -1; ///< number of the page that the next first-page command is for
    std::int64_t fPagesStep = 0;      ///< pages from there to the one after it
    bool fExpectRemaining = true;     ///< a remaining-pages command is due
    bool fSkipNext = false;           ///< the next page is the back of a first page, on the same sheet
    int fFirstPageCount = 0;          ///< first-page commands so far
    int fRemainingCount = 0;          ///< remaining-pages commands so far; starts lower when the guide page takes one
};
