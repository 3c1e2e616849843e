#pragma once

#include "accept/geometry.h"

#include <string>
#include <vector>

namespace acceptance {

/// A drawing of the window, line by line, with the numbers of the targets in the order in which they are
/// tapped. The four of a size are left out together if they do not fit.
std::vector<std::string> sketchOf(const Frame &frame, const std::vector<Target> &targets);

} // namespace acceptance
