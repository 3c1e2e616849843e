#include "commands/virtualscreen.h"
#include "commands/window.h"
#include "language.h"
#include "selftest/performance.h"
#include "stage/scene.h"

// Patterns, contacts, tags and the window.

namespace selftest {

namespace {

using namespace stage;
using lab::message;

/// A key shows a pattern, takes it away, and shows the same one again. The first picture is that of the help
/// screen, which each key takes away.
lab::Message checkPattern(const Parts &parts, const char *key)
{
    Performance program(parts.stage(), {});
    const std::size_t first = program.pressToChange(key).picture();
    return program.pressToChange(key).pressToChange(key).expectPicture(first).end();
}

lab::Message checkPen(const Parts &parts)
{
    return Performance(parts.stage(),
                       {{pen(1, 8000, 8000, true), pen(1, 16000, 8000, true), pen(1, 16000, 8000, false)}})
        .step()
        .expectColour(12000, 8000, red)
        .expectHandbacks(0)
        .end();
}

lab::Message checkTouch(const Parts &parts)
{
    return Performance(parts.stage(), {{stroke(3, 8000, 20000, 16000, 20000, 100)}})
        .step()
        .expectColour(12000, 20000, green)
        .expectHandbacks(0)
        .end();
}

lab::Message checkEraser(const Parts &parts)
{
    const Lines wiping{
        R"({"type":"move","board":1,"rate":200,"time":100000,"contacts":[{"kind":"erase","id":0,)"
        R"("line":[[12000,18000],[12000,22000]],"width":600,"height":600}]})"};
    return Performance(parts.stage(), {{stroke(3, 8000, 20000, 16000, 20000, 100)}, wiping})
        .pressToChange("b") // so that what is wiped away is not white, either way
        .step()
        .expectColour(12000, 20000, green)
        .step()
        .expectColour(12000, 20000, black)
        .expectColour(9000, 20000, green)
        .end();
}

lab::Message checkHandback(const Parts &parts)
{
    return Performance(parts.stage(), {{touch(9, 40000, 40000, true), touch(9, 40000, 40000, false)}})
        .step()
        .expectHandbacks(2)
        .end();
}

/// The pictures of a contact that is down, with and without its tag.
lab::Message checkTags(const Parts &parts)
{
    const Lines down{touch(3, 16000, 16000, true)};
    const Lines up{touch(3, 16000, 16000, false)};
    Performance program(parts.stage(), {down, up, down, up});
    const std::size_t empty = program.picture();
    const std::size_t withTag = program.step().picture();
    program.step();
    if (program.isGood())
        parts.screen->press("space");
    const std::size_t withoutTag = program.step().picture();
    lab::Message wrong = program.step().end();
    if (!wrong.empty())
        return wrong;
    if (withTag == empty)
        return message("a contact that is down shows nothing");
    return withTag == withoutTag ? message("Space does not take the tags from new contacts") : lab::Message();
}

/// In the normal window, which is smaller than the screen, a contact is drawn inside and handed back
/// outside.
lab::Message checkNormalWindow(const Parts &parts)
{
    constexpr int units = 32768;
    Performance first(parts.stage(), {});
    first.pressToChange("Return");
    const auto window = lab::windowOf(first.session().process(), parts.screen->display().c_str());
    lab::Message wrong = first.end();
    if (!wrong.empty() || !window)
        return wrong.empty() ? message("no window") : wrong;
    const auto size = Display(parts.screen->display()).size();
    const int x = (window->x + window->width / 2) * units / size.width;
    const int y = (window->y + window->height / 2) * units / size.height;
    const bool isLeftFree = window->x > size.width / 20;
    const int outside = isLeftFree ? units / 50 : units - units / 50;
    if (!isLeftFree && window->x + window->width > size.width - size.width / 20)
        return message("the normal window leaves no place beside it");
    return Performance(parts.stage(),
                       {{stroke(3, x - 1000, y, x + 1000, y, 50)},
                        {touch(4, outside, y, true), touch(4, outside, y, false)}})
        .pressToChange("Return")
        .step()
        .expectColour(x, y, green)
        .expectHandbacks(0)
        .step()
        .expectHandbacks(2)
        .end();
}

} // namespace

void addProgramChecks(std::vector<Check> &checks)
{
    for (const char *const key : {"h", "g", "s", "c", "b", "Left", "Right"})
        checks.push_back({"patterns", message("key %s shows it, and takes it away", key),
                          [key](const Parts &parts) { return checkPattern(parts, key); }});
    checks.push_back({"contacts", message("a pen draws in red at its place"), checkPen});
    checks.push_back({"contacts", message("a touch draws in green at its place"), checkTouch});
    checks.push_back({"contacts", message("an eraser wipes where it goes"), checkEraser});
    checks.push_back({"contacts", message("a touch outside goes back to the system"), checkHandback});
    checks.push_back({"tags", message("a contact has one, and none after Space"), checkTags});
    checks.push_back({"resize", message("the normal window takes contacts inside only"), checkNormalWindow});
}

} // namespace selftest
