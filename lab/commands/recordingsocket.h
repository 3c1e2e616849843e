#pragma once

#include <string>

namespace lab {

/// Connects to the recorder that listens at the socket @p name, or, if that is empty, to that of the running
/// recording that began last. Returns the connection, or -1, which one line on standard error then tells.
int connectToRecording(const std::string &name);

} // namespace lab
