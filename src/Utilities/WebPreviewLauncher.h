#pragma once

#include <string>

#include "Foundation/FilterObject.h"

/// For a job that is held at the printer: asks the user's preview agent to open the printer's page for it, or to
/// perform the action that the printer description names instead. Nothing depends on the agent's being there.
class AWebPreviewLauncher final : public AFilterObject
{
public:
    AWebPreviewLauncher() { Initialize(); }

    /// Takes two seconds at most.
    void OpenWebPreview() const;

private:
    void Initialize();
    [[nodiscard]] std::string CreateURLStringToOpen() const;
    [[nodiscard]] std::string CreateActionMessage(const std::string& inPPDAction) const;

    bool fAccounting = false;
    bool fHoldJob = false;
    std::string fDeviceAddress;
    std::string fJobIdentifier;
    std::string fQueueName;
};
