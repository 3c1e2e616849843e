#pragma once

#include "accept/geometry.h"

#include <optional>

#include <sys/types.h>

namespace lab {

/// Whether there is an X server, which knows where windows are.
bool knowsWindows();

/// Where the content of the largest visible window of @p process is, in pixels of the X server's root window.
/// @p display names that server; null for the one that DISPLAY names. Nothing if there is no such window, or
/// no X server.
std::optional<acceptance::Area> windowOf(pid_t process, const char *display = nullptr);

/// Whether the keys that are typed go to a window of @p process.
bool hasFocus(pid_t process);

} // namespace lab
