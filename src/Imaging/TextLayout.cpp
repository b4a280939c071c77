#include "Imaging/TextLayout.h"

#include "Imaging/Logger.h"
#include "Imaging/Module.h"
#include "Imaging/TextLayoutModule.h"

std::optional<ATextLine> LayOutText(const std::string& inText, const std::string& inFont)
{
    static ATextLayoutFunction* const layOut =
        LoadModuleFunction<ATextLayoutFunction>(kTextLayoutModule, kTextLayoutFunction);
    if (layOut == nullptr)
    {
        return std::nullopt;
    }
    ATextLine line;
    if (!layOut(inText, inFont, line))
    {
        LoggerLogMessage(kLogError, "Text layout is not available: no font is installed\n");
        return std::nullopt;
    }
    return line;
}
