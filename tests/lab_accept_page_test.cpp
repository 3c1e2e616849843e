#include "page/acceptpage.h"

#include "accept/judges.h"

#include "support/technician.h"

#include <QProcess>
#include <QString>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

using namespace acceptance;

namespace {

const Frame frame{{0, 0, 1920, 1080}, {0, 20, 1920, 1060}};

/// An outcome in which all steps are right, but for the targets, which were tapped as a board maps them.
Outcome outcomeOf(const Technician::Map &map)
{
    Outcome outcome{{}, Setting(frame, 0, 0)};
    for (const Step &step : steps())
        outcome.steps.push_back({&step, Result::right, {}, 1});
    Seen seen;
    show(Technician{frame, map}.tapTargets(), seen);
    StepOutcome &targets = outcome.steps[1];
    targets.finding = judgeTargets(seen, outcome.setting);
    targets.result = targets.finding.isRight() ? Result::right : Result::wrong;
    return outcome;
}

Place same(const Place &place)
{
    return place;
}

/// As if the whole board were shifted by @p units to the right.
Technician::Map shift(double units)
{
    return [units](const Place &place) { return Place{place.x + units, place.y}; };
}

std::string pageOf(const Outcome &outcome)
{
    return page::acceptPage(outcome, {"a.jsonl", grading::Analysis().finish(), {}, nullptr});
}

int count(const std::string &text, const std::string &words)
{
    int found = 0;
    for (std::size_t at = 0; (at = text.find(words, at)) != std::string::npos; ++at)
        ++found;
    return found;
}

std::string rowOf(const std::string &name, const std::vector<std::string> &numbers)
{
    std::string row = "<tr><td>" + name + "</td>";
    for (const std::string &number : numbers)
        row += "<td class=\"number\">" + number + "</td>";
    return row + "</tr>";
}

/// What HTML Tidy complains about.
std::string complaints(const std::string &page)
{
    QProcess tidy;
    tidy.setProcessChannelMode(QProcess::MergedChannels);
    tidy.start("tidy", {"-quiet", "-errors", "-utf8"});
    tidy.write(page.data(), qint64(page.size()));
    tidy.closeWriteChannel();
    EXPECT_TRUE(tidy.waitForFinished());
    return tidy.readAll().toStdString();
}

} // namespace

TEST(ThePage, BeginsWithTheVerdictAndHasEachStepAndASignature)
{
    const Outcome outcome = outcomeOf(same);

    const std::string page = pageOf(outcome);

    EXPECT_EQ(complaints(page), "");
    std::size_t at = page.find("Accepted: all 10 steps are right.");
    ASSERT_NE(at, std::string::npos);
    EXPECT_LT(at, page.find("<h2"));
    for (const Step &step : steps()) {
        const std::size_t next = page.find(std::string(">") + step.title + "<", at);
        EXPECT_NE(next, std::string::npos) << step.title;
        at = next;
    }
    EXPECT_NE(
        page.find("<div class=\"signature\"><div>Name</div><div>Date</div><div>Signature</div></div>", at),
        std::string::npos);
    EXPECT_LT(page.find("class=\"signature\""), page.find("<h2>Figures")) << "the report comes last";
}

struct Row
{
    const char *name;
    double shift; ///< board units
    const char *advice;
    const char *caption;
};

class TheMap : public testing::TestWithParam<Row>
{
};

TEST_P(TheMap, JoinsEachTargetToItsReportedPlace)
{
    const std::string page = pageOf(outcomeOf(shift(GetParam().shift)));

    EXPECT_EQ(complaints(page), "");
    EXPECT_EQ(count(page, "<circle class=\"stroke pen\""), 24);
    EXPECT_NE(page.find(GetParam().advice), std::string::npos);
    EXPECT_NE(page.find(GetParam().caption), std::string::npos);
    EXPECT_NE(page.find("<title>Map of distortion</title><desc>"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(ThePage, TheMap,
                         testing::Values(Row{"Exact", 0, "Good: the board", "100 times as far away as it is"},
                                         Row{"Small", 50, "Good: the board", "20 times as far away as it is"},
                                         Row{"Large", 1000, "Calibrate: the errors", "to scale"}),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(ThePage, TellsWhatTheTargetsSay)
{
    const std::string page = pageOf(outcomeOf(shift(341.3333)));

    EXPECT_NE(page.find("Not accepted: 1 of 10 steps are not right."), std::string::npos);
    for (const std::string &row :
         {rowOf("size 1, top left", {"20.0 px", "0.0 px", "20.0 px"}),
          rowOf("as the board is", {"20.0 px", "20.0 px"}),
          rowOf("behind the best calibration", {"0.0 px", "0.0 px"}), rowOf("limit", {"4.8 px", "11.5 px"})})
        EXPECT_NE(page.find(row), std::string::npos) << row;
    EXPECT_NE(page.find("20.0 px too far right and 0.0 px too far"), std::string::npos);
    EXPECT_NE(page.find("degrees off the right angle"), std::string::npos);
}

TEST(ThePage, DoesNotAcceptABoardThatBreaksALimitOfItsProfile)
{
    grading::Profile profile{"strict", "", {}, {{"stuck_count", false, 1, 0, "", ""}}};
    grading::Report report{"a.jsonl", grading::Analysis().finish(), {}, &profile};

    const std::string page = page::acceptPage(outcomeOf(same), report);

    EXPECT_NE(page.find("Not accepted: all 10 steps are right, limits of the profile are not kept."),
              std::string::npos);
    EXPECT_NE(page.find("FAIL: 0 of 1 limits of the profile strict"), std::string::npos);
}

TEST(ThePage, NamesTheTargetsThatWereMissed)
{
    Outcome outcome = outcomeOf(same);
    Seen seen;
    show(Technician{frame}.tapTargets(3), seen);
    outcome.steps[1].finding = judgeTargets(seen, outcome.setting);

    const std::string page = pageOf(outcome);

    EXPECT_EQ(complaints(page), "");
    EXPECT_NE(page.find("<td>size 1, bottom left</td><td class=\"number\" colspan=\"3\">not tapped</td>"),
              std::string::npos);
}

TEST(ThePage, SaysWhichStepsWereSkippedOrTriedAgain)
{
    Outcome outcome = outcomeOf(same);
    outcome.steps[1] = {outcome.steps[1].step, Result::skipped, {}, 1};
    outcome.steps[2].tries = 3;

    const std::string page = pageOf(outcome);

    EXPECT_EQ(complaints(page), "");
    EXPECT_NE(page.find("Not complete: 1 of 10 steps were skipped."), std::string::npos);
    EXPECT_NE(page.find("<td>Targets</td><td class=\"result\">skipped</td>"), std::string::npos);
    EXPECT_NE(page.find("Tried 3 times"), std::string::npos);
    EXPECT_EQ(page.find("Map of distortion"), std::string::npos);
}
