#pragma once

#include "capture/line.h"

#include <cstdint>
#include <string>

namespace lab {

/// The bytes of a report or of what is handed back.
std::string hexOf(const capture::Line &line);

double seconds(std::int64_t microseconds);

/// The beginning of @p text, in the encoding of the locale, that takes at most @p columns of a terminal. A
/// byte that is no part of a character counts as one column.
std::string fitting(const std::string &text, int columns);

/// All of a file; empty if it cannot be read.
std::string contentsOf(const std::string &file);

} // namespace lab
