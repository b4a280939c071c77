#include "Processors/PostScriptProcessor.h"

#include <array>
#include <cstdarg>
#include <cstdio>

void APostScriptProcessor::RegisterTasks(std::span<const ATask> inTasks)
{
    for (const ATask& task : inTasks)
    {
        RegisterTask({task.fPattern, task.fLineOrder, task.fDescription, task.fIsRegExp, task.fIsOptional});
    }
}

void APostScriptProcessor::RegisterTask(AProcessingTask::ADeclaration inDeclaration)
{
    fIterator.RegisterTask(*this, std::move(inDeclaration));
}

void APostScriptProcessor::CompleteTask(std::string_view inPattern)
{
    CompleteTask(inPattern, kBeforeLine);
    CompleteTask(inPattern, kAfterLine);
}

void APostScriptProcessor::CompleteTask(std::string_view inPattern, LineOrder inLineOrder)
{
    fIterator.CompleteTask(*this, inPattern, inLineOrder);
}

void APostScriptProcessor::WriteFormattedData(const char* inFormat, ...)
{
    std::array<char, 8192> text{};
    va_list arguments;
    va_start(arguments, inFormat);
    const int length = std::vsnprintf(text.data(), text.size(), inFormat, arguments);
    va_end(arguments);
    if (length >= 0 && static_cast<std::size_t>(length) < text.size())
    {
        WriteData({text.data(), static_cast<std::size_t>(length)});
    }
}

void APostScriptProcessor::SkipCurrentFeature()
{
    ABlockReader(GetInputFile()).Skip();
}

void APostScriptProcessor::CopyCurrentFeature()
{
    ABlockReader feature(GetInputFile());
    AJobLine line;
    while (feature.ReadLine(line))
    {
        WriteData(line.fText);
    }
}

void APostScriptProcessor::InsertBeginFeatureString(std::string_view inFeature, bool inWrap)
{
    if (inWrap)
    {
        WriteData("[{\n");
    }
    WriteData("%%BeginFeature: *");
    WriteData(inFeature);
    WriteData("\n");
}

void APostScriptProcessor::InsertEndFeatureString(bool inWrap)
{
    WriteData("\n%%EndFeature\n");
    if (inWrap)
    {
        WriteData("} stopped cleartomark\n");
    }
}

void APostScriptProcessor::InsertFeature(std::string_view inFeature, std::string_view inCode, bool inWrap)
{
    InsertBeginFeatureString(inFeature, inWrap);
    WriteData(inCode);
    InsertEndFeatureString(inWrap);
}
