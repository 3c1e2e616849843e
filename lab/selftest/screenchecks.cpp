#include "language.h"
#include "selftest/performance.h"
#include "selftest/twoscreens.h"
#include "stage/scene.h"

// Where contacts appear: at the corners, at other scales, with two screens.

namespace selftest {

namespace {

using namespace stage;
using lab::message;

constexpr int edge = 32767;
constexpr int near = 120; // board units: a few pixels

/// A stroke of a pixel's length at a place.
std::string dot(int id, int x, int y)
{
    return stroke(id, x, y, x + 20, y, 20);
}

lab::Message checkCorners(const Parts &parts)
{
    constexpr int titleBar = 10;
    return Performance(parts.stage(),
                       {{dot(1, near, edge - near), dot(2, edge - near, edge - near), dot(3, near, edge / 2),
                         dot(4, edge - near, edge / 2)},
                        {touch(5, edge / 2, titleBar, true), touch(5, edge / 2, titleBar, false)},
                        {touch(6, edge + 1, edge / 2, true), touch(6, edge + 1, edge / 2, false)}})
        .step()
        .expectColour(near, edge - near, green)
        .expectColour(edge - near, edge - near, green)
        .expectColour(near, edge / 2, green)
        .expectColour(edge - near, edge / 2, green)
        .expectHandbacks(0)
        .step()
        .expectHandbacks(2)
        .step()
        .expectHandbacks(4)
        .end();
}

lab::Message checkScale(const Parts &parts, const char *scale)
{
    return Performance(parts.stage(),
                       {{stroke(1, 8000, 8000, 12000, 8000, 50), stroke(2, 26000, 30000, 30000, 30000, 50)},
                        {touch(3, 40000, 8000, true), touch(3, 40000, 8000, false)}})
        .set("QT_SCALE_FACTOR", scale)
        .step()
        .expectColour(10000, 8000, green)
        .expectColour(28000, 30000, green)
        .expectHandbacks(0)
        .step()
        .expectHandbacks(2)
        .end();
}

/// With a second screen on the right, the board still spans the first one, on which the window is.
lab::Message checkTwoScreens(const Parts &parts)
{
    const TwoScreens screens;
    stage::Setting setting = parts.stage();
    setting.screen = &screens;
    const auto acrossBoth = [](int x) { return x / 2; };
    return Performance(setting,
                       {{stroke(1, 8000, 20000, 12000, 20000, 50)},
                        {touch(2, 40000, 20000, true), touch(2, 40000, 20000, false)}})
        .step()
        .expectColour(acrossBoth(10000), 20000, green)
        .expectHandbacks(0)
        .step()
        .expectHandbacks(2)
        .end();
}

} // namespace

void addScreenChecks(std::vector<Check> &checks)
{
    checks.push_back(
        {"mapping", message("contacts at the corners are drawn, beyond them go back"), checkCorners});
    for (const char *const scale : {"1", "1.5", "2"})
        checks.push_back({"scales", message("contacts are at their places with scale %s", scale),
                          [scale](const Parts &parts) { return checkScale(parts, scale); }});
    checks.push_back({"screens", message("the board spans the first of two screens"), checkTwoScreens});
}

} // namespace selftest
