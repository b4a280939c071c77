#pragma once

#include "Foundation/SettingsStore.h"

/// Base of what works on the job: gives access to the settings the job was started with.
class AFilterObject
{
public:
    AFilterObject() = default;
    AFilterObject(const AFilterObject&) = delete;
    AFilterObject& operator=(const AFilterObject&) = delete;
    virtual ~AFilterObject() = default;

protected:
    [[nodiscard]] static ASettingsStore& GetSettingsStore() { return ASettingsStore::GetInstance(); }

    /// See ASettingsStore::GetCUPSOption.
    [[nodiscard]] static AOptionValue GetCUPSOption(std::string_view inKey, bool inOnlyIfInPPD = false)
    {
        return GetSettingsStore().GetCUPSOption(inKey, inOnlyIfInPPD);
    }
};
