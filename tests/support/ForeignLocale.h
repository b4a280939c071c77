#pragma once

#include "ScopedEnvironment.h"
#include "TemporaryFolder.h"

#include <clocale>
#include <cstdlib>
#include <string>

/// Runs the process in German, where numbers have a comma; builds the locale when the host has none.
class AForeignLocale
{
public:
    AForeignLocale() : fLocalePath("LOCPATH", fFolder.GetPath().c_str())
    {
        const std::string build = "localedef -i de_DE -f UTF-8 " + fFolder.GetPath("de_DE.UTF-8") + " >/dev/null 2>&1";
        fIsSet = std::system(build.c_str()) == 0 && std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr &&
                 *std::localeconv()->decimal_point == ',';
    }
    ~AForeignLocale() { std::setlocale(LC_ALL, "C"); }

    /// False where localedef or the source of the locale is missing.
    [[nodiscard]] bool IsSet() const { return fIsSet; }

private:
    ATemporaryFolder fFolder;
    AScopedEnvironment fLocalePath;
    bool fIsSet = false;
};
