#pragma once

#include <cstddef>
#include <string>

namespace capture {

/// @p text without the bytes that are no UTF-8, and at most @p longest bytes of it, cut between characters.
std::string validText(const std::string &text, std::size_t longest);

} // namespace capture
