#include "Foundation/ProcessingTask.h"

#include <array>

#include "Imaging/Logger.h"

AProcessingTask::AProcessingTask(ILineProcessor& inProcessor, ADeclaration inDeclaration)
    : fProcessor(inProcessor), fDeclaration(std::move(inDeclaration))
{
    if (fDeclaration.fIsRegExp)
    {
        CompileRegExp();
    }
}

AProcessingTask::AExpression::AExpression(const char* inPattern)
    : fStatus(regcomp(&fCompiled, inPattern, REG_EXTENDED | REG_NEWLINE))
{
}

AProcessingTask::AExpression::~AExpression()
{
    if (fStatus == 0)
    {
        regfree(&fCompiled);
    }
}

void AProcessingTask::CompileRegExp()
{
    auto expression = std::make_unique<AExpression>(fDeclaration.fPattern.c_str());
    if (expression->fStatus == 0)
    {
        fExpression = std::move(expression);
        return;
    }
    std::array<char, 8192> error{};
    regerror(expression->fStatus, &expression->fCompiled, error.data(), error.size());
    LoggerLogMessage(kLogError, "Error compiling regexp - %s. String - %s\n", error.data(),
                     fDeclaration.fPattern.c_str());
}

bool AProcessingTask::IsApplicableForLine(const APostScriptLineInfo& inLine) const
{
    if (inLine.GetLineOrder() != fDeclaration.fLineOrder)
    {
        return false;
    }
    if (!fDeclaration.fIsRegExp)
    {
        return inLine.Holds(fDeclaration.fPattern);
    }
    // REG_STARTEND takes the text with its length, without a copy.
    const std::string_view text = inLine.GetLine().GetVisibleText();
    regmatch_t range{0, static_cast<regoff_t>(text.size())};
    return fExpression != nullptr && regexec(&fExpression->fCompiled, text.data(), 0, &range, REG_STARTEND) == 0;
}

AProcessingTask::ProcessingStatus AProcessingTask::PerformTask(APostScriptLineInfo& ioLine)
{
    if (!IsApplicableForLine(ioLine))
    {
        return kTaskNotApplicable;
    }
    const std::string_view text = ioLine.GetLine().GetVisibleText();
    LoggerLogMessage(kLogTrace, "Calling processor %s %s line %.*s", fProcessor.GetName(),
                     ioLine.GetLineOrder() == kBeforeLine ? "before" : "after", static_cast<int>(text.size()),
                     text.data());
    return MapStatusCode(fProcessor.ProcessLine(ioLine));
}

AProcessingTask::ProcessingStatus AProcessingTask::MapStatusCode(LineProcessStatus inStatus)
{
    switch (inStatus)
    {
    case kLineProcessSkip:
        return kLineSkipped;
    case kLineProcessUnchanged:
        return kLineProcessed;
    case kLineProcessChanged:
        return kLineModified;
    case kLineProcessError:
        break;
    }
    return kProcessingError;
}

std::string AProcessingTask::GetNeedle() const
{
    return fDeclaration.fIsRegExp ? GetLiteralOfExpression(fDeclaration.fPattern) : fDeclaration.fPattern;
}

std::string AProcessingTask::GetDebugDescription() const
{
    return "Line - " + fDeclaration.fPattern + "\tProcessor - " + fProcessor.GetName() + "\t\"" +
           fDeclaration.fDescription + "\"\t(" + (fDeclaration.fLineOrder == kBeforeLine ? "pre" : "post") + ", " +
           (fDeclaration.fIsOptional ? "optional" : "mandatory") + ", " +
           (fDeclaration.fIsRegExp ? "regexp" : "substr") + ")";
}

std::string GetLiteralOfExpression(std::string_view inExpression)
{
    std::string longest;
    std::string run;
    for (std::size_t i = 0; i < inExpression.size(); ++i)
    {
        const bool isEscape = inExpression[i] == '\\' && i + 1 < inExpression.size();
        const bool isAnything = inExpression.substr(i, 2) == ".*";
        if (!isEscape && !isAnything &&
            std::string_view(".*+?[](){}|^$\\").find(inExpression[i]) != std::string_view::npos)
        {
            return {};
        }
        if (isAnything)
        {
            run.clear();
            ++i;
            continue;
        }
        run += inExpression[isEscape ? ++i : i];
        if (run.size() > longest.size())
        {
            longest = run;
        }
    }
    return longest;
}
