#include "page/latencychart.h"
#include "page/reportpage.h"
#include "page/style.h"

#include "support/synthetic.h"
#include "support/vision.h"

#include <QRegularExpression>
#include <QString>

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>
#include <string>
#include <tuple>

// The pages and the latency's chart can be read by people who see few colours, and no colour says anything
// that a word, a sign, a shape or a dash does not say, too.

namespace {

using vision::Colour;
using vision::contrast;
using vision::Kind;

constexpr double of_text = 4.5; ///< the least contrast ratio
constexpr double of_graphics = 3;
constexpr double of_series = 1.5; ///< of two that differ in shape as well

QString text(const std::string &bytes)
{
    return QString::fromStdString(bytes);
}

QStringList captures(const QString &in, const QString &pattern, int group = 1)
{
    QStringList found;
    for (auto matches = QRegularExpression(pattern).globalMatch(in); matches.hasNext();)
        found.append(matches.next().captured(group));
    return found;
}

/// The declarations of a rule, such as "fill: none; stroke: red; ".
QString rule(const QString &css, const QString &selector)
{
    return captures(css, "(?:^|\\n) *" + QRegularExpression::escape(selector) + " \\{([^}]*)\\}").value(0);
}

QString value(const QString &declarations, const QString &property)
{
    return captures(declarations, "(?:^|[ ;])" + property + ": ([^;]*);").value(0);
}

struct Mode
{
    const char *name;
    int place; ///< of its colours in the style sheet
};

struct Vision
{
    const char *name;
    Kind kind;
};

using Seeing = std::tuple<Mode, Vision>;

std::string nameOf(const testing::TestParamInfo<Seeing> &row)
{
    return std::string(std::get<0>(row.param).name) + std::get<1>(row.param).name;
}

const auto visions =
    testing::Values(Vision{"Normal", Kind::normal}, Vision{"Protanopia", Kind::protanopia},
                    Vision{"Deuteranopia", Kind::deuteranopia}, Vision{"Tritanopia", Kind::tritanopia});

class ThePageInColours : public testing::TestWithParam<Seeing>
{
protected:
    /// A colour of the page's style sheet as it looks in this mode and vision.
    Colour seen(const char *name) const { return vision::seen(plain(name), std::get<1>(GetParam()).kind); }
    /// The fill of a cell.
    Colour cell(double opacity) const
    {
        return vision::seen(vision::over(plain("tint"), plain("mark"), opacity),
                            std::get<1>(GetParam()).kind);
    }

    /// A line in ink of this opacity.
    Colour cross(double opacity) const
    {
        return vision::seen(vision::over(plain("tint"), plain("ink"), opacity), std::get<1>(GetParam()).kind);
    }

private:
    static Colour plain(const char *name)
    {
        const QString colours =
            captures(page::style, ":root \\{([^}]*)\\}").value(std::get<0>(GetParam()).place);
        return vision::colour(value(colours, QString("--") + name).toStdString());
    }
};

/// A report that fails, with pens, touches that rest, erasers, a dropout and a jump.
QString reportPage()
{
    synthetic::Recording recording;
    recording.add({capture::ReportKind::pen, 0, 1, 2, {4000, 4000}, {28000, 6000}});
    recording.add({capture::ReportKind::erase, 0, 1, 2, {4000, 9000}, {28000, 9000}});
    recording.add({capture::ReportKind::touch, 1, 4, 2, {16000, 16000}, {16000, 16000}},
                  [&recording](double, synthetic::Point at) {
                      return synthetic::Point{at.x + recording.normal(9), at.y + recording.normal(9)};
                  });
    recording.add({capture::ReportKind::touch, 2, 8, 0.5, {4000, 20000}, {9000, 20000}});
    recording.add({capture::ReportKind::touch, 2, 8.53, 0.5, {9000, 20000}, {14000, 20000}}); // a dropout
    recording.add({capture::ReportKind::touch, 3, 12, 2, {4000, 26000}, {24000, 26000}},
                  [](double share, synthetic::Point at) {
                      return share < 0.5 ? at : synthetic::Point{at.x, at.y - 9000}; // a jump
                  });
    recording.end(60);
    static const grading::Profile profile{"strict", "", {}, {{"stuck_count", false, 1, 0, "", ""}}};
    return text(page::reportPage({"a.jsonl", recording.measure(), {}, &profile}));
}

QString chart()
{
    latency::Outcome outcome;
    outcome.width = 1920;
    outcome.height = 1080;
    outcome.ticks = {8};
    outcome.tick = {8};
    outcome.rows.push_back({"contacts", "2 contacts, tags on", 2, true, {1, 2, 2, 3, 9}});
    return text(page::latencyChart(outcome));
}

} // namespace

TEST_P(ThePageInColours, HasTextThatCanBeRead)
{
    for (const char *const ink : {"ink", "faint"}) {
        EXPECT_GE(contrast(seen(ink), seen("paper")), of_text) << ink;
        EXPECT_GE(contrast(seen(ink), seen("tint")), of_text) << ink;
    }
}

TEST_P(ThePageInColours, HasGraphicsThatStandOut)
{
    for (const char *const line : {"ink", "mark"})
        EXPECT_GE(contrast(seen(line), seen("tint")), of_graphics) << line;
    EXPECT_GE(contrast(seen("ink"), seen("mark")), of_series) << "findings on strokes";
}

TEST_P(ThePageInColours, HasNumbersThatCanBeReadInEachCell)
{
    const QStringList opacities =
        captures(reportPage(), "<rect class=\"cell\"[^>]*fill-opacity=\"([^\"]*)\"/><text");

    ASSERT_FALSE(opacities.isEmpty());
    for (const QString &opacity : opacities)
        EXPECT_GE(contrast(seen("ink"), cell(opacity.toDouble())), of_text) << opacity.toStdString();
}

TEST_P(ThePageInColours, HasASignInTheEmptiestCells)
{
    const QString blind = rule(page::style, "svg .blind");

    EXPECT_EQ(value(rule(page::style, "svg .cell"), "stroke"), "var(--mark)") << "outlines the palest cell";
    EXPECT_GE(contrast(cross(value(blind, "opacity").toDouble()), seen("tint")), of_graphics);
}

INSTANTIATE_TEST_SUITE_P(
    Each, ThePageInColours,
    testing::Combine(testing::Values(Mode{"Light", 0}, Mode{"Dark", 1}, Mode{"Print", 2}), visions), nameOf);

class TheChartInColours : public testing::TestWithParam<Seeing>
{
protected:
    /// A colour of the chart's style as it looks in this mode and vision.
    Colour seen(const QString &selector, const char *property) const
    {
        const QStringList parts = chart().section("<style>", 1).section("</style>", 0, 0).split("@media");
        const QString colour = value(rule(parts.value(std::get<0>(GetParam()).place), selector), property);
        return vision::seen(vision::colour(colour.toStdString()), std::get<1>(GetParam()).kind);
    }
};

TEST_P(TheChartInColours, StandsOut)
{
    const Colour paper = seen(".paper", "fill");
    const QString line = std::get<0>(GetParam()).place == 0 ? ".median" : ".tick, .median, .far";

    EXPECT_GE(contrast(seen("text", "fill"), paper), of_text);
    EXPECT_GE(contrast(seen(".bar", "stroke"), paper), of_graphics);
    EXPECT_GE(contrast(seen(".rule", "stroke"), paper), of_graphics);
    EXPECT_GE(contrast(seen(line, "stroke"), paper), of_graphics);
    EXPECT_GE(contrast(seen(line, "stroke"), seen(".bar", "fill")), of_graphics) << "lines over bars";
}

INSTANTIATE_TEST_SUITE_P(Each, TheChartInColours,
                         testing::Combine(testing::Values(Mode{"Light", 0}, Mode{"Dark", 1}), visions),
                         nameOf);

TEST(WithoutColours, KindsOfContactsDifferInTheirDashes)
{
    std::set<QString> dashes;
    for (const char *const kind : {"pen", "touch", "erase"})
        dashes.insert(value(rule(page::style, QString("svg .") + kind), "stroke-dasharray"));
    const QStringList drawn = captures(reportPage(), "class=\"stroke ([a-z]*)\"");

    EXPECT_EQ(dashes.size(), 3U);
    EXPECT_EQ(std::set<QString>(drawn.begin(), drawn.end()), (std::set<QString>{"erase", "pen", "touch"}));
    EXPECT_TRUE(reportPage().contains("pens solid, touches dashed, erasers dotted"));
}

TEST(WithoutColours, LinesOfTheChartDifferInTheirDashesOrWidths)
{
    const QString css = chart().section("<style>", 1).section("@media", 0, 0);
    std::set<QString> lines;
    for (const char *const line : {".tick", ".median", ".far"}) {
        const QString declarations = rule(css, line);
        lines.insert(value(declarations, "stroke-dasharray") + " " + value(declarations, "stroke-width"));
    }

    EXPECT_EQ(lines.size(), 3U);
    EXPECT_TRUE(chart().contains("Thick line: median. Dashed line: 99 %"));
}

TEST(WithoutColours, FindingsHaveALetterThatTheCaptionExplains)
{
    const QString page = reportPage();
    const QStringList letters =
        captures(page, "<circle class=\"finding\"[^>]*/><text class=\"letter\"[^>]*>(.)</text>");

    EXPECT_EQ(letters.size(), page.count("class=\"finding\""));
    ASSERT_FALSE(letters.isEmpty());
    for (const QString &letter : letters)
        EXPECT_TRUE(page.contains(QRegularExpression("erasers dotted\\.[^<]* " + letter + ": [a-z]")))
            << letter.toStdString();
}

TEST(WithoutColours, CellsThatNothingHasReachedAreCrossed)
{
    const QString coverage = reportPage().section("aria-label=\"Coverage", 1).section("</svg>", 0, 0);

    EXPECT_EQ(coverage.count("<rect class=\"cell\"") + coverage.count("<path class=\"blind\""),
              int(grading::cells));
    EXPECT_GT(coverage.count("<path class=\"blind\""), 0);
}

TEST(WithoutColours, VerdictsAreWords)
{
    const QString page = reportPage();

    EXPECT_EQ(captures(page, "class=\"verdict\">([A-Z]+): "), QStringList("FAIL"));
    EXPECT_EQ(captures(page, "class=\"fail\">([a-z]+)"), QStringList("fail"));
    EXPECT_TRUE(rule(page::style, ".fail").contains("text-decoration: underline"));
}

struct SeenRow
{
    const char *name;
    const char *colour;
    const char *other;
    std::map<Kind, bool> same;
};

class TwoColours : public testing::TestWithParam<SeenRow>
{
};

TEST_P(TwoColours, LookTheSameToWhoeverLacksTheCones)
{
    for (const auto &[kind, isSame] : GetParam().same) {
        double difference = 0;
        for (std::size_t i = 0; i < 3; ++i)
            difference += std::abs(seen(vision::colour(GetParam().colour), kind).at(i)
                                   - seen(vision::colour(GetParam().other), kind).at(i));
        EXPECT_EQ(difference < 0.12, isSame) << static_cast<int>(kind) << ": " << difference;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Simulated, TwoColours,
    testing::Values(
        SeenRow{"RedAndDarkGreen",
                "#ff0000",
                "#5e5e00",
                {{Kind::normal, false}, {Kind::protanopia, true}, {Kind::tritanopia, false}}},
        SeenRow{"BlueAndGreen",
                "#0000ff",
                "#00ff00",
                {{Kind::normal, false}, {Kind::protanopia, false}, {Kind::deuteranopia, false}}},
        SeenRow{"White", "#ffffff", "#ffffff", {{Kind::tritanopia, true}, {Kind::deuteranopia, true}}}),
    [](const auto &row) { return std::string(row.param.name); });
