#include "commands/transport.h"

#include "support/scenarios.h"

#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <string>
#include <utility>
#include <vector>

using namespace lab;
using namespace scenario_testing;
using namespace std::chrono_literals;

namespace {

/// A world whose clock jumps to each deadline, in which keys are pressed after so many lines have been sent.
class Stage : public Transport::World
{
public:
    Transport::Clock::time_point now() override { return m_now; }
    bool wait(Transport::Clock::time_point deadline) override
    {
        m_now = std::max(m_now, deadline);
        return ++m_waits < 10'000; // a play that is paused for ever ends
    }
    int key() override
    {
        if (m_keys.empty() || sent.size() < m_keys.front().first)
            return 0;
        const int key = m_keys.front().second;
        m_keys.pop_front();
        return key;
    }
    double askForSeconds() override { return seconds; }
    void send(const std::string &line) override
    {
        sent.push_back(
            std::to_string(std::chrono::duration_cast<std::chrono::microseconds>(m_now - m_start).count())
            + " " + line.substr(0, line.size() - 1));
    }
    void show(const capture::Line &line, bool isPaused) override
    {
        shown.push_back(std::to_string(line.at.value_or(-1)) + (isPaused ? " paused" : ""));
        numbers.push_back(line.number);
    }

    void pause(bool isPaused) override { pauses.push_back(isPaused); }

    /// Presses @p key once @p lines have been sent.
    void press(std::size_t lines, int key) { m_keys.emplace_back(lines, key); }

    std::vector<std::string> sent;
    std::vector<std::string> shown;
    std::vector<std::int64_t> numbers; ///< of the lines that were shown
    std::vector<bool> pauses;          ///< told between lines
    double seconds = 0;

private:
    const Transport::Clock::time_point m_start = Transport::Clock::time_point(1h);
    Transport::Clock::time_point m_now = m_start;
    std::deque<std::pair<std::size_t, int>> m_keys;
    int m_waits = 0;
};

/// Four reports of one pen, a hundred microseconds apart; it is down in the second and third.
boardsim::Scenario four_reports()
{
    const auto pen = [](int at, const char *tip) {
        return R"({"type":"pen","board":1,"at":)" + std::to_string(at) + R"(,"pen":0,"x":)"
            + std::to_string(at) + R"(,"y":0,"tip":)" + tip + ",\"button\":false}\n";
    };
    const Reading reading = read("{\"type\":\"scenario\",\"version\":2}\n" + board_line + pen(100, "false")
                                 + pen(200, "true") + pen(300, "true") + pen(400, "false"));
    EXPECT_EQ(reading.error, "");
    return reading.scenario.value_or(boardsim::Scenario());
}

std::string raw(const char *hex)
{
    return std::string(R"({"type":"raw","at":0,"board":1,"hex":")") + hex + "\"}";
}

const std::string hover_100 = raw("0821006400000000");
const std::string down_200 = raw("082100c800000001");
const std::string down_300 = raw("0821002c01000001");
const std::string hover_400 = raw("0821009001000000");
const std::string lift_200 = raw("082100c800000000");
const std::string lift_300 = raw("0821002c01000000");

using Lines = std::vector<std::string>;

} // namespace

struct SpeedRow
{
    const char *name;
    double speed;
    Lines sent;
};

class AReplay : public testing::TestWithParam<SpeedRow>
{
};

TEST_P(AReplay, KeepsItsTempo)
{
    const boardsim::Scenario scenario = four_reports();
    Stage stage;

    EXPECT_TRUE(Transport(scenario, stage, {GetParam().speed, false}).play());

    EXPECT_EQ(stage.sent, GetParam().sent);
    EXPECT_EQ(stage.shown, (Lines{"100", "200", "300", "400"})) << "in the time of the recording";
    EXPECT_EQ(stage.numbers, (std::vector<std::int64_t>{3, 4, 5, 6})) << "of the recording's lines";
}

INSTANTIATE_TEST_SUITE_P(
    , AReplay,
    testing::Values(SpeedRow{"AsRecorded",
                             1,
                             {"100 " + hover_100, "200 " + down_200, "300 " + down_300, "400 " + hover_400}},
                    SpeedRow{"TwiceAsFast",
                             2,
                             {"100 " + hover_100, "150 " + down_200, "200 " + down_300, "250 " + hover_400}},
                    SpeedRow{"HalfAsFast",
                             0.5,
                             {"200 " + hover_100, "400 " + down_200, "600 " + down_300, "800 " + hover_400}},
                    SpeedRow{"AsFastAsItGoes",
                             0,
                             {"100 " + hover_100, "100 " + down_200, "100 " + down_300, "100 " + hover_400}}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(ATransport, PausesAndGoesOn)
{
    const boardsim::Scenario scenario = four_reports();
    Stage stage;
    stage.press(2, ' ');
    stage.press(2, ' ');

    EXPECT_TRUE(Transport(scenario, stage, {1, false}).play());

    EXPECT_EQ(stage.sent.size(), 4U);
    EXPECT_EQ(stage.pauses, (std::vector<bool>{true, false}));
}

TEST(ATransport, PlaysOneReportAtATime)
{
    const boardsim::Scenario scenario = four_reports();
    Stage stage;
    stage.press(0, 'n');
    stage.press(1, 'n');

    EXPECT_FALSE(Transport(scenario, stage, {1, false}).play()) << "it stays paused";

    EXPECT_EQ(stage.shown, (Lines{"100 paused", "200 paused"}));
}

TEST(ATransport, PlaysUpToTheNextChangeOfContacts)
{
    const boardsim::Scenario scenario = four_reports();
    Stage stage;
    stage.press(2, 'N');

    EXPECT_FALSE(Transport(scenario, stage, {1, false}).play());

    EXPECT_EQ(stage.shown, (Lines{"100", "200", "300", "400 paused"}));
}

TEST(ATransport, GoesBackByOneReportFromTheStartAtFullSpeed)
{
    const boardsim::Scenario scenario = four_reports();
    Stage stage;
    stage.press(3, 'b');

    EXPECT_FALSE(Transport(scenario, stage, {1, false}).play());

    EXPECT_EQ(stage.sent,
              (Lines{"100 " + hover_100, "200 " + down_200, "300 " + down_300, "300 " + lift_300,
                     "300 " + hover_100, "300 " + down_200}));
    EXPECT_EQ(stage.shown.back(), "200 paused");
}

TEST(ATransport, StaysAtTheEndForTheKeysThatGoBack)
{
    const boardsim::Scenario scenario = four_reports();
    Stage stage;
    stage.press(4, 'b');

    EXPECT_FALSE(Transport(scenario, stage, {1, false, true}).play()) << "it stays paused";

    EXPECT_EQ(stage.shown, (Lines{"100", "200", "300", "400", "100", "200", "300 paused"}));
}

TEST(ATransport, GoesToATime)
{
    const boardsim::Scenario scenario = four_reports();
    Stage stage;
    stage.seconds = 0.0003;
    stage.press(1, 'g');

    EXPECT_FALSE(Transport(scenario, stage, {1, false}).play());

    EXPECT_EQ(stage.shown, (Lines{"100", "200", "300 paused"}));
}

TEST(ATransport, LiftsWhatIsDownBeforeItPlaysAgain)
{
    const boardsim::Scenario scenario = four_reports();
    Stage stage;
    stage.press(2, 'g'); // to the beginning
    stage.press(3, 'q');

    EXPECT_FALSE(Transport(scenario, stage, {1, false}).play());

    ASSERT_GE(stage.sent.size(), 3U);
    EXPECT_EQ(stage.sent[2], "200 " + lift_200);
}

TEST(ATransport, PlugsAsAtTheStartBeforeItPlaysAgain)
{
    const Reading reading =
        read("{\"type\":\"scenario\",\"version\":2}\n" + board_line + "{\"type\":\"unplug\",\"board\":1}\n");
    ASSERT_TRUE(reading.scenario);
    Stage stage;
    stage.press(2, 'q');

    EXPECT_FALSE(Transport(*reading.scenario, stage, {1, true}).play());

    EXPECT_EQ(stage.sent, (Lines{R"(0 {"type":"unplug","board":1})", R"(0 {"type":"plug","board":1})"}));
}

TEST(ATransport, PlaysOverAndOver)
{
    const boardsim::Scenario scenario = four_reports();
    Stage stage;
    stage.press(9, 'q');

    EXPECT_FALSE(Transport(scenario, stage, {0, true}).play());

    EXPECT_GE(stage.sent.size(), 8U);
}
