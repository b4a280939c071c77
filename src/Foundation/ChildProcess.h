#pragma once

#include <string>
#include <vector>

/// A program to run to its end, as a filter of the CUPS chain runs.
struct AChildProcess
{
    std::string fPath;
    std::vector<std::string> fArguments;   ///< the first one is the program's name
    std::vector<std::string> fEnvironment; ///< entries NAME=value
    int fStandardInput = -1;               ///< descriptor, not owned; -1: nothing to read
    int fStandardOutput = -1;              ///< descriptor, not owned
    int fInherited = -1;                   ///< a further descriptor that the child may use under its number; -1: none
};

/// Runs the program and waits for it. What it writes to its standard error goes to the log, line by line: only the
/// filter itself speaks to CUPS. A signal that ends the filter ends the program first, with what it started.
///
/// Returns the status as waitpid gives it; -1 when the program could not be started.
[[nodiscard]] int ExecuteProcess(const AChildProcess& inProcess);
