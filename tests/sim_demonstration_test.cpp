#include "demonstration.h"
#include "scenarioreader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

using namespace boardsim;

namespace {

std::vector<Step> demonstrationSteps()
{
    std::istringstream text(demonstration);
    std::string error;
    const std::optional<Scenario> scenario = readScenario(text, "demonstration", error);
    EXPECT_TRUE(scenario) << error;
    return scenario ? scenario->steps : std::vector<Step>();
}

// On a screen of 1366 x 768, the smallest that the demonstration is made for, the help text ends here.
constexpr int helpWidth = 492 * 32768 / 1366;
constexpr int helpHeight = 525 * 32768 / 768;

bool draws(const MovingContact &contact)
{
    return contact.kind == MovingContact::Kind::touch
        || (contact.kind == MovingContact::Kind::pen && contact.tip);
}

bool crossesTheHelpText(const MovingContact &contact)
{
    constexpr int pieces = 100;
    for (int i = 0; i <= pieces; ++i) {
        const auto point = pointOn(contact.path, double(i) / pieces);
        if (point.x - contact.extent < helpWidth && point.y - contact.extent < helpHeight)
            return true;
    }
    return false;
}

} // namespace

TEST(TheDemonstration, LeavesTheHelpTextFree)
{
    int drawing = 0;

    for (const Step &step : demonstrationSteps()) {
        const auto *const move = std::get_if<Move>(&step);
        if (!move)
            continue;
        for (const MovingContact &contact : move->contacts) {
            if (!draws(contact))
                continue;
            ++drawing;
            EXPECT_FALSE(crossesTheHelpText(contact)) << "contact " << drawing << " that draws";
        }
    }

    EXPECT_GT(drawing, 0);
}

TEST(TheDemonstration, ShowsEveryKindOfStepAndContactForEver)
{
    std::vector<std::string> marks;
    std::int64_t time = 0;
    std::set<MovingContact::Kind> kinds;
    std::size_t most_touches = 0;
    bool outside = false;
    bool hovering = false;
    bool endless = false;

    for (const Step &step : demonstrationSteps()) {
        if (const auto *const found = std::get_if<Mark>(&step))
            marks.push_back(found->text);
        if (const auto *const found = std::get_if<Repeat>(&step))
            endless = !found->count;
        if (const auto *const found = std::get_if<WaitForTime>(&step))
            time += found->time;
        const auto *const move = std::get_if<Move>(&step);
        if (!move)
            continue;
        time += move->time;
        most_touches = std::max(most_touches, move->contacts.size());
        for (const MovingContact &contact : move->contacts) {
            kinds.insert(contact.kind);
            outside = outside || pointOn(contact.path, 0).x > 32767;
            hovering = hovering || (contact.kind == MovingContact::Kind::pen && !contact.tip);
        }
    }

    EXPECT_EQ(marks, (std::vector<std::string>{"picture", "round ends"}));
    EXPECT_GE(time, 20'000'000);
    EXPECT_LE(time, 30'000'000);
    EXPECT_EQ(kinds.size(), 3u);
    EXPECT_EQ(most_touches, 10u);
    EXPECT_TRUE(outside);
    EXPECT_TRUE(hovering);
    EXPECT_TRUE(endless);
}
