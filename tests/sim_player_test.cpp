#include "player.h"
#include "support/rehearsal.h"
#include "support/scenarios.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <limits>
#include <string>
#include <vector>

using namespace boardsim;
using namespace scenario_testing;
using namespace std::chrono_literals;

namespace {

Scenario scenario(const std::string &lines)
{
    const Reading reading = read(version_line + board_line + lines);
    EXPECT_EQ(reading.error, "");
    return reading.scenario.value_or(Scenario());
}

const std::string raw_line = "{\"type\":\"raw\",\"board\":1,\"hex\":\"00\"}\n";

std::string touch_move(int rate, long time, const std::string &more = "")
{
    return R"({"type":"move","board":1,"rate":)" + std::to_string(rate) + R"(,"time":)" + std::to_string(time)
        + R"(,"contacts":[{"kind":"touch","id":0,"line":[[0,0],[9,9]],"extent":1}])" + more + "}\n";
}

using Events = std::vector<Rehearsal::Event>;
const std::string touch_report = "report of 9 bytes for 1";

} // namespace

TEST(APlayer, PlaysEachKindOfStepInOrder)
{
    const Scenario played =
        scenario(raw_line + "{\"type\":\"wait\",\"time\":500}\n{\"type\":\"unplug\",\"board\":1}\n"
                 + "{\"type\":\"wait\",\"time\":250}\n{\"type\":\"plug\",\"board\":1}\n"
                 + "{\"type\":\"mark\",\"text\":\"done\"}\n");
    Rehearsal stage;

    EXPECT_TRUE(Player(played, stage).play());

    EXPECT_EQ(
        stage.events,
        (Events{
            {0us, "report of 1 bytes for 1"}, {500us, "unplug 1"}, {750us, "plug 1"}, {750us, "mark done"}}));
}

TEST(APlayer, MovesAtItsRateAndLiftsAtTheEndOfTheTime)
{
    const Scenario played = scenario(touch_move(4, 1'000'000) + "{\"type\":\"mark\",\"text\":\"after\"}");
    Rehearsal stage;

    EXPECT_TRUE(Player(played, stage).play());

    EXPECT_EQ(stage.events,
              (Events{{0us, touch_report},
                      {250'000us, touch_report},
                      {500'000us, touch_report},
                      {750'000us, touch_report},
                      {1'000'000us, touch_report},
                      {1'000'000us, "mark after"}}));
}

TEST(APlayer, DoesNotLiftWhereToldSo)
{
    const Scenario played =
        scenario(touch_move(2, 1'000'000, ",\"lift\":false") + "{\"type\":\"mark\",\"text\":\"after\"}");
    Rehearsal stage;

    EXPECT_TRUE(Player(played, stage).play());

    EXPECT_EQ(stage.events,
              (Events{{0us, touch_report}, {500'000us, touch_report}, {1'000'000us, "mark after"}}));
}

TEST(APlayer, CatchesUpWhenTheProgramIsSlow)
{
    const Scenario played =
        scenario(touch_move(20'000, 500'000, ",\"lift\":false") + "{\"type\":\"wait\",\"time\":500000}\n"
                 + "{\"type\":\"mark\",\"text\":\"after\"}");
    Rehearsal stage;
    stage.set_delay(60us); // longer than the 50 us between two reports

    EXPECT_TRUE(Player(played, stage).play());

    ASSERT_EQ(stage.events.size(), 10'001u);
    EXPECT_EQ(stage.events.back(), (Rehearsal::Event{1'000'000us, "mark after"}));
}

TEST(APlayer, RepeatsNestedBlocks)
{
    const Scenario played =
        scenario("{\"type\":\"repeat\",\"count\":3}\n{\"type\":\"mark\",\"text\":\"outer\"}\n"
                 "{\"type\":\"repeat\",\"count\":2}\n{\"type\":\"mark\",\"text\":\"inner\"}\n"
                 "{\"type\":\"end\"}\n{\"type\":\"end\"}\n{\"type\":\"mark\",\"text\":\"after\"}");
    Rehearsal stage;

    EXPECT_TRUE(Player(played, stage).play());

    std::string order;
    for (const Rehearsal::Event &event : stage.events)
        order += event.what.substr(5, 1);
    EXPECT_EQ(order, "oiioiioiia");
}

TEST(APlayer, PlaysACountedBlockWithoutPause)
{
    const Scenario played =
        scenario("{\"type\":\"repeat\",\"count\":1000}\n" + raw_line + "{\"type\":\"end\"}");
    Rehearsal stage;

    EXPECT_TRUE(Player(played, stage).play());

    ASSERT_EQ(stage.events.size(), 1000u);
    EXPECT_EQ(stage.events.back().time, 0us);
}

TEST(APlayer, GivesEachRoundOfAnEndlessBlockAMillisecondAtLeast)
{
    const Scenario played = scenario("{\"type\":\"repeat\"}\n" + raw_line + "{\"type\":\"end\"}");
    Rehearsal stage;
    stage.stop_when([&] { return stage.events.size() == 4; });

    EXPECT_FALSE(Player(played, stage).play());

    ASSERT_EQ(stage.events.size(), 4u);
    EXPECT_EQ(stage.events.back().time, 3'000us);
}

TEST(APlayer, KeepsTheTimeOfAnEndlessBlockThatTakesLonger)
{
    const Scenario played = scenario("{\"type\":\"repeat\"}\n" + raw_line
                                     + "{\"type\":\"wait\",\"time\":7000}\n{\"type\":\"end\"}");
    Rehearsal stage;
    stage.stop_when([&] { return stage.events.size() == 3; });

    EXPECT_FALSE(Player(played, stage).play());

    EXPECT_EQ(stage.events.back().time, 14'000us);
}

TEST(APlayer, StopsInAnEndlessBlockWithNothingInside)
{
    const Scenario played =
        scenario("{\"type\":\"repeat\"}\n{\"type\":\"repeat\"}\n{\"type\":\"end\"}\n{\"type\":\"end\"}");
    Rehearsal stage;
    int waits = 0;
    stage.stop_when([&] { return ++waits == 1000; });

    EXPECT_FALSE(Player(played, stage).play());

    EXPECT_TRUE(stage.events.empty());
}

TEST(APlayer, StopsInAMoveOfElevenDaysAtAMillionReportsASecond)
{
    const Scenario played = scenario(touch_move(1'000'000, 1'000'000'000'000));
    Rehearsal stage;
    stage.stop_when([&] { return stage.events.size() == 1000; });

    EXPECT_FALSE(Player(played, stage).play());

    EXPECT_EQ(stage.events.size(), 1000u);
    EXPECT_EQ(stage.events.back().time, 999us);
}

TEST(APlayer, GoesOnWhenAFileAppears)
{
    const QTemporaryDir folder;
    const std::string file = folder.filePath("go").toStdString();
    const Scenario played =
        scenario("{\"type\":\"wait\",\"file\":\"" + file
                 + "\"}\n{\"type\":\"wait\",\"time\":5}\n{\"type\":\"mark\",\"text\":\"after\"}");
    Rehearsal stage;
    int waits = 0;
    stage.stop_when([&] {
        if (++waits == 100)
            std::ofstream(file).put('\n');
        return waits > 1000;
    });

    EXPECT_TRUE(Player(played, stage).play());

    ASSERT_EQ(stage.events.size(), 1u);
    EXPECT_GE(waits, 100);
    EXPECT_GT(stage.events[0].time, 5us) << "the time of the wait starts when the file is there";
}

TEST(APlayer, StopsWhileItWaitsForAFile)
{
    const Scenario played = scenario(R"({"type":"wait","file":"/nowhere/at/all"})");
    Rehearsal stage;
    int waits = 0;
    stage.stop_when([&] { return ++waits == 10; });

    EXPECT_FALSE(Player(played, stage).play());
}
