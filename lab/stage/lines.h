#pragma once

#include <string>
#include <vector>

namespace stage {

/// Of a scenario, or what a program prints; without newlines.
using Lines = std::vector<std::string>;

} // namespace stage
