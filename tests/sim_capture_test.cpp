#include "player.h"
#include "support/rehearsal.h"
#include "support/scenarios.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>

using namespace boardsim;
using namespace scenario_testing;
using namespace std::chrono_literals;

// Scenarios of version 2, which recordings are written in.

namespace {

const std::string capture_line = R"({"type":"scenario","version":2,"recorder":"0.2.0","screens":[{"x":0}]})"
                                 "\n";

/// What is played of @p lines behind the first line and board 1.
std::vector<Rehearsal::Event> played(const std::string &lines)
{
    const Reading reading = read(capture_line + board_line + lines);
    EXPECT_EQ(reading.error, "");
    if (!reading.scenario)
        return {};
    Rehearsal stage;
    EXPECT_TRUE(Player(*reading.scenario, stage).play());
    return stage.events;
}

std::string mark(const std::string &text, const std::string &more = {})
{
    return R"({"type":"mark","text":")" + text + "\"" + more + "}\n";
}

using Events = std::vector<Rehearsal::Event>;

} // namespace

TEST(ACapture, IsPlayedAtTheTimesOfItsLines)
{
    EXPECT_EQ(played(mark("a", R"(,"at":250)") + mark("b", R"(,"at":1000)") + mark("c", R"(,"at":1000)")),
              (Events{{250us, "mark a"}, {1000us, "mark b"}, {1000us, "mark c"}}));
}

TEST(ACapture, PlaysALineAtOnceWhoseTimeHasPassed)
{
    EXPECT_EQ(played(mark("a", R"(,"at":900)") + mark("b", R"(,"at":300)") + mark("c", R"(,"at":1000)")),
              (Events{{900us, "mark a"}, {900us, "mark b"}, {1000us, "mark c"}}));
}

TEST(ACapture, MayHaveLinesWithoutATime)
{
    EXPECT_EQ(played(mark("a", R"(,"at":250)") + "{\"type\":\"wait\",\"time\":50}\n" + mark("b")
                     + mark("c", R"(,"at":400)")),
              (Events{{250us, "mark a"}, {300us, "mark b"}, {400us, "mark c"}}));
}

TEST(ACapture, LastsUntilItsEnd)
{
    const Reading reading = read(capture_line + mark("a") + R"({"type":"end","at":5000})");
    ASSERT_TRUE(reading.scenario);
    Rehearsal stage;
    const Clock::time_point begin = stage.now();

    EXPECT_TRUE(Player(*reading.scenario, stage).play());

    EXPECT_EQ(stage.now() - begin, 5000us);
}

TEST(ACapture, EndsABlockWithTheSameWordAsItself)
{
    EXPECT_EQ(played("{\"type\":\"repeat\",\"count\":2}\n" + mark("a")
                     + "{\"type\":\"end\"}\n{\"type\":\"end\"}\n"),
              (Events{{0us, "mark a"}, {0us, "mark a"}}));
}

TEST(ACapture, IsPlayedWithoutWhatItOnlyTells)
{
    EXPECT_EQ(played(R"({"type":"call","at":5,"export":"GetDeviceCount","arguments":{},"result":1})"
                     "\n"
                     R"({"type":"handback","at":6,"board":99,"hex":"0921"})"
                     "\n"
                     R"({"type":"lost","at":7,"count":3})"
                     "\n"
                     R"({"type":"note","at":8000,"text":"here"})"
                     "\n"
                     + mark("a")),
              (Events{{0us, "mark a"}}));
}

TEST(ACapture, MayHaveFieldsThatNobodyKnows)
{
    EXPECT_EQ(played(R"({"type":"touch","board":1,"new":1,"contacts":[{"id":0,"x":1,"y":1,"extent":1,)"
                     R"("down":true,"new":[]}]})"
                     "\n"
                     R"({"type":"move","board":1,"rate":1,"time":0,"lift":false,"contacts":[{"kind":"erase",)"
                     R"("id":0,"width":1,"height":1,"new":{},"circle":{"centre":[9,9],"radius":[1,1],)"
                     R"("from":0,"to":1,"new":""}}]})")
                  .size(),
              2U);
}

using RefusalRow = std::array<const char *, 3>; // name, line, cause
class AWrongLineOfACapture : public testing::TestWithParam<RefusalRow>
{
};

TEST_P(AWrongLineOfACapture, IsRefusedWithItsNumberAndCause)
{
    const Reading reading = read(capture_line + board_line + GetParam()[1] + "\n" + mark("a"));

    EXPECT_FALSE(reading.scenario);
    EXPECT_EQ(reading.error, std::string("play.jsonl:3: ") + GetParam()[2]);
}

INSTANTIATE_TEST_SUITE_P(
    , AWrongLineOfACapture,
    testing::Values(RefusalRow{"TimeBelowZero", R"({"type":"end","at":-1})",
                               "\"at\" is not a whole number from 0 to 1000000000000000"},
                    RefusalRow{"TimeOfACall", R"({"type":"call","at":"soon"})",
                               "\"at\" is not a whole number from 0 to 1000000000000000"},
                    RefusalRow{"TimeAfter31Years", R"({"type":"end","at":1000000000000001})",
                               "\"at\" is not a whole number from 0 to 1000000000000000"},
                    RefusalRow{"TimeOfABlock", R"({"type":"repeat","at":1})",
                               "a line of a repeated block has no time of its own"},
                    RefusalRow{"ACallOfNothing", R"({"type":"call","at":1})", "field \"export\" is missing"},
                    RefusalRow{"NothingHandedBack", R"({"type":"handback","board":1,"hex":"0"})",
                               "\"hex\" is not a row of bytes of two hexadecimal digits each"},
                    RefusalRow{"NothingLost", R"({"type":"lost"})", "field \"count\" is missing"},
                    RefusalRow{"ANoteWithoutWords", R"({"type":"note","text":1})", "\"text\" is not a text"},
                    RefusalRow{"UnknownType", R"({"type":"dance","at":1})", "unknown type \"dance\""},
                    RefusalRow{"KeyTwice", R"({"type":"note","at":1,"at":1})", "field \"at\" stands twice"},
                    RefusalRow{"NoJson", R"({"type":"note")", "not valid JSON at column 15"}),
    row_name);

TEST(ACapture, HasNoTimesInsideABlock)
{
    EXPECT_EQ(read(capture_line + "{\"type\":\"repeat\"}\n" + mark("a", R"(,"at":1)")).error,
              "play.jsonl:3: a line of a repeated block has no time of its own");
}

TEST(ACaptureThatIsCutOff, IsReadUpToItsLastWholeLine)
{
    const std::string whole = capture_line + board_line + mark("a") + mark("b");
    const std::size_t second_line = capture_line.size();
    for (std::size_t length = second_line + 1; length < whole.size(); ++length) {
        SCOPED_TRACE(length);
        const std::string cut = whole.substr(0, length);
        const auto lines = static_cast<std::size_t>(std::count(cut.begin(), cut.end(), '\n'));
        const Reading reading = read(cut);
        ASSERT_TRUE(reading.scenario);
        // A line that lacks nothing but its newline is whole.
        if (cut.back() == '\n' || cut.back() == '}') {
            EXPECT_EQ(reading.error, "");
        } else {
            EXPECT_EQ(reading.error,
                      "play.jsonl:" + std::to_string(lines + 1) + ": cut off; read up to the line before");
            EXPECT_EQ(reading.scenario->steps.size(), lines - std::min<std::size_t>(lines, 2));
        }
    }
}

TEST(ACaptureThatIsCutOff, IsOneOnlyIfNothingFollows)
{
    EXPECT_FALSE(read(capture_line + "{\"type\":\"mark\",\"te\n").scenario);
    EXPECT_FALSE(read(version_line + "{\"type\":\"mark\",\"te").scenario) << "version 1 is written by hand";
}
