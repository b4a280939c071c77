#pragma once

#include <memory>

/// The one instance of a service that the whole process shares: made at its first use, and gone with the process or
/// when it is forgotten, which lets a process run another job from the start. Belongs to the main thread.
template <typename Service>
class AProcessWide
{
public:
    [[nodiscard]] static Service& Get()
    {
        std::unique_ptr<Service>& instance = Hold();
        if (instance == nullptr)
        {
            instance = std::make_unique<Service>();
        }
        return *instance;
    }

    /// The next Get makes a new one. Nobody may hold a reference to the old one.
    static void Forget() { Hold().reset(); }

private:
    static std::unique_ptr<Service>& Hold()
    {
        static std::unique_ptr<Service> instance;
        return instance;
    }
};
