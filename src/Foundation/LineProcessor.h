#pragma once

class APostScriptLineInfo;

/// What a processor did with a line.
enum LineProcessStatus : int
{
    kLineProcessSkip = 0,      ///< the line is to be dropped; what stands for it was written
    kLineProcessUnchanged = 1, ///< the line stays as it is
    kLineProcessChanged = 2,   ///< the line was replaced
    kLineProcessError = 3,     ///< the processor failed; the line stays
};

/// What a task needs of the processor that it belongs to: a name and a way to handle a line.
class ILineProcessor
{
public:
    ILineProcessor() = default;
    ILineProcessor(const ILineProcessor&) = delete;
    ILineProcessor& operator=(const ILineProcessor&) = delete;
    virtual ~ILineProcessor() = default;

    /// As it stands in the log.
    [[nodiscard]] virtual const char* GetName() const = 0;

    virtual LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) = 0;
};
