#pragma once

#include <nlohmann/json.hpp>

namespace lab {

/// What the commands print and write: members stay in the order in which they are set.
using Json = nlohmann::ordered_json;

} // namespace lab
