#pragma once

#include "stage/lines.h"

#include <string>

namespace stage {

// Lines of scenarios, of board 1 if nothing else is said. Positions and sizes are board units.

std::string board(int number, bool isPlugged = true);
std::string plug(int board);
std::string unplug(int board);
std::string pen(int number, int x, int y, bool tip);
/// One touch with a size of 100.
std::string touch(int id, int x, int y, bool down);
/// The bytes of a report as two hexadecimal digits each; spaces do not count.
std::string raw(const std::string &hex);
std::string wait(int milliseconds);
std::string waitForFile(const std::string &file);
std::string mark(const std::string &text);
/// A touch that runs from one place to another and lifts there.
std::string stroke(int id, int fromX, int fromY, int toX, int toY, int milliseconds);

/// @p text, @p count times in a row.
std::string repeated(const std::string &text, int count);
/// The byte as two hexadecimal digits.
std::string hex(int byte);

} // namespace stage
