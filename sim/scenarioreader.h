#pragma once

#include "scenario.h"

#include <istream>
#include <optional>
#include <string>

namespace boardsim {

/// Reads a scenario, see docs/scenarios.md. Returns nothing if any line is wrong; @p error then holds one
/// line of text, "name:line: cause", without a newline. It holds such a line also if a recording ends in the
/// middle of one; what was read up to there is returned. Otherwise it is left alone.
std::optional<Scenario> readScenario(std::istream &in, const std::string &name, std::string &error);

/// Reads the file @p name in the same way; one that cannot be opened, or is not a regular file, is an error
/// at line 0. Does not open the latter, so it never waits for the writer of a pipe.
std::optional<Scenario> readScenarioFile(const std::string &name, std::string &error);

/// Replaces control characters, newlines for example, which the names of files and fields may hold.
std::string oneLine(std::string message);

} // namespace boardsim
