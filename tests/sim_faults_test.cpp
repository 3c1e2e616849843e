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
