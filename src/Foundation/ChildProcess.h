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
/// filter itself speaks to CUPS. A signal that ends the filter ends the program first, with what it started. A program
/// that hangs (see AHangWatch) is ended by SIGTERM, a second later by SIGKILL.
///
/// Returns the status as waitpid gives it, where a program that cannot be executed has ended with the errno of that; -1
/// when no process could be started.
[[nodiscard]] int ExecuteProcess(const AChildProcess& inProcess);
