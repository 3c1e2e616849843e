#pragma once

namespace boardsim {

/// The text of demonstration.jsonl, played if no scenario is named.
extern const char *const demonstration;

} // namespace boardsim
