#pragma once

#include "accept/geometry.h"

#include <optional>
#include <string>
#include <vector>

namespace acceptance {

/// A screen as the first line of a recording describes it.
struct Screen
{
    Area area;        ///< its place as the desktop counts, its size as the program counts
    double scale = 1; ///< pixels of the desktop in one of the program's
    bool isPrimary = false;
};

/// The screens that stand in a recording's first line; none if it does not tell.
std::vector<Screen> screensIn(const std::string &firstLine);

/// Where a window is whose content covers @p window, in pixels of the desktop: on the screen that shows the
/// window's centre, or else on the primary one. Without @p window it fills the primary screen. Nothing
/// without a screen.
std::optional<Frame> frameOn(const std::vector<Screen> &screens, const std::optional<Area> &window);

/// "1920x1060+0+20" as width, height, left and top; nothing if it is no such text.
std::optional<Area> areaFrom(const std::string &text);
/// The same for a person: "1920 x 1060 pixels at 0, 20".
std::string textOf(const Area &area);

} // namespace acceptance
