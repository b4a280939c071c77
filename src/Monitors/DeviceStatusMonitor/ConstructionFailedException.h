#pragma once

#include <stdexcept>

/// Thrown by the constructor of what watches a device when it is not told which one, or where to report.
class AConstructionFailedException : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};
