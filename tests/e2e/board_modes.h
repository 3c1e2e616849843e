#pragma once

#include <string>
#include <vector>

// What the program calls on SimulatedDriver::two_boards_and_a_hub(), as texts of
// SimulatedDriver::call_texts().

/// How both boards are configured, with their reports switched @p on or off.
std::vector<std::string> modes_of_both_boards(bool on);

/// What the program calls last, when it ends by itself.
std::vector<std::string> calls_at_the_end();
