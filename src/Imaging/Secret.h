#pragma once

#include <string_view>
#include <vector>

/// Holds a PIN or an access code.
///
/// It converts to no text, so it cannot slip into a log record: the compiler refuses it as an argument of the logger.
/// Its bytes are wiped when it is destroyed or assigned to. Copies are secrets of their own.
class ASecret
{
public:
    ASecret() = default;
    explicit ASecret(std::string_view inText) : fBytes(inText.begin(), inText.end()) {}
    ~ASecret();

    ASecret(const ASecret& inOther) = default;
    ASecret(ASecret&& inOther) noexcept = default;
    ASecret& operator=(ASecret inOther) noexcept;

    [[nodiscard]] bool IsEmpty() const { return fBytes.empty(); }

    /// The text itself, for the job that has to carry it and for nothing else. Valid as long as this object.
    [[nodiscard]] std::string_view RevealForJob() const { return {fBytes.data(), fBytes.size()}; }

private:
    std::vector<char> fBytes; ///< not a string: moving a short one would leave a copy behind
};
