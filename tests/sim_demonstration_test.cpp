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

TEST(TheDemonstration, ShowsEveryKindOfStepAndContactForEver)
{
    std::istringstream text(demonstration);
    std::string error;
    const std::optional<Scenario> scenario = readScenario(text, "demonstration", error);
    ASSERT_TRUE(scenario) << error;
    std::vector<std::string> marks;
    std::int64_t time = 0;
    std::set<MovingContact::Kind> kinds;
    std::size_t most_touches = 0;
    bool outside = false;
    bool hovering = false;
    bool endless = false;

    for (const Step &step : scenario->steps) {
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
