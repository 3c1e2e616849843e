#include "move.h"
#include "support/scenarios.h"

#include "capture/contacts.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

using namespace boardsim;
using namespace scenario_testing;

namespace {

/// A move of five samples with one contact.
std::string move_line(const std::string &contact)
{
    return R"({"type":"move","board":1,"rate":5,"time":1000000,"contacts":[{)" + contact + "}]}\n";
}

/// The contact of a move: its kind with the fields that belong to it, and its path, 1000 units a sample.
const std::string line = R"("line":[[1000,900],[5000,900]])";
const std::string touch = R"("kind":"touch","id":0,"extent":1,)";
const std::string eraser = R"("kind":"erase","id":0,"width":1,"height":1,)";
const std::string pen = R"("kind":"pen","id":0,"tip":true,"button":true,)";

Move move_of(const std::string &contact)
{
    const Reading reading = read(version_line + board_line + move_line(contact));
    EXPECT_EQ(reading.error, "");
    return reading.scenario ? std::get<Move>(reading.scenario->steps.at(0)) : Move();
}

std::string text_of(const Bytes &report)
{
    capture::Report decoded;
    capture::decode(report.data(), report.size(), decoded);
    std::string text;
    for (const capture::Contact &contact : decoded.contacts) {
        text += std::string(text.empty() ? "" : " ") + (contact.down ? "" : "-") + std::to_string(contact.id)
            + (contact.button ? "b" : "") + "@" + std::to_string(contact.x) + "," + std::to_string(contact.y);
    }
    return text;
}

std::string text_of(const std::vector<Bytes> &reports)
{
    std::string text;
    for (const Bytes &report : reports)
        text += (text.empty() ? "" : " & ") + text_of(report);
    return text;
}

/// What the samples of a move and its lift report: each contact as identifier@x,y, with a minus if it is up,
/// and with a b behind the identifier while a pen's button is pressed.
std::string played(const std::string &contact)
{
    const Move move = move_of(contact);
    std::string text;
    for (std::int64_t sample = 0; sample < sampleCount(move); ++sample)
        text += text_of(sampleReports(move, sample)) + " | ";
    return text + text_of(liftReports(move));
}

template <typename Row> std::string name_of_row(const testing::TestParamInfo<Row> &row)
{
    return row.param.name;
}

} // namespace

struct PlayedRow
{
    const char *name;
    std::string contact;
    const char *reports;
};
class AFaultyContact : public testing::TestWithParam<PlayedRow>
{
};

TEST_P(AFaultyContact, IsReportedSo)
{
    EXPECT_EQ(played(GetParam().contact), GetParam().reports);
}

INSTANTIATE_TEST_SUITE_P(
    Curve, AFaultyContact,
    testing::Values(PlayedRow{"None", touch + line,
                              "0@1000,900 | 0@2000,900 | 0@3000,900 | 0@4000,900 | 0@5000,900 | -0@5000,900"},
                    PlayedRow{"OfNothing", touch + line + R"(,"curve":0)",
                              "0@1000,900 | 0@2000,900 | 0@3000,900 | 0@4000,900 | 0@5000,900 | -0@5000,900"},
                    PlayedRow{
                        "ToTheRight", touch + line + R"(,"curve":100)",
                        "0@1000,900 | 0@2000,975 | 0@3000,1000 | 0@4000,975 | 0@5000,900 | -0@5000,900"},
                    PlayedRow{"ToTheLeft", eraser + line + R"(,"curve":-100)",
                              "0@1000,900 | 0@2000,825 | 0@3000,800 | 0@4000,825 | 0@5000,900 | -0@5000,900"},
                    PlayedRow{"BeyondTheRange", touch + line + R"(,"curve":-65535)",
                              "0@1000,900 | 0@2000,0 | 0@3000,0 | 0@4000,0 | 0@5000,900 | -0@5000,900"},
                    PlayedRow{"OfNothingAtOnePoint", touch + R"("line":[[7,8]],"curve":0)",
                              "0@7,8 | 0@7,8 | 0@7,8 | 0@7,8 | 0@7,8 | -0@7,8"}),
    name_of_row<PlayedRow>);

INSTANTIATE_TEST_SUITE_P(
    Offset, AFaultyContact,
    testing::Values(
        PlayedRow{"OfAPen", pen + line + R"(,"offset":[-7,100])",
                  "0b@993,1000 | 0b@1993,1000 | 0b@2993,1000 | 0b@3993,1000 | 0b@4993,1000 | -0@4993,1000"},
        PlayedRow{"OfFractions", touch + R"("line":[[10,10]],"offset":[0.4,0.6])",
                  "0@10,11 | 0@10,11 | 0@10,11 | 0@10,11 | 0@10,11 | -0@10,11"},
        PlayedRow{"BeyondTheRange", eraser + line + R"(,"offset":[-2500,65535])",
                  "0@0,65535 | 0@0,65535 | 0@500,65535 | 0@1500,65535 | 0@2500,65535 | -0@2500,65535"},
        PlayedRow{"OfABentLine", touch + line + R"(,"offset":[1,2],"curve":100)",
                  "0@1001,902 | 0@2001,977 | 0@3001,1002 | 0@4001,977 | 0@5001,902 | -0@5001,902"}),
    name_of_row<PlayedRow>);

INSTANTIATE_TEST_SUITE_P(
    Dropouts, AFaultyContact,
    testing::Values(
        PlayedRow{"OfOneSample", touch + line + R"(,"dropouts":[{"after":0.25,"time":200000}])",
                  "0@1000,900 | 0@2000,900 | -0@2000,900 | 0@4000,900 | 0@5000,900 | -0@5000,900"},
        PlayedRow{"ShorterThanASample", touch + line + R"(,"dropouts":[{"after":0.25,"time":1}])",
                  "0@1000,900 | 0@2000,900 | -0@2000,900 | 0@4000,900 | 0@5000,900 | -0@5000,900"},
        PlayedRow{"OfTwoSamples", eraser + line + R"(,"dropouts":[{"after":0.25,"time":599999}])",
                  "0@1000,900 | 0@2000,900 | -0@2000,900 |  | 0@5000,900 | -0@5000,900"},
        PlayedRow{"OfAPenThatIsReportedInTheAir",
                  pen + line + R"(,"dropouts":[{"after":0.25,"time":400000}])",
                  "0b@1000,900 | 0b@2000,900 | -0b@3000,900 | -0b@4000,900 | 0b@5000,900 | -0@5000,900"},
        PlayedRow{"AtTheStart", touch + line + R"(,"dropouts":[{"after":0,"time":200000}])",
                  "0@1000,900 | -0@1000,900 | 0@3000,900 | 0@4000,900 | 0@5000,900 | -0@5000,900"},
        PlayedRow{"AtTheEnd", touch + line + R"(,"dropouts":[{"after":1,"time":200000}])",
                  "0@1000,900 | 0@2000,900 | 0@3000,900 | 0@4000,900 | -0@4000,900 | "},
        PlayedRow{"BeyondTheEnd", touch + line + R"(,"dropouts":[{"after":0.5,"time":1000000000000}])",
                  "0@1000,900 | 0@2000,900 | 0@3000,900 | -0@3000,900 |  | "},
        PlayedRow{"Twice",
                  touch + line + R"(,"dropouts":[{"after":0.5,"time":200000},{"after":0,"time":200000}])",
                  "0@1000,900 | -0@1000,900 | 0@3000,900 | -0@3000,900 | 0@5000,900 | -0@5000,900"},
        PlayedRow{"ThatOverlap",
                  touch + line + R"(,"dropouts":[{"after":0,"time":400000},{"after":0.25,"time":400000}])",
                  "0@1000,900 | -0@1000,900 |  |  | 0@5000,900 | -0@5000,900"},
        PlayedRow{"BesideAnotherTouch",
                  touch + line + R"(,"dropouts":[{"after":0.25,"time":400000}]},{)"
                      + R"("kind":"touch","id":1,"extent":1,"line":[[7,8]])",
                  "0@1000,900 1@7,8 | 0@2000,900 1@7,8 | -0@2000,900 1@7,8 | 1@7,8 | 0@5000,900 1@7,8 | "
                  "-0@5000,900 -1@7,8"}),
    name_of_row<PlayedRow>);

INSTANTIATE_TEST_SUITE_P(
    Swap, AFaultyContact,
    testing::Values(
        PlayedRow{"OfATouch", touch + line + R"(,"swap":{"after":0.5,"id":7})",
                  "0@1000,900 | 0@2000,900 | 0@3000,900 | -0@3000,900 7@4000,900 | 7@5000,900 | -7@5000,900"},
        PlayedRow{"AtTheStart", touch + line + R"(,"swap":{"after":0,"id":127})",
                  "0@1000,900 | -0@1000,900 127@2000,900 | 127@3000,900 | 127@4000,900 | 127@5000,900 | "
                  "-127@5000,900"},
        PlayedRow{"OfAnEraserAtTheEnd", eraser + line + R"(,"swap":{"after":1,"id":7})",
                  "0@1000,900 | 0@2000,900 | 0@3000,900 | 0@4000,900 | -0@4000,900 7@5000,900 | -7@5000,900"},
        PlayedRow{"WithADropout",
                  touch + line + R"(,"swap":{"after":0.25,"id":7},"dropouts":[{"after":0.25,"time":400000}])",
                  "0@1000,900 | 0@2000,900 | -0@2000,900 |  | 7@5000,900 | -7@5000,900"},
        PlayedRow{"InADropout",
                  touch + line + R"(,"swap":{"after":0.5,"id":7},"dropouts":[{"after":0.25,"time":400000}])",
                  "0@1000,900 | 0@2000,900 | -0@2000,900 |  | 7@5000,900 | -7@5000,900"},
        PlayedRow{"ThatKeepsTheNoise",
                  touch + R"("line":[[16000,16000]],"noise":100,"swap":{"after":0.5,"id":7})",
                  "0@16110,16005 | 0@15980,16029 | 0@16201,15876 | -0@16201,15876 7@15883,16004 | "
                  "7@16129,15840 | -7@16129,15840"}),
    name_of_row<PlayedRow>);

TEST(AMoveOfOneSample, NeitherDropsOutNorChangesItsIdentifier)
{
    Move move =
        move_of(touch + line + R"(,"swap":{"after":0.5,"id":7},"dropouts":[{"after":0,"time":400000}])");
    move.time = 0;

    EXPECT_EQ(text_of(sampleReports(move, 0)), "0@5000,900");
    EXPECT_EQ(text_of(liftReports(move)), "-0@5000,900");
}

TEST(AMoveOfElevenDays, MayDropOutAllTheTime)
{
    Move move = move_of(touch + line + R"(,"dropouts":[{"after":0.5,"time":1000000000000}])");
    move.rate = 1'000'000;
    move.time = longestTime;

    EXPECT_EQ(text_of(sampleReports(move, 500'000'000'000)), "0@3000,900");
    EXPECT_EQ(text_of(sampleReports(move, 500'000'000'001)), "-0@3000,900");
    EXPECT_EQ(text_of(sampleReports(move, 999'999'999'999)), "");
}

// The places are those of SplitMix64 and the Box-Muller transform.
const std::string rest = R"("line":[[16000,16000]],"noise":100)";
INSTANTIATE_TEST_SUITE_P(
    Noise, AFaultyContact,
    testing::Values(PlayedRow{"OfNothing", touch + R"("line":[[7,8]],"noise":0,"seed":5)",
                              "0@7,8 | 0@7,8 | 0@7,8 | 0@7,8 | 0@7,8 | -0@7,8"},
                    PlayedRow{"WithoutASeed", touch + rest,
                              "0@16110,16005 | 0@15980,16029 | 0@16201,15876 | 0@15883,16004 | "
                              "0@16129,15840 | -0@16129,15840"},
                    PlayedRow{"WithTheSeedThatIsMeant", touch + rest + R"(,"seed":1)",
                              "0@16110,16005 | 0@15980,16029 | 0@16201,15876 | 0@15883,16004 | "
                              "0@16129,15840 | -0@16129,15840"},
                    PlayedRow{"WithTheLowestSeed", touch + rest + R"(,"seed":0)",
                              "0@16009,16021 | 0@16052,16094 | 0@16024,16069 | 0@15902,15945 | "
                              "0@16179,15837 | -0@16179,15837"},
                    PlayedRow{"WithTheHighestSeed", touch + rest + R"(,"seed":4294967295)",
                              "0@15999,15928 | 0@16135,16138 | 0@16052,15954 | 0@15999,15985 | "
                              "0@16087,15952 | -0@16087,15952"},
                    PlayedRow{"OfAPen", pen + rest,
                              "0b@15861,15943 | 0b@15933,15981 | 0b@16095,15926 | 0b@15792,16041 | "
                              "0b@16032,16100 | -0@16032,16100"},
                    PlayedRow{"OfAnEraser", eraser + rest,
                              "0@16029,16084 | 0@15888,15891 | 0@16112,16040 | 0@15964,15972 | "
                              "0@16043,15995 | -0@16043,15995"},
                    PlayedRow{"OfAnotherIdentifier", R"("kind":"touch","id":1,"extent":1,)" + rest,
                              "1@16055,16020 | 1@15969,16093 | 1@16014,16031 | 1@16095,15788 | "
                              "1@16129,15944 | -1@16129,15944"}),
    name_of_row<PlayedRow>);

struct FaultRow
{
    const char *name;
    std::string contact;
    const char *cause;
};
class AWrongFault : public testing::TestWithParam<FaultRow>
{
};

TEST_P(AWrongFault, IsRefusedWithItsLineAndCause)
{
    const Reading reading = read(version_line + board_line + move_line(GetParam().contact));

    EXPECT_FALSE(reading.scenario);
    EXPECT_EQ(reading.error, std::string("play.jsonl:3: ") + GetParam().cause);
}

INSTANTIATE_TEST_SUITE_P(
    Curve, AWrongFault,
    testing::Values(FaultRow{"NoNumber", touch + line + R"(,"curve":[1])",
                             "\"curve\" is not a number from -65535 to 65535"},
                    FaultRow{"OutOfRange", touch + line + R"(,"curve":-65536)",
                             "\"curve\" is not a number from -65535 to 65535"},
                    FaultRow{"OfACircle",
                             touch + R"("circle":{"centre":[5,5],"radius":[1,1],"from":0,"to":1},"curve":1)",
                             "unknown field \"curve\""},
                    FaultRow{"OfOnePoint", touch + R"("line":[[1,1]],"curve":1)",
                             "\"curve\" needs a line whose ends differ"},
                    FaultRow{"OfALineThatReturns", touch + R"("line":[[1,1],[9,9],[1,1]],"curve":1)",
                             "\"curve\" needs a line whose ends differ"}),
    name_of_row<FaultRow>);

INSTANTIATE_TEST_SUITE_P(Offset, AWrongFault,
                         testing::Values(FaultRow{"NoPair", touch + line + R"(,"offset":5)",
                                                  "\"offset\" is not a pair of numbers from -65535 to 65535"},
                                         FaultRow{"OfThreeNumbers", touch + line + R"(,"offset":[1,2,3])",
                                                  "\"offset\" is not a pair of numbers from -65535 to 65535"},
                                         FaultRow{"OutOfRange", pen + line + R"(,"offset":[0,-65535.5])",
                                                  "\"offset\" is not a pair of numbers from -65535 to 65535"},
                                         FaultRow{
                                             "NoNumbers", touch + line + R"(,"offset":[0,"1"])",
                                             "\"offset\" is not a pair of numbers from -65535 to 65535"}),
                         name_of_row<FaultRow>);

INSTANTIATE_TEST_SUITE_P(
    Noise, AWrongFault,
    testing::Values(
        FaultRow{"Negative", touch + line + R"(,"noise":-1)", "\"noise\" is not a number from 0 to 65535"},
        FaultRow{"OutOfRange", eraser + line + R"(,"noise":65535.5)",
                 "\"noise\" is not a number from 0 to 65535"},
        FaultRow{"NoNumber", pen + line + R"(,"noise":true)", "\"noise\" is not a number from 0 to 65535"},
        FaultRow{"SeedIsNotWhole", touch + line + R"(,"noise":1,"seed":1.5)",
                 "\"seed\" is not a whole number from 0 to 4294967295"},
        FaultRow{"SeedOutOfRange", touch + line + R"(,"noise":1,"seed":4294967296)",
                 "\"seed\" is not a whole number from 0 to 4294967295"},
        FaultRow{"SeedAlone", touch + line + R"(,"seed":1)", "\"seed\" needs \"noise\""}),
    name_of_row<FaultRow>);

INSTANTIATE_TEST_SUITE_P(
    Dropouts, AWrongFault,
    testing::Values(
        FaultRow{"NoList", touch + line + R"(,"dropouts":{"after":0.5,"time":1})",
                 "\"dropouts\" is not a list with 1 or more items"},
        FaultRow{"None", touch + line + R"(,"dropouts":[])",
                 "\"dropouts\" is not a list with 1 or more items"},
        FaultRow{"NoObject", touch + line + R"(,"dropouts":[0.5])", "not a JSON object"},
        FaultRow{"WithoutAPlace", touch + line + R"(,"dropouts":[{"time":1}])", "field \"after\" is missing"},
        FaultRow{"WithoutATime", touch + line + R"(,"dropouts":[{"after":0.5}])",
                 "field \"time\" is missing"},
        FaultRow{"AfterTheEnd", touch + line + R"(,"dropouts":[{"after":1.01,"time":1}])",
                 "\"after\" is not a number from 0 to 1"},
        FaultRow{"BeforeTheStart", pen + line + R"(,"dropouts":[{"after":-0.01,"time":1}])",
                 "\"after\" is not a number from 0 to 1"},
        FaultRow{"OfNoTime", eraser + line + R"(,"dropouts":[{"after":0.5,"time":0}])",
                 "\"time\" is not a whole number from 1 to 1000000000000"},
        FaultRow{"OfTooLongATime", touch + line + R"(,"dropouts":[{"after":0.5,"time":1000000000001}])",
                 "\"time\" is not a whole number from 1 to 1000000000000"},
        FaultRow{"WithAnUnknownField", touch + line + R"(,"dropouts":[{"after":0.5,"time":1,"at":1}])",
                 "unknown field \"at\""},
        FaultRow{"OfAPenInTheAir",
                 R"("kind":"pen","id":0,"tip":false,"button":false,)" + line
                     + R"(,"dropouts":[{"after":0.5,"time":1}])",
                 "\"dropouts\" of a pen need its \"tip\" to be true"}),
    name_of_row<FaultRow>);

INSTANTIATE_TEST_SUITE_P(
    Swap, AWrongFault,
    testing::Values(
        FaultRow{"NoObject", touch + line + R"(,"swap":7)", "\"swap\" is not a JSON object"},
        FaultRow{"WithoutAPlace", touch + line + R"(,"swap":{"id":7})", "field \"after\" is missing"},
        FaultRow{"WithoutAnIdentifier", touch + line + R"(,"swap":{"after":0.5})", "field \"id\" is missing"},
        FaultRow{"AfterTheEnd", eraser + line + R"(,"swap":{"after":2,"id":7})",
                 "\"after\" is not a number from 0 to 1"},
        FaultRow{"IdentifierOutOfRange", touch + line + R"(,"swap":{"after":0.5,"id":128})",
                 "\"id\" is not a whole number from 0 to 127"},
        FaultRow{"ToItsOwnIdentifier", touch + line + R"(,"swap":{"after":0.5,"id":0})",
                 "\"swap\" needs another \"id\" than the contact's"},
        FaultRow{"WithAnUnknownField", touch + line + R"(,"swap":{"after":0.5,"id":7,"time":1})",
                 "unknown field \"time\""},
        FaultRow{"OfAPen", pen + line + R"(,"swap":{"after":0.5,"id":7})", "unknown field \"swap\""}),
    name_of_row<FaultRow>);
