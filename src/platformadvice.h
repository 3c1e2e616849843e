#pragma once

class QString;

/// What to do about a platform, by Qt's name for it, on which contacts cannot be placed; null if they can.
/// Wayland tells no program where its window is.
const char *platform_advice(const QString &platform);
