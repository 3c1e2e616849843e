#pragma once

#include <string>

namespace lab {

/// What is wrong with a command line, in the person's language; @p english is what CLI11 says of it. A text
/// that is not known stays as it is.
std::string usageError(const std::string &english);

} // namespace lab
