#pragma once

#include "report.h"

#include <optional>
#include <string>

namespace boardsim {

/// "0a1b" for two bytes; an empty text for a null pointer or a length below one.
std::string hexText(const void *data, int length);

/// Reads two digits a byte, in either case; spaces may separate bytes. Nothing if @p text holds anything
/// else.
std::optional<Bytes> bytesFromHex(const std::string &text);

} // namespace boardsim
