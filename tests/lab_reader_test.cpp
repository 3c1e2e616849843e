#include "capture/reader.h"

#include "support/scenarios.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

using capture::Line;
using Type = capture::Line::Type;

namespace {

const std::string first = "{\"type\":\"scenario\",\"version\":2}\n";
const std::string board = "{\"type\":\"device\",\"kind\":1,\"board\":7,\"info\":\"\"}\n";

/// A file in memory, and its reader.
class Reading
{
public:
    explicit Reading(const std::string &text) : m_file(memfd_create("recording", 0))
    {
        EXPECT_EQ(write(m_file, text.data(), text.size()), static_cast<ssize_t>(text.size()));
        lseek(m_file, 0, SEEK_SET);
        reader = std::make_unique<capture::Reader>(m_file, "a.jsonl");
    }
    ~Reading() { close(m_file); }
    Reading(const Reading &) = delete;
    Reading &operator=(const Reading &) = delete;

    std::unique_ptr<capture::Reader> reader;

private:
    const int m_file;
};

/// The third line, behind the first one and board 7.
struct Third
{
    explicit Third(const std::string &line) : reading(first + board + line + "\n")
    {
        EXPECT_TRUE(reading.reader->next());
        EXPECT_TRUE(reading.reader->next());
        isThere = reading.reader->next();
    }
    const Line &line() const { return reading.reader->line(); }

    Reading reading;
    bool isThere = false;
};

} // namespace

struct TypeRow
{
    const char *name;
    const char *line;
    Type type;
};

class ALineOfARecording : public testing::TestWithParam<TypeRow>
{
};

TEST_P(ALineOfARecording, HasItsType)
{
    const Third third(GetParam().line);

    ASSERT_TRUE(third.isThere) << third.reading.reader->error();
    EXPECT_EQ(third.line().type, GetParam().type);
    EXPECT_EQ(third.line().number, 3);
    EXPECT_EQ(third.line().text, GetParam().line);
}

INSTANTIATE_TEST_SUITE_P(
    , ALineOfARecording,
    testing::Values(
        TypeRow{"Raw", R"({"type":"raw","board":7,"hex":"0821"})", Type::report},
        TypeRow{"RawWithBlanks", R"( { "type":"raw", "board":7, "hex":"08 21" } )", Type::report},
        TypeRow{"RawWithAnUnknownField", R"({"type":"raw","board":7,"hex":"0821","new":[1,{}]})",
                Type::report},
        TypeRow{"Pen", R"({"type":"pen","board":7,"pen":0,"x":1,"y":1,"tip":true,"button":false})",
                Type::report},
        TypeRow{"Touch", R"({"type":"touch","board":7,"contacts":[]})", Type::report},
        TypeRow{"Erase", R"({"type":"erase","board":7,"contacts":[]})", Type::report},
        TypeRow{"Call", R"({"type":"call","export":"Attach"})", Type::call},
        TypeRow{"Handback", R"({"type":"handback","board":7,"hex":"0945"})", Type::handback},
        TypeRow{"HandbackToABoardThatIsNotDeclared", R"({"type":"handback","board":9,"hex":"0945"})",
                Type::handback},
        TypeRow{"HandbackWithItsMeaning",
                R"({"type":"handback","board":7,"hex":"0945","thread":5,"kind":"touch","contacts":[)"
                R"({"id":1,"x":2,"y":3,"down":true}]})",
                Type::handback},
        TypeRow{"HandbackWithAMeaningOfAnotherShape",
                R"({"type":"handback","board":7,"hex":"0945","contacts":[{"y":3}],"kind":null})",
                Type::handback},
        TypeRow{"Lost", R"({"type":"lost","count":1})", Type::lost},
        TypeRow{"Note", R"({"type":"note","text":"here"})", Type::note},
        TypeRow{"Mark", R"({"type":"mark","text":"here"})", Type::mark},
        TypeRow{"Device", R"({"type":"device","kind":2,"board":8,"info":""})", Type::device},
        TypeRow{"Unplug", R"({"type":"unplug","board":7})", Type::unplug},
        TypeRow{"Plug", R"({"type":"plug","board":7})", Type::plug},
        TypeRow{"End", R"({"type":"end","at":3})", Type::end},
        TypeRow{"Wait", R"({"type":"wait","time":3})", Type::other}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(AReport, HasItsBytesItsTimeAndTheTimeInsideTheCallback)
{
    const Third third(R"({"type":"raw","board":7,"at":12,"hex":"0821aF","inside":0.75})");

    ASSERT_TRUE(third.isThere);
    EXPECT_EQ(third.line().board, 7);
    EXPECT_EQ(third.line().bytes, (capture::Bytes{0x08, 0x21, 0xaf}));
    EXPECT_EQ(third.line().at, 12);
    EXPECT_EQ(third.line().inside, 0.75);
}

TEST(AReport, NeedHaveNoTimes)
{
    const Third third(R"({"type":"raw","board":7,"hex":""})");

    ASSERT_TRUE(third.isThere);
    EXPECT_EQ(third.line().at, std::nullopt);
    EXPECT_EQ(third.line().inside, std::nullopt);
    EXPECT_TRUE(third.line().bytes.empty());
}

TEST(AReport, WrittenInWordsHasItsBytesToo)
{
    const Third third(
        R"({"type":"pen","board":7,"at":12,"pen":1,"x":258,"y":772,"tip":true,"button":false,"inside":2})");

    ASSERT_TRUE(third.isThere);
    EXPECT_EQ(third.line().bytes, (capture::Bytes{8, 0x21, 0, 2, 1, 4, 3, 0x09}));
    EXPECT_EQ(third.line().at, 12);
    EXPECT_EQ(third.line().inside, 2);
}

struct FaultRow
{
    const char *name;
    const char *line;
};

class AWrongReport : public testing::TestWithParam<FaultRow>
{
};

TEST_P(AWrongReport, IsRefusedInTheWordsOfTheSimulatedBoard)
{
    const Third third(GetParam().line);
    std::string words = scenario_testing::read(first + board + GetParam().line + "\n").error;
    words.replace(0, words.find(':'), "a.jsonl");

    EXPECT_FALSE(third.isThere);
    EXPECT_EQ(third.reading.reader->error(), words);
    EXPECT_NE(words, "a.jsonl");
}

INSTANTIATE_TEST_SUITE_P(
    , AWrongReport,
    testing::Values(FaultRow{"OfABoardThatIsNotDeclared", R"({"type":"raw","board":9,"hex":"08"})"},
                    FaultRow{"WithoutABoard", R"({"type":"raw","hex":"08"})"},
                    FaultRow{"WithoutBytes", R"({"type":"raw","board":7})"},
                    FaultRow{"WithHalfAByte", R"({"type":"raw","board":7,"hex":"082"})"},
                    FaultRow{"WithALetter", R"({"type":"raw","board":7,"hex":"0x21"})"},
                    FaultRow{"WithATimeBelowZero", R"({"type":"raw","board":7,"hex":"08","at":-1})"},
                    FaultRow{"WithAFraction", R"({"type":"raw","board":7,"hex":"08","at":1.5})"},
                    FaultRow{"WithAFieldTwice", R"({"type":"raw","board":7,"hex":"08","board":7})"},
                    FaultRow{"WithAnUnknownFieldTwice", R"({"type":"raw","board":7,"hex":"08","a":1,"a":1})"},
                    FaultRow{"HandedBackWithAFieldTwice",
                             R"({"type":"handback","board":7,"hex":"08","thread":1,"thread":1})"},
                    FaultRow{"HandedBackAsNoKind",
                             R"({"type":"handback","board":7,"hex":"08","kind":&"touch"})"},
                    FaultRow{"HandedBackWithWrongContacts",
                             R"({"type":"handback","board":7,"hex":"08","contacts":[{"id":1 2}]})"},
                    FaultRow{"HandedBackWithAContactFieldTwice",
                             R"({"type":"handback","board":7,"hex":"08","contacts":[{"id":1,"id":1}]})"},
                    FaultRow{"WithMoreBehindIt", R"({"type":"raw","board":7,"hex":"08"} {})"},
                    FaultRow{"WithoutItsBrace", R"({"type":"raw","board":7,"hex":"08")"}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(ARecording, SkipsBlankLinesAndCommentsButCountsThem)
{
    Reading reading("\n# a comment\n" + first + "  \n" + board);

    ASSERT_TRUE(reading.reader->next());
    EXPECT_EQ(reading.reader->line().type, Type::first);
    EXPECT_EQ(reading.reader->line().number, 3);
    ASSERT_TRUE(reading.reader->next());
    EXPECT_EQ(reading.reader->line().number, 5);
    EXPECT_FALSE(reading.reader->next());
    EXPECT_EQ(reading.reader->error(), "");
}

TEST(ARecording, TellsTheEndOfABlockFromItsOwn)
{
    Reading reading(first + "{\"type\":\"repeat\"}\n{\"type\":\"end\"}\n{\"type\":\"end\"}\n");
    std::vector<Type> types;
    while (reading.reader->next())
        types.push_back(reading.reader->line().type);

    EXPECT_EQ(types, (std::vector<Type>{Type::first, Type::other, Type::other, Type::end}));
}

TEST(ARecording, OfTheFirstVersionHasNoTimes)
{
    Reading reading("{\"type\":\"scenario\",\"version\":1}\n" + board
                    + "{\"type\":\"raw\",\"board\":7,\"hex\":\"08\",\"at\":1}\n");
    while (reading.reader->next()) { }

    EXPECT_EQ(reading.reader->error(), "a.jsonl:3: unknown field \"at\"");
}

TEST(ARecording, MayHaveLinesAsLongAsItsBlocks)
{
    const std::string report = R"({"type":"raw", "board":7,"hex":")";
    const std::string longest = report + std::string((1 << 16) - report.size() - 2, '0') + "\"}";
    std::string lines = first + board;
    for (int i = 0; i < 20; ++i)
        lines += longest + "\n";
    Reading reading(lines);
    int reports = 0;
    while (reading.reader->next())
        reports += reading.reader->line().bytes.size() == (longest.size() - report.size() - 2) / 2 ? 1 : 0;

    EXPECT_EQ(reading.reader->error(), "");
    EXPECT_EQ(reports, 20);
    Reading longer(first + board + longest + " \n");
    while (longer.reader->next()) { }
    EXPECT_EQ(longer.reader->error(), "a.jsonl:3: longer than 65536 bytes");
}

TEST(ARecordingThatIsCutOff, IsReadUpToItsLastWholeLine)
{
    const std::string whole = first + board + R"({"type":"raw","board":7,"at":5,"hex":"0821"})" + "\n"
        + R"({"type":"note","text":"x"})" + "\n";
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        SCOPED_TRACE(length);
        const std::string cut = whole.substr(0, length);
        Reading reading(cut);
        int lines = 0;
        while (reading.reader->next())
            ++lines;
        const bool isWhole = cut.empty() || cut.back() == '\n' || cut.back() == '}';
        const auto begun =
            std::count(cut.begin(), cut.end(), '\n') + (cut.empty() || cut.back() == '\n' ? 0 : 1);
        const bool hasFirst = length >= first.size() - 1;
        EXPECT_EQ(lines, hasFirst ? begun - (isWhole ? 0 : 1) : 0);
        EXPECT_EQ(reading.reader->error().empty(), hasFirst);
        EXPECT_EQ(reading.reader->remark(),
                  isWhole || !hasFirst
                      ? ""
                      : "a.jsonl:" + std::to_string(begun) + ": cut off; read up to the line before");
    }
}

TEST(ARecording, ThatCannotBeReadIsRefused)
{
    capture::Reader reader(-1, "a.jsonl");

    EXPECT_FALSE(reader.next());
    EXPECT_EQ(reader.error(), "a.jsonl:0: cannot be read: Bad file descriptor");
}
