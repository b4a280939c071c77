#pragma once

#include <string_view>

/// Writes all bytes to a descriptor, with one write(2) unless the system takes only a part of them: a signal or a short
/// write is continued, a full non-blocking descriptor is waited for.
/// Returns false when the system refuses; errno then holds the reason.
[[nodiscard]] bool WriteWhole(int inDescriptor, std::string_view inBytes);
