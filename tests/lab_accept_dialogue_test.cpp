#include "accept/dialogue.h"
#include "accept/outcome.h"

#include "support/technician.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

using namespace acceptance;

namespace {

const Frame frame{{0, 0, 1920, 1080}, {0, 20, 1920, 1060}};
const Technician person{frame};

/// What happens during a dialogue, one after the other.
struct Happening
{
    bool isTyped = false;
    std::string what; ///< the line that is typed, or lines of a scenario
};

Happening types(const std::string &line)
{
    return {true, line};
}

Happening does(const std::string &lines)
{
    return {false, lines};
}

/// A room in which things happen as soon as the dialogue waits for them. When all has happened, the program
/// has ended.
class Script : public Dialogue::Room
{
public:
    explicit Script(const std::vector<Happening> &happenings)
        : m_happenings(happenings.begin(), happenings.end())
    {
    }

    Setting setting() override { return {frame, 0, 0}; }
    void say(const std::string &line) override { said += line + "\n"; }
    void ring() override { ++rings; }
    void note(const std::string &text) override { notes.push_back(text); }
    Event await(Seen &seen) override
    {
        if (m_happenings.empty())
            return Event::ended;
        const Happening next = m_happenings.front();
        m_happenings.pop_front();
        if (!next.isTyped) {
            show(next.what, seen);
            return Event::reported;
        }
        m_typed = next.what;
        return Event::typed;
    }
    const std::string &typed() const override { return m_typed; }

    /// How often the dialogue has said something with these words.
    int count(const std::string &words) const
    {
        int found = 0;
        for (std::size_t at = 0; (at = said.find(words, at)) != std::string::npos; ++at)
            ++found;
        return found;
    }

    std::string said;
    int rings = 0;
    std::vector<std::string> notes;

private:
    std::deque<Happening> m_happenings;
    std::string m_typed;
};

const Happening enter = types("");

/// All steps as they should be.
std::vector<Happening> rightSteps()
{
    return {
        does(person.rest()),
        enter,
        does(person.tapTargets()),
        enter,
        does(person.follow(barCourses(frame))),
        enter,
        does(person.follow(gridCourses(frame))),
        enter,
        does(person.follow(diagonalCourses(frame))),
        enter,
        does(person.putFingers(10)),
        enter,
        does(person.drum()),
        enter,
        does(person.write(0, {{5000, 5000}, {9000, 9000}})),
        enter, // nobody else knows which pen was the last
        enter,
        does(person.wipe({{5000, 5000}, {20000, 5000}})),
        enter,
        does(person.replug() + person.tap({5000, 5000})),
        enter,
    };
}

std::string results(const Outcome &outcome)
{
    std::string text;
    for (const StepOutcome &step : outcome.steps)
        text += nameOf(step.result)[0];
    return text;
}

} // namespace

TEST(ADialogue, LeadsToAVerdictWhenAllIsRight)
{
    Script script(rightSteps());

    const Outcome outcome = Dialogue(script).run();

    EXPECT_EQ(results(outcome), "rrrrrrrrrr") << script.said;
    EXPECT_EQ(outcome.verdict(), Result::right);
    EXPECT_EQ(verdictText(outcome, true), "Accepted: all 10 steps are right.");
    EXPECT_EQ(verdictText(outcome, false),
              "Not accepted: all 10 steps are right, limits of the profile are not kept.");
    EXPECT_EQ(script.count("  Right."), 10);
    EXPECT_EQ(script.count("Two fingers in turn: right\n"), 1);
    EXPECT_EQ(script.count("Step 10 of 10: Unplugging\n"), 1);
    EXPECT_EQ(script.rings, 9) << "whoever presses Enter to end a step looks at the terminal";
    ASSERT_EQ(script.notes.size(), 20U);
    EXPECT_EQ(script.notes[0], "accept: rest begins");
    EXPECT_EQ(script.notes[19], "accept: plugging ends");
}

TEST(ADialogue, TellsWhatToDoAndWhatItSaw)
{
    Script script({does(person.rest(3)), enter});

    Dialogue(script).run();

    EXPECT_EQ(script.count("Step 1 of 10: One finger rests\n  Press H in the window"), 1);
    EXPECT_EQ(script.count("Rest one finger in the middle of the board for five seconds"), 1);
    EXPECT_EQ(script.count("  One finger for 3.0 s"), 1);
    EXPECT_EQ(script.count("  NOT RIGHT: The finger was not there for five seconds."), 1);
    EXPECT_EQ(script.count("r: repeat, Enter: leave it so"), 1);
}

struct Row
{
    const char *name;
    std::vector<Happening> happenings;
    const char *results; ///< the first letters
    int firstTries;      ///< at the first step
    const char *verdict;
};

class Answers : public testing::TestWithParam<Row>
{
};

TEST_P(Answers, LeadOn)
{
    Script script(GetParam().happenings);

    const Outcome outcome = Dialogue(script).run();

    EXPECT_EQ(results(outcome), GetParam().results) << script.said;
    EXPECT_EQ(outcome.steps[0].tries, GetParam().firstTries);
    EXPECT_EQ(verdictText(outcome, true), GetParam().verdict);
}

INSTANTIATE_TEST_SUITE_P(
    Dialogue, Answers,
    testing::Values(Row{"Nothing", {}, "ssssssssss", 1, "Not complete: 10 of 10 steps were skipped."},
                    Row{"QuitAtOnce",
                        {types("q"), does(person.rest())},
                        "ssssssssss",
                        1,
                        "Not complete: 10 of 10 steps were skipped."},
                    Row{"QuitBehindAStep",
                        {does(person.rest()), types("q"), enter},
                        "rsssssssss",
                        1,
                        "Not complete: 9 of 10 steps were skipped."},
                    Row{"SkippedBefore",
                        {types("s"), does(person.tapTargets()), enter},
                        "srssssssss",
                        1,
                        "Not complete: 9 of 10 steps were skipped."},
                    Row{"SkippedBehind",
                        {does(person.rest()), types("s")},
                        "ssssssssss",
                        1,
                        "Not complete: 10 of 10 steps were skipped."},
                    Row{"WrongAndLeftSo",
                        {does(person.rest(2)), enter, enter},
                        "wsssssssss",
                        1,
                        "Not accepted: 1 of 10 steps are not right, 9 of 10 steps were skipped."},
                    Row{"Repeated",
                        {does(person.rest(2)), enter, types("r"), does(person.rest()), enter},
                        "rsssssssss",
                        2,
                        "Not complete: 9 of 10 steps were skipped."},
                    Row{"BegunAgain",
                        {does(person.rest(2)), types("r"), does(person.rest()), enter},
                        "rsssssssss",
                        2,
                        "Not complete: 9 of 10 steps were skipped."},
                    Row{"RepeatedAndSkipped",
                        {does(person.rest()), types("r"), types("s")},
                        "ssssssssss",
                        2,
                        "Not complete: 10 of 10 steps were skipped."},
                    Row{"RepeatedAndQuit",
                        {does(person.rest(2)), enter, types("r"), types("q")},
                        "ssssssssss",
                        2,
                        "Not complete: 10 of 10 steps were skipped."},
                    Row{"Mistyped",
                        {types("x"), does(person.rest()), types("yes"), enter},
                        "rsssssssss",
                        1,
                        "Not complete: 9 of 10 steps were skipped."}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(ADialogue, DoesNotCountWhatHappensBetweenTwoSteps)
{
    Script script(
        {does(person.rest()), does(person.tap({100, 100})), enter, does(person.tapTargets()), enter});

    const Outcome outcome = Dialogue(script).run();

    EXPECT_EQ(results(outcome), "rrssssssss");
    EXPECT_EQ(script.count("24 of 24 targets tapped, 24 taps in all."), 1);
}

TEST(AnOutcome, IsToldAsJson)
{
    const Technician shifted{frame, [](const Place &place) { return Place{place.x + 500, place.y}; }};
    Script script({does(person.rest()), enter, does(shifted.tapTargets()), enter});
    const Outcome outcome = Dialogue(script).run();

    const auto json = jsonOf(outcome);

    EXPECT_EQ(json["verdict"], "wrong");
    EXPECT_EQ(json["unit"], "px");
    EXPECT_EQ(json["right"], 1);
    EXPECT_EQ(json["wrong"], 1);
    EXPECT_EQ(json["skipped"], 8);
    ASSERT_EQ(json["steps"].size(), 10U);
    EXPECT_EQ(json["steps"][0]["key"], "rest");
    EXPECT_EQ(json["steps"][0]["result"], "right");
    EXPECT_EQ(json["steps"][0]["tries"], 1);
    EXPECT_NEAR(json["steps"][1]["figures"]["offset_x"].get<double>(), 500.0 / 32768 * 1920, 0.1);
    EXPECT_EQ(json["steps"][2]["result"], "skipped");
    EXPECT_EQ(json["targets"]["advice"], "calibrate");
    ASSERT_EQ(json["targets"]["touched"].size(), 24U);
    const auto &first = json["targets"]["touched"][0];
    EXPECT_EQ(first["name"], "size 1, top left");
    EXPECT_NEAR(first["at"][0].get<double>() - first["target"][0].get<double>(), 500, 1);
    EXPECT_TRUE(json["targets"]["missed"].empty());
}

TEST(AnOutcome, SaysNothingOfTargetsThatWereSkipped)
{
    Script script({});

    EXPECT_FALSE(jsonOf(Dialogue(script).run()).contains("targets"));
}
