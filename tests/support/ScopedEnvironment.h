#pragma once

#include <cstdlib>
#include <optional>
#include <string>

/// Sets an environment variable (null: removes it) and puts back what it was.
class AScopedEnvironment
{
public:
    AScopedEnvironment(const char* inName, const char* inValue) : fName(inName)
    {
        if (const char* const before = std::getenv(inName))
        {
            fBefore = before;
        }
        Set(inValue);
    }
    ~AScopedEnvironment() { Set(fBefore ? fBefore->c_str() : nullptr); }
    AScopedEnvironment(const AScopedEnvironment&) = delete;
    AScopedEnvironment& operator=(const AScopedEnvironment&) = delete;

private:
    void Set(const char* inValue) { inValue != nullptr ? setenv(fName.c_str(), inValue, 1) : unsetenv(fName.c_str()); }

    std::string fName;
    std::optional<std::string> fBefore;
};
