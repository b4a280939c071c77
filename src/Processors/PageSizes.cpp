#include "Processors/PageSizes.h"

APageSizeRecord GetA4PageSize()
{
    return {"A4", 595, 842, 12, 12, 583, 829.4F};
}

std::optional<APageSizeRecord> FindPageSize(AOptionValue inName)
{
    const APPDFile* const ppd = ASettingsStore::GetInstance().GetPPDFile();
    auto size = ppd != nullptr && inName ? ppd->FindPageSize(*inName) : std::nullopt;
    const bool hasExtent = size && size->fWidth > 0 && size->fLength > 0;
    return hasExtent ? size : std::nullopt;
}

APageSizeRecord GetUsualPageSize()
{
    const ASettingsStore& settings = ASettingsStore::GetInstance();
    if (const auto chosen = FindPageSize(settings.GetCUPSOption("PageSize")))
    {
        return *chosen;
    }
    const auto byDefault =
        settings.GetPPDFile() != nullptr ? settings.GetPPDFile()->GetDefaultPageSizeName() : std::nullopt;
    return FindPageSize(byDefault).value_or(GetA4PageSize());
}
