#pragma once

#include <string>
#include <vector>

namespace lab {

/// How a program has ended that was run for what it writes.
struct Errand
{
    int status = -1; ///< the exit status; -1 if it was not started, was ended by a signal, or took too long
    std::string output; ///< on standard output
    std::string errors; ///< on standard error
};

/// Runs a program, looked for in PATH unless it has a slash, without input and with @p folder, an existing
/// one, as its current folder, for at most @p seconds.
Errand run(std::vector<std::string> program, const std::string &folder, double seconds);

} // namespace lab
