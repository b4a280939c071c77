#pragma once

#include "DeviceModel/Device.h"

/// A device that is always there, and says what the test wants.
class ATestDevice final : public IDevice
{
public:
    using AAnswer = std::function<ADeviceReport(const std::stop_token&)>;

    static ADeviceFactory MakeFactory(AAnswer inAnswer)
    {
        return [inAnswer](const std::string&) { return std::make_unique<ATestDevice>(inAnswer); };
    }
    explicit ATestDevice(AAnswer inAnswer) : fAnswer(std::move(inAnswer)) {}
    bool Resolve(const std::stop_token&) override { return true; }
    ADeviceReport ReadReport(const std::stop_token& inStop) override { return fAnswer(inStop); }

private:
    AAnswer fAnswer;
};
