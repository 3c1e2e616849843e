#include "e2e/board_modes.h"
#include "e2e/program.h"
#include "support/heap.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

using Calls = std::vector<std::string>;

constexpr int usual_rounds = 5;
constexpr qint64 longest_wait_ms = 1000;
constexpr qint64 longest_wait_with_huge_contacts_ms = 2000;
constexpr int most_touches = 127; // beside the finger that the program hands back
constexpr int greatest_extent = 65535;
constexpr std::size_t phases = 4; // a program is ended after 1 to 4 bursts, so that not all ends are alike

/// How often each case is repeated; LANTERNIX_ROUNDS asks for another number.
int rounds()
{
    bool given = false;
    const int wanted = qEnvironmentVariableIntValue("LANTERNIX_ROUNDS", &given);
    return given ? wanted : usual_rounds;
}

const char *const hand_back = "SendTouchPacketToSystem";

/// A finger beside the screen, which the program hands back, so that the driver's log shows that the program
/// has got this far.
QStringList finger_beside_the_screen()
{
    const QString finger = R"({"type":"touch","board":7,"contacts":[{"id":127,"x":40000,"y":1000,"extent":9,)"
                           R"("down":%1}]})";
    return {finger.arg("true"), finger.arg("false")};
}

/// Touches beside each other, all of which move.
QStringList touches(int count, int extent)
{
    QStringList contacts;
    for (int id = 0; id < count; ++id) {
        contacts << QStringLiteral(R"({"kind":"touch","id":%1,"extent":%2,"circle":{"centre":[%3,12000],)"
                                   R"("radius":[1000,4000],"from":0,"to":360}})")
                        .arg(id)
                        .arg(extent)
                        .arg(3000 + 28000 * id / count);
    }
    return contacts;
}

QStringList ten_touches()
{
    return touches(10, 300);
}

QStringList one_pen()
{
    return {R"({"kind":"pen","id":0,"tip":true,"button":false,"line":[[3000,22000],[29000,22000]]})"};
}

QStringList two_pens_and_two_erasers()
{
    QStringList contacts;
    for (int id = 0; id < 2; ++id) {
        contacts << QStringLiteral(R"({"kind":"pen","id":%1,"tip":true,"button":false,)"
                                   R"("line":[[3000,%2],[29000,%2]]})")
                        .arg(id)
                        .arg(22000 + 2000 * id);
        contacts << QStringLiteral(R"({"kind":"erase","id":%1,"width":600,"height":900,)"
                                   R"("line":[[29000,%2],[3000,%2]]})")
                        .arg(id)
                        .arg(8000 + 8000 * id);
    }
    return contacts;
}

/// Contacts that never lift, @p rate samples a second with a report for all touches, one for all erasers and
/// one for each pen, and a finger beside the screen after every @p burst_us of them.
QStringList reports_without_end(int rate, const QStringList &contacts, int burst_us = 100'000)
{
    return SimulatedDriver::two_boards_and_a_hub()
        << SimulatedDriver::gate("go") << R"({"type":"repeat"})"
        << QStringLiteral(R"({"type":"move","board":7,"rate":%1,"time":%2,"lift":false,"contacts":[%3]})")
               .arg(rate)
               .arg(burst_us)
               .arg(contacts.join(','))
        << finger_beside_the_screen() << R"({"type":"end"})";
}

/// Four reports in each of @p rate samples a second.
QStringList everything_without_end(int rate)
{
    return reports_without_end(rate, ten_touches() + two_pens_and_two_erasers());
}

/// A program into which reports stream, on a desktop that all of a case's programs share.
class Closing
{
public:
    /// No end may take longer than @p longest_ms.
    explicit Closing(qint64 longest_ms = longest_wait_ms, QSize screen = Desktop::usual_size)
        : m_allowed_ms(longest_ms), m_desktop(std::make_shared<Desktop>(screen))
    {
    }

    /// @p end asks a program to end; @p problem returns what is wrong with one that has ended, if anything.
    template <typename End, typename Problem>
    void repeat(const char *name, const QStringList &scenario, End end, Problem problem)
    {
        const int wanted = rounds();
        ASSERT_GT(wanted, 0) << "LANTERNIX_ROUNDS is not a number of rounds";
        for (int round = 0; round < wanted; ++round) {
            SCOPED_TRACE("round " + std::to_string(round));
            Program program(m_desktop, scenario);
            ASSERT_TRUE(get_going(program, 1 + std::size_t(round) % phases)) << "no reports arrive";
            QElapsedTimer clock;
            clock.start();
            end(program);
            ASSERT_TRUE(program.has_ended());
            const qint64 taken_ms = clock.elapsed();
            m_longest_ms = std::max(m_longest_ms, taken_ms);
            m_shortest_ms = round == 0 ? taken_ms : std::min(m_shortest_ms, taken_ms);
            const std::string wrong = problem(program);
            EXPECT_EQ(wrong, "");
            m_failures += wrong.empty() ? 0 : 1;
        }
        // Other tests may keep the machine busy, so only scripts/closing checks the longest time.
        EXPECT_LT(m_shortest_ms, m_allowed_ms);
        std::printf("closing, %s: %d rounds, longest time to end %lld ms, %d failures\n", name, wanted,
                    m_longest_ms, m_failures);
    }

private:
    static bool get_going(Program &program, std::size_t bursts)
    {
        program.driver().open_gate("go"); // the window is there; contacts that start earlier go to the system
        return eventually([&] { return program.driver().calls(hand_back).size() > 2 * bursts; });
    }

    const qint64 m_allowed_ms;
    const std::shared_ptr<Desktop> m_desktop;
    qint64 m_longest_ms = 0;
    qint64 m_shortest_ms = 0;
    int m_failures = 0;
};

/// The last calls of the program, without the contacts that it handed back while it ended.
Calls last_calls(Program &program, std::size_t count)
{
    Calls calls = program.driver().call_texts();
    const auto is_hand_back = [](const std::string &call) { return call.rfind(hand_back, 0) == 0; };
    calls.erase(std::remove_if(calls.begin(), calls.end(), is_hand_back), calls.end());
    const std::size_t first = calls.size() - std::min(count, calls.size());
    return {calls.begin() + static_cast<std::ptrdiff_t>(first), calls.end()};
}

/// What is wrong with the end of a program, which was to have this exit status; empty if nothing is.
std::string problem_of_end(Program &program, int wanted_status)
{
    if (const int status = program.exit_status(); status != wanted_status)
        return "it ended with status " + std::to_string(status);
    const Calls wanted = calls_at_the_end();
    return last_calls(program, wanted.size()) == wanted ? "" : "other last calls of the driver";
}

struct Request
{
    const char *name;
    void (*ask)(Desktop &);
};

class ClosingWhileReportsStreamIn : public testing::TestWithParam<Request>
{
};

TEST_P(ClosingWhileReportsStreamIn, SwitchesTheReportsOffDetachesAndEndsWell)
{
    constexpr int rate = 500; // samples of four reports a second
    Closing().repeat(
        GetParam().name, everything_without_end(rate),
        [](Program &program) { GetParam().ask(program.desktop()); },
        [](Program &program) { return problem_of_end(program, 0); });
}

INSTANTIATE_TEST_SUITE_P(
    , ClosingWhileReportsStreamIn,
    testing::Values(Request{"ByEscape", [](Desktop &desktop) { desktop.press("Escape"); }},
                    Request{"ByTheWindowManager", [](Desktop &desktop) { desktop.close_window(); }}),
    [](const auto &row) { return row.param.name; });

struct Signal
{
    const char *name;
    int number;
};

class ASignalInAFloodOfReports : public testing::TestWithParam<Signal>
{
};

TEST_P(ASignalInAFloodOfReports, SwitchesTheReportsOffDetachesAndTellsItsNumber)
{
    // A background job of a shell ignores SIGINT, and its children inherit that.
    std::signal(GetParam().number, SIG_DFL);
    constexpr int rate = 20'000; // more than can be decoded: the driver's thread never waits by itself
    Closing().repeat(
        GetParam().name, everything_without_end(rate),
        [](Program &program) { program.send(GetParam().number); },
        [](Program &program) { return problem_of_end(program, 128 + GetParam().number); });
}

INSTANTIATE_TEST_SUITE_P(, ASignalInAFloodOfReports,
                         testing::Values(Signal{"SIGTERM", SIGTERM}, Signal{"SIGINT", SIGINT},
                                         Signal{"SIGHUP", SIGHUP}),
                         [](const auto &row) { return row.param.name; });

struct Flood
{
    const char *contacts;
    QStringList (*make_contacts)();
    int rate; ///< reports a second
};

std::string name_of(const Flood &flood)
{
    return flood.contacts + ("At" + std::to_string(flood.rate));
}

class EscapeInAFlood : public testing::TestWithParam<Flood>
{
};

TEST_P(EscapeInAFlood, SwitchesTheReportsOffDetachesAndEndsWell)
{
    const std::string name = "EscapeWith" + name_of(GetParam());
    Closing().repeat(
        name.c_str(), reports_without_end(GetParam().rate, GetParam().make_contacts()),
        [](Program &program) { program.desktop().press("Escape"); },
        [](Program &program) { return problem_of_end(program, 0); });
}

INSTANTIATE_TEST_SUITE_P(, EscapeInAFlood,
                         testing::Values(Flood{"Touches", ten_touches, 20'000},
                                         Flood{"Touches", ten_touches, 50'000},
                                         Flood{"Touches", ten_touches, 100'000},
                                         Flood{"APen", one_pen, 20'000}, Flood{"APen", one_pen, 50'000},
                                         Flood{"APen", one_pen, 100'000}),
                         [](const auto &row) { return name_of(row.param); });

struct HugeContacts
{
    int rate; ///< reports a second
    int extent;
};

class EscapeWithHugeContacts : public testing::TestWithParam<HugeContacts>
{
};

TEST_P(EscapeWithHugeContacts, SwitchesTheReportsOffDetachesAndEndsWell)
{
    const auto [rate, extent] = GetParam();
    const std::string name =
        "EscapeWithHugeContactsOf" + std::to_string(extent) + "At" + std::to_string(rate);
    // No more, since the program may take fewer than the driver would send: the finger is to come soon.
    const int ten_samples_us = 10'000'000 / rate;
    Closing(longest_wait_with_huge_contacts_ms, {1920, 1080})
        .repeat(
            name.c_str(), reports_without_end(rate, touches(most_touches, extent), ten_samples_us),
            [](Program &program) { program.desktop().press("Escape"); },
            [](Program &program) { return problem_of_end(program, 0); });
}

// The smaller ones do not cover the whole screen.
INSTANTIATE_TEST_SUITE_P(, EscapeWithHugeContacts,
                         testing::Values(HugeContacts{100, greatest_extent},
                                         HugeContacts{1'000, greatest_extent},
                                         HugeContacts{20'000, greatest_extent}, HugeContacts{1'000, 20'000}),
                         [](const auto &row) {
                             return "Of" + std::to_string(row.param.extent) + "At"
                                 + std::to_string(row.param.rate);
                         });

TEST(AFloodOfTouches, LeavesTheMemoryBounded)
{
    constexpr qint64 flood_ms = 2000;
    constexpr qint64 most_memory = 200'000'000; // bytes; a queue without an end takes more in this time
    Program program(reports_without_end(100'000, ten_touches()));
    program.driver().open_gate("go");
    ASSERT_TRUE(eventually([&] { return !program.driver().calls(hand_back).empty(); }));
    QElapsedTimer clock;
    clock.start();

    qint64 largest = 0;
    ASSERT_TRUE(eventually([&] {
        largest = std::max(largest, program.resident_memory());
        return clock.hasExpired(flood_ms);
    }));

    EXPECT_GT(largest, 0) << "the program has ended";
    EXPECT_LT(largest, most_memory + static_cast<qint64>(quarantine()));
}

TEST(AnXServerThatDies, LeavesTheBoardsSwitchedOffAndTheDriverDetached)
{
    Program program(everything_without_end(500));
    program.driver().open_gate("go");
    ASSERT_TRUE(eventually([&] { return !program.driver().calls(hand_back).empty(); }));

    program.desktop().kill_server();

    EXPECT_EQ(program.exit_status(), 1);
    EXPECT_NE(program.standard_error(), "") << "Qt says why";
    Calls wanted = calls_at_the_end();
    wanted.pop_back(); // the window, and with it the driver's binding, is not destroyed
    EXPECT_EQ(last_calls(program, wanted.size()), wanted);
}

} // namespace
