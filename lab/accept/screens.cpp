#include "accept/screens.h"

#include "language.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <nlohmann/json.hpp>

namespace acceptance {

namespace {

constexpr int largest = 32767; // pixels, as in X11

Area scaled(const Area &area, const Screen &screen)
{
    const auto pixels = [&screen](int length) {
        return static_cast<int>(std::lround(length / screen.scale));
    };
    return {screen.area.x + pixels(area.x - screen.area.x), screen.area.y + pixels(area.y - screen.area.y),
            pixels(area.width), pixels(area.height)};
}

bool shows(const Screen &screen, const Area &window)
{
    const double right = screen.area.x + screen.area.width * screen.scale;
    const double bottom = screen.area.y + screen.area.height * screen.scale;
    const double x = window.x + window.width / 2.0;
    const double y = window.y + window.height / 2.0;
    return x >= screen.area.x && x < right && y >= screen.area.y && y < bottom;
}

} // namespace

std::vector<Screen> screensIn(const std::string &firstLine)
{
    std::vector<Screen> screens;
    const auto line = nlohmann::json::parse(firstLine, nullptr, false);
    if (!line.is_object() || !line.contains("screens") || !line["screens"].is_array())
        return screens;
    for (const auto &told : line["screens"]) {
        if (!told.is_object())
            continue;
        Screen screen;
        screen.area = {told.value("x", 0), told.value("y", 0), told.value("width", 0),
                       told.value("height", 0)};
        screen.scale = told.value("scale", 1.0);
        screen.isPrimary = told.value("primary", false);
        if (screen.area.width > 0 && screen.area.height > 0 && screen.scale > 0)
            screens.push_back(screen);
    }
    return screens;
}

std::optional<Frame> frameOn(const std::vector<Screen> &screens, const std::optional<Area> &window)
{
    if (screens.empty())
        return {};
    const auto isPrimary = [](const Screen &screen) { return screen.isPrimary; };
    auto screen = std::find_if(screens.begin(), screens.end(), isPrimary);
    if (screen == screens.end())
        screen = screens.begin();
    if (!window)
        return Frame{screen->area, screen->area};
    const auto isShown = [&window](const Screen &candidate) { return shows(candidate, *window); };
    const auto showing = std::find_if(screens.begin(), screens.end(), isShown);
    if (showing != screens.end())
        screen = showing;
    return Frame{screen->area, scaled(*window, *screen)};
}

std::optional<Area> areaFrom(const std::string &text)
{
    Area area;
    int read = 0;
    const int count =
        std::sscanf(text.c_str(), "%5dx%5d%6d%6d%n", &area.width, &area.height, &area.x, &area.y, &read);
    const bool isWhole = count == 4 && static_cast<std::size_t>(read) == text.size();
    if (!isWhole || area.width < 1 || area.height < 1 || area.width > largest || area.height > largest)
        return {};
    return area;
}

std::string textOf(const Area &area)
{
    return lab::format(lab::tr("%d x %d pixels at %d, %d"), area.width, area.height, area.x, area.y);
}

} // namespace acceptance
