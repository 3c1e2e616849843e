#pragma once

#include "accept/dialogue.h"

#include <nlohmann/json.hpp>

namespace acceptance {

/// An outcome for programs: verdict, steps with their figures, and each target.
nlohmann::ordered_json jsonOf(const Outcome &outcome);

} // namespace acceptance
