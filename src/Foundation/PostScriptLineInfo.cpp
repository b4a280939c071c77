#include "Foundation/PostScriptLineInfo.h"

#include "Imaging/Logger.h"

void APostScriptLineInfo::SetLine(std::string_view inText)
{
    if (!LogUnless(!inText.empty(), "0 != inLineSize"))
    {
        return;
    }
    LogUnless(kAfterLine != fLineOrder, "kAfterLine != fLineOrder");
    fOwnedText = inText;
    fLine.fText = fOwnedText;
}
