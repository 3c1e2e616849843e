#include "e2e/board_modes.h"
#include "e2e/program.h"

#include <gtest/gtest.h>

namespace {

using Calls = std::vector<std::string>;

Calls operator+(Calls first, const Calls &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

const Calls enumeration{"Attach()",          "GetDeviceCount()",    "EnumDeviceInfo(0)",
                        "SetCallback(7)",    "SetXferMask(7, 255)", "EnumDeviceInfo(1)",
                        "EnumDeviceInfo(2)", "SetCallback(3)",      "SetXferMask(3, 255)"};

TEST(StartingTheProgram, CallsTheDriverInOrder)
{
    Program program(SimulatedDriver::two_boards_and_a_hub());

    EXPECT_EQ(program.driver().call_texts(),
              (Calls{"Attach()", "SetPnpCallback()"} + enumeration + modes_of_both_boards(true)
               + modes_of_both_boards(true)));
}

TEST(StartingTheProgram, MakesAWindowWithoutAlpha)
{
    Program program({});

    EXPECT_TRUE(program.desktop().window_is_as_deep_as_the_screen());
}

TEST(StartingTheProgram, LoadsNoOpenGl)
{
    Program program({});

    EXPECT_TRUE(program.maps("/platforms/libqxcb"));
    EXPECT_FALSE(program.maps("/xcbglintegrations/"));
}

TEST(PluggingABoard, EnumeratesAndConfiguresAgain)
{
    Program program(SimulatedDriver::two_boards_and_a_hub()
                    << SimulatedDriver::gate("go") << R"({"type":"plug","board":7})");
    program.driver().clear_calls();

    program.driver().open_gate("go");

    const Calls expected =
        Calls{"ClearCallback(7)", "ClearCallback(3)"} + enumeration + modes_of_both_boards(true);
    ASSERT_TRUE(eventually([&] { return program.driver().call_texts().size() >= expected.size(); }));
    EXPECT_EQ(program.driver().call_texts(), expected);
    const auto calls = program.driver().calls();
    EXPECT_NE(calls.front().thread, calls.back().thread)
        << "enumerated by the driver's thread, configured by ours";
}

struct Ending
{
    const char *name;
    void (*end)(Desktop &);
};

class EndingTheProgram : public testing::TestWithParam<Ending>
{
};

TEST_P(EndingTheProgram, SwitchesTheReportsOffAndDetaches)
{
    Program program(SimulatedDriver::two_boards_and_a_hub());
    program.driver().clear_calls();

    GetParam().end(program.desktop());

    EXPECT_EQ(program.exit_status(), 0);
    EXPECT_EQ(program.driver().call_texts(), calls_at_the_end());
    EXPECT_EQ(program.standard_output(), "Enumerated 3 devices.\n");
    EXPECT_EQ(program.standard_error(), "");
}

INSTANTIATE_TEST_SUITE_P(
    , EndingTheProgram,
    testing::Values(Ending{"ByEscape", [](Desktop &desktop) { desktop.press("Escape"); }},
                    Ending{"ByTheWindowManager", [](Desktop &desktop) { desktop.close_window(); }}),
    [](const auto &row) { return row.param.name; });

class EachEnumeration : public testing::TestWithParam<const char *>
{
};

TEST_P(EachEnumeration, IsToldOnStandardOutputInPlainDigits)
{
    QStringList scenario(R"({"type":"device","kind":1,"board":5000,"info":""})");
    for (int number = 0; number < 1000; ++number)
        scenario << QStringLiteral(R"({"type":"device","kind":9,"board":%1,"info":""})").arg(number);
    Program program(scenario << SimulatedDriver::gate("go") << R"({"type":"unplug","board":7})",
                    Program::Driver::simulated, GetParam());

    program.driver().open_gate("go");
    // The count is reported before the board is configured: twice at the start, and once now.
    ASSERT_TRUE(eventually([&] { return program.driver().calls("SetLATEDetection").size() == 3; }));
    program.desktop().press("Escape");

    EXPECT_EQ(program.exit_status(), 0);
    EXPECT_EQ(program.standard_output(), "Enumerated 1001 devices.\nEnumerated 1000 devices.\n");
}

INSTANTIATE_TEST_SUITE_P(Locale, EachEnumeration, testing::Values("C", "fr_FR.UTF-8"),
                         [](const auto &row) { return row.index == 0 ? "C" : "French"; });

TEST(WithoutTheDriver, TheProgramSaysSoAndRuns)
{
    Program program({}, Program::Driver::missing);

    EXPECT_FALSE(program.desktop().window_picture().isNull());
    program.desktop().press("Escape");

    EXPECT_EQ(program.exit_status(), 0);
    EXPECT_EQ(program.standard_error(),
              "libzorvicboardex.so.1: cannot open shared object file: No such file or directory");
    EXPECT_EQ(program.standard_output(), "");
    EXPECT_TRUE(program.driver().calls().empty());
}

struct Streams
{
    const char *name;
    const char *redirections;
    Program::Driver driver;
};

class WithClosedStreams : public testing::TestWithParam<Streams>
{
};

TEST_P(WithClosedStreams, TheProgramShowsItsWindowAndEndsAsUsual)
{
    Program program({}, GetParam().driver, "C", GetParam().redirections);

    EXPECT_FALSE(program.desktop().window_picture().isNull());
    program.desktop().press("Escape");

    EXPECT_EQ(program.exit_status(), 0);
}

// Without the driver the loader's message goes to standard error, whatever has its number.
INSTANTIATE_TEST_SUITE_P(, WithClosedStreams,
                         testing::Values(Streams{"Error", "2>&-", Program::Driver::missing},
                                         Streams{"Output", ">&-", Program::Driver::simulated},
                                         Streams{"All", "<&- >&- 2>&-", Program::Driver::missing}),
                         [](const auto &row) { return row.param.name; });

} // namespace
