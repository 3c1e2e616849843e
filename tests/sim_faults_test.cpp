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
