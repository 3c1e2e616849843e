#pragma once

#include <QRect>

/// Gives every widget another screen than that of the offscreen platform, as far as QDesktopWidget tells.
/// Only in programs that link lanternix_screen.
void set_screen_geometry(const QRect &geometry);
