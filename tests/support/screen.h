#pragma once

#include <QRect>

/// Makes QDesktopWidget report @p geometry for every widget's screen, instead of the offscreen platform's.
/// Works only in programs that link lanternix_screen.
void set_screen_geometry(const QRect &geometry);
