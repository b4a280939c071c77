#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The scale of severity, from the least to the most serious.
enum class ADeviceStatusType
{
    kUnknown,
    kNormal,
    kWarning,
    kRecoverableError,
    kFatalError,
    kCancelingJob,
};

/// The state of a device in one value: how serious it is, and a text for the user.
///
/// Every operation leaves its trace in the log.
class ADeviceStatusInfo
{
public:
    /// Unknown, without a message.
    ADeviceStatusInfo() : ADeviceStatusInfo(std::nullopt, std::nullopt) {}

    /// The type by its name on the scale: "Unknown", "Normal", "Warning", "RecoverableError", "FatalError" or
    /// "CancelingJob". Any other name is logged and means Unknown, as no name does.
    ADeviceStatusInfo(std::optional<std::string_view> inTypeName, std::optional<std::string> inMessage);
    ADeviceStatusInfo(const ADeviceStatusInfo& inOther);
    ADeviceStatusInfo& operator=(const ADeviceStatusInfo& inOther);
    ~ADeviceStatusInfo();

    /// Equal in type and message.
    [[nodiscard]] bool operator==(const ADeviceStatusInfo& inOther) const;

    [[nodiscard]] ADeviceStatusType GetStatusType() const;
    [[nodiscard]] const std::optional<std::string>& GetStatusMessage() const;

    /// False for equally serious ones.
    [[nodiscard]] bool IsStatusMoreSerious(const ADeviceStatusInfo& inOther) const;

private:
    ADeviceStatusType fType = ADeviceStatusType::kUnknown;
    std::optional<std::string> fMessage;
};
