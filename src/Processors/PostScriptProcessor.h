#pragma once

#include <span>
#include <string_view>

#include "Foundation/BlockReader.h"
#include "Foundation/DocumentIterator.h"
#include "Foundation/FilterObject.h"
#include "Foundation/LineProcessor.h"
#include "Foundation/PagesManager.h"

/// How a processor's task stands in its table.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): in the order in which a table is read, not of its sizes
struct ATask
{
    const char* fPattern;
    LineOrder fLineOrder;
    const char* fDescription;
    bool fIsRegExp = false;
    bool fIsOptional = false;
};

inline constexpr bool kRegExp = true;
inline constexpr bool kOptional = true;

/// Stand around device code in front of a page, which resets the matrix: they keep the page's own one on the operand
/// stack. Only for jobs whose page-drawing operators are redefined.
inline constexpr std::string_view kSaveMatrix = "matrix VXcurrent\n";
inline constexpr std::string_view kRestoreMatrix = "VXset\n";

/// Base of every processor: one print feature that decides in its constructor whether it applies to the job, registers
/// its tasks with the iterator, and writes PostScript into the job when one of its lines comes by.
class APostScriptProcessor : public AFilterObject, public ILineProcessor
{
public:
    /// The iterator must outlive the processor.
    explicit APostScriptProcessor(ADocumentIterator& ioIterator) : fIterator(ioIterator) {}
    APostScriptProcessor(const APostScriptProcessor&) = delete;
    APostScriptProcessor& operator=(const APostScriptProcessor&) = delete;

    /// Whether the processor has anything to do for this job.
    [[nodiscard]] virtual bool IsApplicable() const = 0;

protected:
    void RegisterTasks(std::span<const ATask> inTasks);

    /// A task whose pattern is only known at run time.
    void RegisterTask(AProcessingTask::ADeclaration inDeclaration);

    /// Completes the tasks with that pattern, before and after the line.
    void CompleteTask(std::string_view inPattern);
    void CompleteTask(std::string_view inPattern, LineOrder inLineOrder);

    [[nodiscard]] ACupsFile& GetInputFile() { return fIterator.GetInputFile(); }
    [[nodiscard]] ACupsFile& GetOutputFile() { return fIterator.GetOutputFile(); }
    [[nodiscard]] static APagesManager& GetPagesManager() { return APagesManager::GetInstance(); }

    void WriteData(std::string_view inData) { GetOutputFile().Write(inData); }

    /// printf; a text of 8192 bytes or more is not written at all.
    void WriteFormattedData(const char* inFormat, ...) __attribute__((format(printf, 2, 3)));

    /// True when the line begins a feature block: a line that merely mentions a feature (a title, say) does not.
    [[nodiscard]] static bool BeginsFeature(const APostScriptLineInfo& inLine) { return inLine.Holds(kBeginFeature); }

    /// Reads the rest of the feature block behind the iterator, so that nothing of it reaches the output, not its end
    /// either.
    void SkipCurrentFeature();

    /// Copies the rest of the feature block to the output, its end too.
    void CopyCurrentFeature();

    /// Begins a feature block. Wrapped, together with the end, it stands in a stopped context, so that a device that
    /// rejects it goes on with the job.
    void InsertBeginFeatureString(std::string_view inFeature, bool inWrap);
    void InsertEndFeatureString(bool inWrap);

    /// A whole feature block.
    void InsertFeature(std::string_view inFeature, std::string_view inCode, bool inWrap);

private:
    ADocumentIterator& fIterator;
};
