#include "Foundation/BlockReader.h"

bool ABlockReader::IsForeign(const AJobLine& inLine) const
{
    return inLine.Holds("%%Page:") || inLine.Holds("%%EndSetup") || inLine.Holds("%%Trailer") ||
           inLine.Holds("%%EOF") || (fEnd == kEndFeature && inLine.Holds(kBeginFeature));
}

bool ABlockReader::ReadLine(AJobLine& outLine)
{
    bool isEOF = false;
    outLine = fIsAtEnd ? AJobLine{} : fInput.ReadLine(fBufferSize, isEOF);
    if (outLine.fText.empty())
    {
        return false;
    }
    if (IsForeign(outLine))
    {
        fInput.UnreadLine();
        return false;
    }
    fIsAtEnd = outLine.GetVisibleText().find(fEnd) != std::string_view::npos;
    return true;
}

void ABlockReader::Skip()
{
    AJobLine line;
    while (ReadLine(line))
    {
    }
}
