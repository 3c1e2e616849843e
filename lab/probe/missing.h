#pragma once

#include <string>

namespace probe {

/// What happens without one of the driver's functions, in the English words of docs/wire-formats.md; a dash
/// if the program never calls it.
std::string withoutFunction(const std::string &name);

} // namespace probe
