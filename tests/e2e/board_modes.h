#pragma once

#include <string>
#include <vector>

// The calls that the program makes with SimulatedDriver::two_boards_and_a_hub(), as texts of
// SimulatedDriver::call_texts().

/// The calls that configure both boards, with their reports switched @p on or off.
std::vector<std::string> modes_of_both_boards(bool on);

/// The last calls of a program that ends by itself.
std::vector<std::string> calls_at_the_end();
