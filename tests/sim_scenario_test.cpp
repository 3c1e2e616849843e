#include "support/scenarios.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

using namespace boardsim;
using namespace scenario_testing;

namespace {

/// The only step of a scenario with board 1 and @p line.
template <typename Kind> Kind step(const std::string &line)
{
    const Reading reading = read(version_line + board_line + line);
    EXPECT_EQ(reading.error, "");
    if (!reading.scenario || reading.scenario->steps.size() != 1) {
        ADD_FAILURE() << "not one step: " << line;
        return {};
    }
    const Kind *const wanted = std::get_if<Kind>(&reading.scenario->steps.front());
    EXPECT_NE(wanted, nullptr) << "another kind of step: " << line;
    return wanted ? *wanted : Kind();
}

} // namespace

TEST(AScenario, MayHoldNothingButItsFirstLine)
{
    const Reading reading = read("{\"type\":\"scenario\",\"version\":1}");

    ASSERT_TRUE(reading.scenario);
    EXPECT_TRUE(reading.scenario->devices.empty());
    EXPECT_TRUE(reading.scenario->steps.empty());
}

TEST(AScenario, MayHoldBlankLinesAndCommentsAndWindowsLineEnds)
{
    const Reading reading =
        read("# a comment\r\n\n  \t# another\n{\"type\":\"scenario\",\"version\":1}\r\n\r\n"
             "{\"type\":\"mark\",\"text\":\"# no comment\"}\r\n");

    ASSERT_TRUE(reading.scenario) << reading.error;
    ASSERT_EQ(reading.scenario->steps.size(), 1u);
    EXPECT_EQ(std::get<Mark>(reading.scenario->steps[0]).text, "# no comment");
}

TEST(AScenario, ListsItsDevicesInFileOrder)
{
    const Reading reading =
        read(version_line + "{\"type\":\"device\",\"kind\":9,\"board\":7,\"info\":\"hid<true>\"}\n"
             + "{\"type\":\"device\",\"kind\":-1,\"board\":0,\"info\":\"\",\"plugged\":false}\n");

    ASSERT_TRUE(reading.scenario) << reading.error;
    ASSERT_EQ(reading.scenario->devices.size(), 2u);
    const Device &first = reading.scenario->devices[0];
    EXPECT_EQ(first.kind, 9);
    EXPECT_EQ(first.board, 7);
    EXPECT_EQ(first.info, "hid<true>");
    EXPECT_TRUE(first.plugged);
    const Device &second = reading.scenario->devices[1];
    EXPECT_EQ(second.kind, -1);
    EXPECT_EQ(second.board, 0);
    EXPECT_EQ(second.info, "");
    EXPECT_FALSE(second.plugged);
}

// The report of one line, byte by byte.
using ReportRow = std::array<const char *, 3>; // name, line, hexadecimal bytes
class AReportLine : public testing::TestWithParam<ReportRow>
{
};

TEST_P(AReportLine, GivesTheReportsBytes)
{
    const SendReport sent = step<SendReport>(GetParam()[1]);

    std::string hex;
    for (const std::uint8_t byte : sent.report) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02x ", byte);
        hex += digits;
    }
    EXPECT_EQ(sent.board, 1);
    EXPECT_EQ(hex, GetParam()[2]);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, AReportLine,
    testing::Values(
        ReportRow{"Raw", R"({"type":"raw","board":1,"hex":"08 21 00 34 12 78 56 0b"})",
                  "08 21 00 34 12 78 56 0b "},
        ReportRow{"RawWithoutSpacesAndInCapitals", R"({"type":"raw","board":1,"hex":"0821FFaB"})",
                  "08 21 ff ab "},
        ReportRow{"RawWithoutAByte", R"({"type":"raw","board":1,"hex":""})", ""},
        ReportRow{"Pen", R"({"type":"pen","board":1,"pen":1,"x":4660,"y":22136,"tip":true,"button":true})",
                  "08 21 00 34 12 78 56 0b "},
        ReportRow{
            "PenWithBit2",
            R"({"type":"pen","board":1,"pen":15,"x":0,"y":65535,"tip":false,"button":false,"bit2":true})",
            "08 21 00 00 00 ff ff 7c "},
        ReportRow{
            "Touch",
            R"({"type":"touch","board":1,"contacts":[{"id":5,"x":1,"y":258,"extent":65535,"down":true}]})",
            "00 45 85 01 00 02 01 ff ff "},
        ReportRow{"TouchWithTwo",
                  R"({"type":"touch","board":1,"contacts":[{"id":127,"x":0,"y":0,"extent":0,"down":false},)"
                  R"({"id":0,"x":0,"y":0,"extent":0,"down":true}]})",
                  "00 45 7f 00 00 00 00 00 00 80 00 00 00 00 00 00 "},
        ReportRow{"TouchWithNone", R"({"type":"touch","board":1,"contacts":[]})", "00 45 "},
        ReportRow{"Erase",
                  R"({"type":"erase","board":1,"contacts":[)"
                  R"({"id":2,"x":4660,"y":22136,"width":800,"height":1600,"down":true}]})",
                  "00 46 82 34 12 78 56 20 03 40 06 "}),
    row_name);

TEST(AMoveLine, HoldsEachKindOfContactWithItsPath)
{
    const Move move = step<Move>(
        R"({"type":"move","board":1,"rate":200,"time":1000000,"contacts":[)"
        R"({"kind":"pen","id":3,"line":[[0,0],[10.5,20]],"tip":true,"button":true,"bit2":true},)"
        R"({"kind":"touch","id":4,"circle":{"centre":[100,200],"radius":[30,40],"from":-90,"to":270},"extent":500},)"
        R"({"kind":"erase","id":5,"line":[[7,8]],"width":800,"height":1600}],"lift":false})");

    EXPECT_EQ(move.board, 1);
    EXPECT_EQ(move.rate, 200);
    EXPECT_EQ(move.time, 1000000);
    EXPECT_FALSE(move.lift);
    ASSERT_EQ(move.contacts.size(), 3u);
    const MovingContact &pen = move.contacts[0];
    EXPECT_EQ(pen.kind, MovingContact::Kind::pen);
    EXPECT_EQ(pen.id, 3);
    EXPECT_TRUE(pen.tip && pen.button && pen.bit2);
    EXPECT_DOUBLE_EQ(std::get<Line>(pen.path).points.back().x, 10.5);
    const MovingContact &touch = move.contacts[1];
    EXPECT_EQ(touch.kind, MovingContact::Kind::touch);
    EXPECT_EQ(touch.id, 4);
    EXPECT_EQ(touch.extent, 500);
    const Arc &arc = std::get<Arc>(touch.path);
    EXPECT_DOUBLE_EQ(arc.centre.x, 100);
    EXPECT_DOUBLE_EQ(arc.centre.y, 200);
    EXPECT_DOUBLE_EQ(arc.radius.x, 30);
    EXPECT_DOUBLE_EQ(arc.radius.y, 40);
    EXPECT_DOUBLE_EQ(arc.from, -90);
    EXPECT_DOUBLE_EQ(arc.to, 270);
    const MovingContact &eraser = move.contacts[2];
    EXPECT_EQ(eraser.kind, MovingContact::Kind::erase);
    EXPECT_EQ(eraser.id, 5);
    EXPECT_EQ(eraser.width, 800);
    EXPECT_EQ(eraser.height, 1600);
}

TEST(AMoveLine, LiftsUnlessToldOtherwise)
{
    const Move move = step<Move>(R"({"type":"move","board":1,"rate":1,"time":0,"contacts":[)"
                                 R"({"kind":"touch","id":0,"line":[[1,1]],"extent":1}]})");

    EXPECT_TRUE(move.lift);
}

TEST(AWaitLine, WaitsForATimeOrForAFile)
{
    EXPECT_EQ(step<WaitForTime>(R"({"type":"wait","time":500000})").time, 500000);
    EXPECT_EQ(step<WaitForFile>(R"({"type":"wait","file":"/tmp/go"})").path, "/tmp/go");
}

TEST(APlugLine, NamesItsBoard)
{
    const Plug plug = step<Plug>(R"({"type":"plug","board":1})");
    EXPECT_EQ(plug.board, 1);
    EXPECT_TRUE(plug.plugged);

    const Plug unplug = step<Plug>(R"({"type":"unplug","board":1})");
    EXPECT_EQ(unplug.board, 1);
    EXPECT_FALSE(unplug.plugged);
}

TEST(ARepeatLine, IsClosedByItsOwnEnd)
{
    const Reading reading =
        read(version_line + R"({"type":"repeat","count":3})" + "\n" + R"({"type":"repeat"})" + "\n"
             + R"({"type":"end"})" + "\n" + R"({"type":"end"})");

    ASSERT_TRUE(reading.scenario) << reading.error;
    const std::vector<Step> &steps = reading.scenario->steps;
    ASSERT_EQ(steps.size(), 4u);
    EXPECT_EQ(std::get<Repeat>(steps[0]).count, 3);
    EXPECT_EQ(std::get<Repeat>(steps[1]).count, std::nullopt);
    EXPECT_EQ(std::get<End>(steps[2]).repeat, 1u);
    EXPECT_EQ(std::get<End>(steps[3]).repeat, 0u);
}
