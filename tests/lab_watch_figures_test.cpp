#include "commands/limits.h"
#include "commands/text.h"
#include "commands/watchtext.h"

#include "capture/lineparser.h"
#include "capture/lines.h"
#include "support/lab_lines.h"

#include <QList>

#include <gtest/gtest.h>

#include <chrono>
#include <clocale>
#include <string>

using namespace lab;
using namespace lab_testing;

namespace {

Figures figuresOf(const QByteArray &recording)
{
    Figures figures;
    capture::LineParser parser;
    std::int64_t number = 0;
    for (const QByteArray &text : recording.split('\n')) {
        std::string line = text.toStdString();
        line.reserve(line.size() + capture::padding);
        if (parser.parse(line, ++number, true) == capture::LineParser::Result::line)
            figures.follow(parser.line());
        EXPECT_EQ(parser.fault(), "");
    }
    return figures;
}

QByteArray touch(int at_us, int x, int y, bool down = true)
{
    return QStringLiteral(
               R"({"type":"touch","board":7,"at":%1,"contacts":[{"id":3,"x":%2,"y":%3,"extent":400,"down":%4}]})")
               .arg(at_us)
               .arg(x)
               .arg(y)
               .arg(down ? "true" : "false")
               .toLatin1()
        + "\n";
}

std::string textOf(const Figures &figures, bool showsBytes = false)
{
    std::string text;
    for (const std::string &line : watchText(figures, showsBytes))
        text += line + "\n";
    return text;
}

} // namespace

TEST(TheView, TellsOfEachBoardAndContactWhatThereIsToTell)
{
    const QByteArray with_screen =
        R"({"type":"scenario","version":2,"screens":[{"x":0,"y":0,"width":3840,"height":2160,"primary":true}]})"
        "\n";
    const QByteArray inside =
        R"({"type":"raw","at":30000,"board":7,"hex":"004583e8030004c201","inside":12.5})"
        "\n";
    Figures figures = figuresOf(with_screen + board + touch(10'000, 500, 2048) + touch(15'000, 700, 2000)
                                + touch(20'000, 900, 1900) + inside);
    figures.pass(std::chrono::milliseconds(250));

    EXPECT_EQ(textOf(figures),
              "0.280 s  0 never lifted, 0 lost by the recorder\n"
              "board 7  4/s now, lowest -, median -; 4 reports, the last 250 ms ago\n"
              "  0 dropouts, 0 lifts of nothing, 0 unreadable, 0 handed back\n"
              "  inside the callback 12.8 us, longest 12.5 us\n"
              "  contact   state         /s lowest median      ago      x      y    px    py\n"
              "  touch 3   down           4    100    198   250 ms   1000   1024   117    67\n"
              "    extent 450; after 10.0 ms by 100, -876; x 500..1000, y 1024..2048\n");
}

TEST(TheView, ShowsTheBytesOnRequest)
{
    const Figures figures = figuresOf(first + board + raw(5, "0821004000400001"));

    EXPECT_EQ(textOf(figures, false).find("0821004000400001"), std::string::npos);
    EXPECT_NE(textOf(figures, true).find("\n  last report 0821004000400001\n"), std::string::npos);
}

TEST(TheView, FitsIntoEightyColumns)
{
    QByteArray recording = first + board;
    for (int i = 0; i < 20; ++i)
        recording +=
            raw(i * 10'000'000, "0046ffffffffffffffffff").replace("ffffffffffffffffff", "ffffffffffffffffff");
    recording += pen(1'000'000'000, 65535);
    Figures figures = figuresOf(recording);
    figures.pass(std::chrono::hours(1));

    for (const std::string &line : watchText(figures, false))
        EXPECT_LE(line.size(), 80U) << line;
}

TEST(TheView, PutsContactsThatAreDownFirst)
{
    const Figures figures = figuresOf(first + board + pen(10, 1, false) + touch(20, 5, 5));

    const std::string text = textOf(figures);

    EXPECT_LT(text.find("touch 3"), text.find("pen 2")) << text;
}

struct FaultRow
{
    const char *name;
    QByteArray lines;
    const char *key;
    double value;
};

class EachFigure : public testing::TestWithParam<FaultRow>
{
};

TEST_P(EachFigure, CountsWhatItIsNamedAfter)
{
    Figures figures = figuresOf(first + board + GetParam().lines);
    figures.pass(std::chrono::seconds(1));

    EXPECT_EQ(watchFigures(figures).at(GetParam().key), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    , EachFigure,
    testing::Values(
        FaultRow{"ALiftWithoutAContact", touch(10, 5, 5, false), "orphan_lift_count", 1},
        FaultRow{"ALift", touch(10, 5, 5) + touch(20, 5, 5, false), "orphan_lift_count", 0},
        FaultRow{"AHoveringPenIsNoLift", pen(10, 5, false), "orphan_lift_count", 0},
        FaultRow{"DownAgainAtOnce", touch(10'000, 5, 5) + touch(20'000, 5, 5, false) + touch(60'000, 20, 5),
                 "dropout_count", 1},
        FaultRow{"DownAgainLater", touch(10'000, 5, 5) + touch(20'000, 5, 5, false) + touch(71'000, 20, 5),
                 "dropout_count", 0},
        FaultRow{"DownAgainElsewhere",
                 touch(10'000, 5, 5) + touch(20'000, 5, 5, false) + touch(60'000, 900, 5), "dropout_count",
                 0},
        FaultRow{"APenThatHasHoveredForLong",
                 pen(10'000, 5) + pen(20'000, 5, false) + pen(90'000, 5, false) + pen(95'000, 5),
                 "dropout_count", 0},
        FaultRow{"APenThatHasHoveredForAMoment",
                 pen(10'000, 5) + pen(20'000, 5, false) + pen(30'000, 5, false) + pen(35'000, 5),
                 "dropout_count", 1},
        FaultRow{"SilentWhileDown", touch(10, 5, 5), "stuck_count", 1},
        FaultRow{"DownOnAnUnpluggedBoard", touch(10, 5, 5) + R"({"type":"unplug","at":20,"board":7})",
                 "stuck_count", 0},
        FaultRow{"BytesOfNoKind", raw(10, "ff"), "undecodable_count", 1},
        FaultRow{"BytesTooMany", raw(10, "00458301000200030011"), "undecodable_count", 1},
        FaultRow{"HandedBack", R"({"type":"handback","at":10,"board":7,"hex":"0945"})", "handback_count", 1},
        FaultRow{"LostByTheRecorder", R"({"type":"lost","at":10,"count":30})", "lost_count", 30},
        FaultRow{"LostByTheReader", R"({"type":"lost","at":10,"count":30,"reader":true})", "lost_count", 0},
        FaultRow{"InsideTheCallback", R"({"type":"raw","at":10,"board":7,"hex":"ff","inside":70.25})",
                 "inside_longest_us", 70.25}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(ARate, IsKnownAfterASecondOfReports)
{
    Figures figures = figuresOf(first + board + touch(10, 5, 5));

    EXPECT_EQ(watchFigures(figures).count("reports_per_second"), 0U);
    figures.pass(std::chrono::seconds(1));
    EXPECT_EQ(watchFigures(figures).at("reports_per_second"), 0);
}

TEST(ABoard, HasTheRatesOfTheSecondsInWhichContactsAreDown)
{
    constexpr int second = 1'000'000;
    QByteArray lines;
    int begin = 0;
    for (const int rate : {100, 50, 80, 80}) {
        for (int sample = 0; sample < rate; ++sample)
            lines += touch(begin + sample * second / rate, 5, 5);
        begin += second;
    }
    lines += touch(begin, 5, 5, false) + touch(begin + 20 * second, 5, 5);

    const auto boards = watchJson(figuresOf(first + board + lines))["boards"];

    EXPECT_EQ(boards[0]["lowest_rate_hz"], 50.0) << "the pause does not count";
    EXPECT_EQ(boards[0]["median_rate_hz"], 80.0);
}

struct LimitRow
{
    const char *name;
    const char *text;
    bool isLimit;
};

class ALimit : public testing::TestWithParam<LimitRow>
{
};

TEST_P(ALimit, NamesAFigureASignAndANumber)
{
    EXPECT_EQ(Limit::parse(GetParam().text, watchKeys).has_value(), GetParam().isLimit);
}

INSTANTIATE_TEST_SUITE_P(, ALimit,
                         testing::Values(LimitRow{"Highest", "lost_count>0", true},
                                         LimitRow{"Lowest", "reports_per_second<99.5", true},
                                         LimitRow{"UnknownFigure", "dance>0", false},
                                         LimitRow{"NoSign", "lost_count", false},
                                         LimitRow{"NoNumber", "lost_count>", false},
                                         LimitRow{"NotOnlyANumber", "lost_count>1x", false},
                                         LimitRow{"NoFigure", ">1", false},
                                         LimitRow{"NotANumber", "lost_count>nan", false}),
                         [](const auto &row) { return std::string(row.param.name); });

struct FittingRow
{
    const char *name;
    const char *locale;
    const char *text;
    int columns;
    const char *expected;
};

class TheTextThatFits : public testing::TestWithParam<FittingRow>
{
protected:
    TheTextThatFits() { EXPECT_NE(std::setlocale(LC_CTYPE, GetParam().locale), nullptr) << "not installed"; }
    ~TheTextThatFits() override { std::setlocale(LC_CTYPE, "C"); }
};

TEST_P(TheTextThatFits, IsCountedInColumnsAndNeverEndsWithinACharacter)
{
    EXPECT_EQ(fitting(GetParam().text, GetParam().columns), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Watch, TheTextThatFits,
    testing::Values(FittingRow{"AllOfIt", "fr_FR.UTF-8", "h bytes", 7, "h bytes"},
                    FittingRow{"Part", "fr_FR.UTF-8", "h bytes", 3, "h b"},
                    FittingRow{"Nothing", "fr_FR.UTF-8", "h", 0, ""},
                    FittingRow{"TwoBytesInAColumn", "fr_FR.UTF-8", "\u00e9t\u00e9s", 3, "\u00e9t\u00e9"},
                    FittingRow{"ThreeBytesInTwoColumns", "ja_JP.UTF-8", "\u76e4\u9762_", 4, "\u76e4\u9762"},
                    FittingRow{"HalfOfAWideCharacter", "ja_JP.UTF-8", "\u76e4\u9762_", 3, "\u76e4"},
                    FittingRow{"AMarkOnTheLastLetter", "fr_FR.UTF-8", "e\u0301t", 1, "e\u0301"},
                    FittingRow{"ACutOffCharacter", "ja_JP.UTF-8", "a\xe7\x9b", 3, "a\xe7\x9b"},
                    FittingRow{"BytesWithoutUtf8", "C", "\xc3\xa9t", 2, "\xc3\xa9"}),
    [](const auto &row) { return std::string(row.param.name); });
