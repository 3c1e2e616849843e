#include "support/scenarios.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

using namespace boardsim;
using namespace scenario_testing;

// What is wrong with the third line, behind the version line and board 1.
using RefusalRow = std::array<const char *, 3>; // name, line, cause
class AWrongLine : public testing::TestWithParam<RefusalRow>
{
};

TEST_P(AWrongLine, IsRefusedWithItsNumberAndCause)
{
    const Reading reading =
        read(version_line + board_line + GetParam()[1] + "\n{\"type\":\"mark\",\"text\":\"\"}\n");

    EXPECT_FALSE(reading.scenario);
    EXPECT_EQ(reading.error, std::string("play.jsonl:3: ") + GetParam()[2]);
}

INSTANTIATE_TEST_SUITE_P(
    Json, AWrongLine,
    testing::Values(
        RefusalRow{"NoJson", "mark", "not valid JSON at column 1"},
        RefusalRow{"OpenObject", R"({"type":"end")", "not valid JSON at column 14"},
        RefusalRow{"TwoObjects", R"({"type":"end"}{})", "not valid JSON at column 15"},
        RefusalRow{"NoUtf8", "{\"type\":\"mark\",\"text\":\"\xff\"}", "not valid JSON at column 24"},
        RefusalRow{"AHugeNumber", R"({"type":"wait","time":1e993})", "holds a number that is too large"},
        RefusalRow{"AList", "[1]", "not a JSON object"}, RefusalRow{"ANumber", "1", "not a JSON object"}),
    row_name);

INSTANTIATE_TEST_SUITE_P(
    Fields, AWrongLine,
    testing::Values(
        RefusalRow{"NoType", "{}", "field \"type\" is missing"},
        RefusalRow{"TypeIsNoText", R"({"type":1})", "\"type\" is not a text"},
        RefusalRow{"UnknownType", R"({"type":"dance"})", "unknown type \"dance\""},
        RefusalRow{"ASecondFirstLine", R"({"type":"scenario","version":1})", "unknown type \"scenario\""},
        RefusalRow{"MissingField", R"({"type":"mark"})", "field \"text\" is missing"},
        RefusalRow{"UnknownField", R"({"type":"mark","text":"","colour":1})", "unknown field \"colour\""},
        RefusalRow{"UnknownFieldWithANewline", R"({"type":"mark","text":"","a\nb":1})",
                   "unknown field \"a?b\""},
        RefusalRow{"KeyTwice", R"({"type":"wait","time":1,"time":2})", "field \"time\" stands twice"},
        RefusalRow{"KeyTwiceWithTheSameValue", R"({"type":"end","type":"end"})",
                   "field \"type\" stands twice"},
        RefusalRow{"KeyTwiceSpeltInTwoWays", R"({"type":"wait","time":1,"tim\u0065":1})",
                   "field \"time\" stands twice"},
        RefusalRow{"TwoKeysTwice", R"({"type":"wait","time":1,"time":1,"type":"wait"})",
                   "field \"time\" stands twice"},
        RefusalRow{"KeyTwiceInAnUnknownField", R"({"type":"end","a":[{"b":{"x":{},"x":{}}}]})",
                   "field \"x\" stands twice"},
        RefusalRow{"KeyWithANewlineTwice", R"({"type":"end","a\nb":1,"a\nb":1})",
                   "field \"a?b\" stands twice"},
        RefusalRow{"KeyTwiceInBrokenJson", R"({"type":"end","type":"end")", "not valid JSON at column 27"},
        RefusalRow{"TextIsNoText", R"({"type":"mark","text":7})", "\"text\" is not a text"},
        RefusalRow{"FlagIsNoFlag", R"({"type":"pen","board":1,"pen":0,"x":0,"y":0,"tip":1,"button":false})",
                   "\"tip\" is neither true nor false"},
        RefusalRow{"NumberIsNoNumber", R"({"type":"wait","time":"long"})",
                   "\"time\" is not a whole number from 0 to 1000000000000"},
        RefusalRow{"NumberIsNotWhole", R"({"type":"wait","time":1.5})",
                   "\"time\" is not a whole number from 0 to 1000000000000"},
        RefusalRow{"BoardNotDeclared", R"({"type":"plug","board":2})",
                   "board 2 is not declared by a device line above"},
        RefusalRow{"BoardDeclaredTwice", R"({"type":"device","kind":1,"board":1,"info":""})",
                   "board 1 is declared twice"},
        RefusalRow{"UnknownDeviceField", R"({"type":"device","kind":1,"board":2,"info":"","name":""})",
                   "unknown field \"name\""},
        RefusalRow{"WaitForNothing", R"({"type":"wait"})", "field \"time\" is missing"},
        RefusalRow{"WaitForTwoThings", R"({"type":"wait","time":1,"file":"x"})",
                   "either \"time\" or \"file\" says what to wait for"},
        RefusalRow{"EndWithoutRepeat", R"({"type":"end"})", "end without repeat"},
        RefusalRow{"RepeatWithoutEnd", R"({"type":"repeat"})", "repeat without end"}),
    row_name);

INSTANTIATE_TEST_SUITE_P(
    Ranges, AWrongLine,
    testing::Values(
        RefusalRow{"DeviceKind", R"({"type":"device","kind":2147483648,"board":2,"info":""})",
                   "\"kind\" is not a whole number from -2147483648 to 2147483647"},
        RefusalRow{"NegativeBoard", R"({"type":"device","kind":1,"board":-1,"info":""})",
                   "\"board\" is not a whole number from 0 to 2147483647"},
        RefusalRow{"BoardOfMoreThan63Bits", R"({"type":"unplug","board":18446744073709551615})",
                   "\"board\" is not a whole number from 0 to 2147483647"},
        RefusalRow{"Pen", R"({"type":"pen","board":1,"pen":16,"x":0,"y":0,"tip":true,"button":false})",
                   "\"pen\" is not a whole number from 0 to 15"},
        RefusalRow{"PenX", R"({"type":"pen","board":1,"pen":0,"x":65536,"y":0,"tip":true,"button":false})",
                   "\"x\" is not a whole number from 0 to 65535"},
        RefusalRow{"PenY", R"({"type":"pen","board":1,"pen":0,"x":0,"y":-1,"tip":true,"button":false})",
                   "\"y\" is not a whole number from 0 to 65535"},
        RefusalRow{"TouchId",
                   R"({"type":"touch","board":1,"contacts":[{"id":128,"x":0,"y":0,"extent":0,"down":true}]})",
                   "\"id\" is not a whole number from 0 to 127"},
        RefusalRow{
            "TouchExtent",
            R"({"type":"touch","board":1,"contacts":[{"id":0,"x":0,"y":0,"extent":65536,"down":true}]})",
            "\"extent\" is not a whole number from 0 to 65535"},
        RefusalRow{
            "EraseWidth",
            R"({"type":"erase","board":1,"contacts":[{"id":0,"x":0,"y":0,"width":65536,"height":0,"down":true}]})",
            "\"width\" is not a whole number from 0 to 65535"},
        RefusalRow{
            "EraseHeight",
            R"({"type":"erase","board":1,"contacts":[{"id":0,"x":0,"y":0,"width":0,"height":65536,"down":true}]})",
            "\"height\" is not a whole number from 0 to 65535"},
        RefusalRow{"Time", R"({"type":"wait","time":1000000000001})",
                   "\"time\" is not a whole number from 0 to 1000000000000"},
        RefusalRow{"Count", R"({"type":"repeat","count":0})",
                   "\"count\" is not a whole number from 1 to 1000000000000"}),
    row_name);

INSTANTIATE_TEST_SUITE_P(
    Bytes, AWrongLine,
    testing::Values(RefusalRow{"NoHexDigit", R"({"type":"raw","board":1,"hex":"0g"})",
                               "\"hex\" is not a row of bytes of two hexadecimal digits each"},
                    RefusalRow{"HalfAByte", R"({"type":"raw","board":1,"hex":"08 2"})",
                               "\"hex\" is not a row of bytes of two hexadecimal digits each"},
                    RefusalRow{"SplitByte", R"({"type":"raw","board":1,"hex":"0 8"})",
                               "\"hex\" is not a row of bytes of two hexadecimal digits each"}),
    row_name);

INSTANTIATE_TEST_SUITE_P(
    Contacts, AWrongLine,
    testing::Values(
        RefusalRow{"NoList", R"({"type":"touch","board":1,"contacts":{}})", "\"contacts\" is not a list"},
        RefusalRow{"NoObjectInTheList", R"({"type":"touch","board":1,"contacts":[1]})", "not a JSON object"},
        RefusalRow{
            "KeyTwiceInAContact",
            R"({"type":"touch","board":1,"contacts":[{"id":0,"x":0,"y":0,"extent":0,"down":true,"x":9}]})",
            "field \"x\" stands twice"},
        RefusalRow{"MissingTouchField", R"({"type":"touch","board":1,"contacts":[{"id":0}]})",
                   "field \"x\" is missing"},
        RefusalRow{
            "UnknownTouchField",
            R"({"type":"touch","board":1,"contacts":[{"id":0,"x":0,"y":0,"extent":0,"down":true,"z":0}]})",
            "unknown field \"z\""},
        RefusalRow{"UnknownEraseField",
                   R"({"type":"erase","board":1,"contacts":[)"
                   R"({"id":0,"x":0,"y":0,"width":0,"height":0,"extent":0,"down":true}]})",
                   "unknown field \"extent\""}),
    row_name);

INSTANTIATE_TEST_SUITE_P(
    Moves, AWrongLine,
    testing::Values(
        RefusalRow{"NoContacts", R"({"type":"move","board":1,"rate":1,"time":1,"contacts":[]})",
                   "\"contacts\" is not a list with 1 or more items"},
        RefusalRow{
            "NoRate",
            R"({"type":"move","board":1,"rate":0,"time":1,"contacts":[{"kind":"touch","id":0,"line":[[0,0]],"extent":0}]})",
            "\"rate\" is not a whole number from 1 to 1000000"},
        RefusalRow{
            "UnknownKind",
            R"({"type":"move","board":1,"rate":1,"time":1,"contacts":[{"kind":"foot","id":0,"line":[[0,0]]}]})",
            "unknown kind \"foot\""},
        RefusalRow{
            "PenOutOfRange",
            R"({"type":"move","board":1,"rate":1,"time":1,"contacts":[{"kind":"pen","id":16,"line":[[0,0]],"tip":true,"button":false}]})",
            "\"id\" is not a whole number from 0 to 15"},
        RefusalRow{
            "FieldOfAnotherKind",
            R"({"type":"move","board":1,"rate":1,"time":1,"contacts":[{"kind":"touch","id":0,"line":[[0,0]],"extent":0,"tip":true}]})",
            "unknown field \"tip\""},
        RefusalRow{
            "NoPath",
            R"({"type":"move","board":1,"rate":1,"time":1,"contacts":[{"kind":"touch","id":0,"extent":0}]})",
            "a moving contact needs either \"line\" or \"circle\""},
        RefusalRow{
            "LineWithoutPoints",
            R"({"type":"move","board":1,"rate":1,"time":1,"contacts":[{"kind":"touch","id":0,"line":[],"extent":0}]})",
            "\"line\" is not a list with 1 or more items"},
        RefusalRow{
            "PointOutOfRange",
            R"({"type":"move","board":1,"rate":1,"time":1,"contacts":[{"kind":"touch","id":0,"line":[[0,65535.5]],"extent":0}]})",
            "a point of \"line\" is not a pair of numbers from 0 to 65535"},
        RefusalRow{
            "PointOfThreeNumbers",
            R"({"type":"move","board":1,"rate":1,"time":1,"contacts":[{"kind":"touch","id":0,"line":[[0,0,0]],"extent":0}]})",
            "a point of \"line\" is not a pair of numbers from 0 to 65535"},
        RefusalRow{
            "CircleIsNoObject",
            R"({"type":"move","board":1,"rate":1,"time":1,"contacts":[{"kind":"touch","id":0,"circle":[],"extent":0}]})",
            "\"circle\" is not a JSON object"},
        RefusalRow{"CircleWithoutCentre",
                   R"({"type":"move","board":1,"rate":1,"time":1,"contacts":[)"
                   R"({"kind":"touch","id":0,"circle":{"radius":[1,1],"from":0,"to":360},"extent":0}]})",
                   "field \"centre\" is missing"},
        RefusalRow{
            "CentreIsNoPair",
            R"({"type":"move","board":1,"rate":1,"time":1,"contacts":[)"
            R"({"kind":"touch","id":0,"circle":{"centre":5,"radius":[1,1],"from":0,"to":360},"extent":0}]})",
            "\"centre\" is not a pair of numbers from 0 to 65535"},
        RefusalRow{
            "RadiusOutOfRange",
            R"({"type":"move","board":1,"rate":1,"time":1,"contacts":[)"
            R"({"kind":"touch","id":0,"circle":{"centre":[5,5],"radius":[1,-1],"from":0,"to":360},"extent":0}]})",
            "\"radius\" is not a pair of numbers from 0 to 65535"},
        RefusalRow{
            "CircleLeavesTheBoard",
            R"({"type":"move","board":1,"rate":1,"time":1,"contacts":[)"
            R"({"kind":"touch","id":0,"circle":{"centre":[5,5],"radius":[1,6],"from":0,"to":360},"extent":0}]})",
            "\"circle\" leaves the board's range of 0 to 65535"},
        RefusalRow{
            "TooManyTurns",
            R"({"type":"move","board":1,"rate":1,"time":1,"contacts":[)"
            R"({"kind":"touch","id":0,"circle":{"centre":[5,5],"radius":[1,1],"from":0,"to":36001},"extent":0}]})",
            "\"to\" is not a number from -36000 to 36000"},
        RefusalRow{
            "KeyTwiceInACircle",
            R"({"type":"move","board":1,"rate":1,"time":1,"contacts":[{"kind":"touch","id":0,"extent":0,)"
            R"("circle":{"centre":[5,5],"radius":[1,1],"from":0,"to":1,"from":0}}]})",
            "field \"from\" stands twice"},
        RefusalRow{
            "UnknownCircleField",
            R"({"type":"move","board":1,"rate":1,"time":1,"contacts":[)"
            R"({"kind":"touch","id":0,"circle":{"centre":[5,5],"radius":[1,1],"from":0,"to":1,"at":0},"extent":0}]})",
            "unknown field \"at\""}),
    row_name);

// What is wrong with a whole file.
using FileRow = std::array<const char *, 3>; // name, text, message
class AWrongFile : public testing::TestWithParam<FileRow>
{
};

TEST_P(AWrongFile, IsRefusedAtItsLine)
{
    const Reading reading = read(GetParam()[1]);

    EXPECT_FALSE(reading.scenario);
    EXPECT_EQ(reading.error, GetParam()[2]);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, AWrongFile,
    testing::Values(
        FileRow{"Empty", "", "play.jsonl:0: the scenario line is missing"},
        FileRow{"OnlyAComment", "# nothing\n", "play.jsonl:1: the scenario line is missing"},
        FileRow{"OtherFirstLine", "\n{\"type\":\"end\"}\n",
                "play.jsonl:2: the first line is not of type \"scenario\""},
        FileRow{"OtherVersion", "{\"type\":\"scenario\",\"version\":3}\n",
                "play.jsonl:1: version 3 is not known, only 1 and 2"},
        FileRow{"NoVersion", "{\"type\":\"scenario\"}\n", "play.jsonl:1: field \"version\" is missing"},
        FileRow{"OuterRepeatOpen",
                "{\"type\":\"scenario\",\"version\":1}\n{\"type\":\"repeat\"}\n{\"type\":\"repeat\"}\n"
                "{\"type\":\"end\"}\n",
                "play.jsonl:2: repeat without end"}),
    row_name);

TEST(AScenarioFile, IsNotReadFurtherThanALineOf64Kibibytes)
{
    const std::string limit(1 << 16, ' ');

    EXPECT_TRUE(read(limit + "\n" + version_line).scenario);
    EXPECT_EQ(read(limit + " \n" + version_line).error, "play.jsonl:1: longer than 65536 bytes");
}

TEST(AScenarioFile, IsRefusedAtANulByte)
{
    const std::string nul(1, '\0');

    EXPECT_EQ(read(version_line + R"({"type":"mark","text":""})" + nul + "}\n").error,
              "play.jsonl:2: not valid JSON at column 26");
    EXPECT_EQ(read(version_line + nul + "\n").error, "play.jsonl:2: not valid JSON at column 1");
}

TEST(AScenarioFile, MayNestAsDeepAsALineIsLong)
{
    const std::string brackets(1 << 15, '[');

    EXPECT_FALSE(read(version_line + brackets).scenario);
    EXPECT_FALSE(read(version_line + brackets + std::string(1 << 15, ']')).scenario);
}

TEST(ADeviceLine, HoldsWhatFitsTheDeviceRecord)
{
    const auto line = [](std::size_t length) {
        return R"({"type":"device","kind":1,"board":2,"info":")" + std::string(length, 'x') + "\"}";
    };

    EXPECT_TRUE(read(version_line + line(3770)).scenario);
    EXPECT_EQ(read(version_line + line(3771)).error, "play.jsonl:2: \"info\" is longer than 3770 bytes");
}

TEST(AScenarioFile, IsRefusedWhenItCannotBeOpened)
{
    std::string error;

    EXPECT_FALSE(readScenarioFile("/nowhere/play.jsonl", error));
    EXPECT_EQ(error, "/nowhere/play.jsonl:0: cannot be opened: No such file or directory");
}

TEST(AScenarioFile, IsRefusedAtOnceUnlessItIsARegularFile)
{
    const std::string pipe = testing::TempDir() + "boardsim-pipe-" + std::to_string(getpid());
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    // A test that opens the pipe does not end.
    for (const std::string &name : {std::string("/"), std::string("/dev/null"), pipe}) {
        std::string error;

        EXPECT_FALSE(readScenarioFile(name, error));
        EXPECT_EQ(error, name + ":0: not a regular file");
    }
    std::filesystem::remove(pipe);
}
