#include "support/synthetic.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

using capture::ReportKind;
using namespace synthetic;

namespace {

constexpr int samples = 50;
constexpr double begin = 1;

Point pointAt(int sample)
{
    return {5000.0 + 40 * sample, 5000};
}

double timeAt(int sample)
{
    return begin + 0.008 * sample;
}

/// A contact that the program is told of, and of which @p times says how often it gives each sample back, the
/// lift being the last one.
Recording contact(ReportKind kind, const std::function<int(int)> &times, double delay = 0.0001)
{
    Recording recording;
    for (int i = 0; i <= samples; ++i) {
        recording.report(timeAt(i), reportOf(kind, 3, pointAt(i), i < samples));
        for (int k = 0; k < times(i); ++k)
            recording.handBack(timeAt(i) + delay, kind, 3, pointAt(i), i < samples);
    }
    recording.end(timeAt(samples) + 5);
    return recording;
}

struct Case
{
    const char *name;
    std::function<int(int)> times;
    int violations;
    int contacts; ///< that were handed back
};

std::ostream &operator<<(std::ostream &stream, const Case &given)
{
    return stream << given.name;
}

class Handbacks : public testing::TestWithParam<Case>
{
};

TEST_P(Handbacks, KeepTheRuleOrBreakIt)
{
    for (const ReportKind kind : {ReportKind::pen, ReportKind::touch}) {
        const grading::Summary summary = contact(kind, GetParam().times).measure();
        EXPECT_EQ(summary.figures.at("handback_violation_count"), GetParam().violations);
        EXPECT_EQ(summary.contactsHandedBack, GetParam().contacts);
        EXPECT_EQ(summary.complaints.size(), std::size_t(GetParam().violations));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Grading, Handbacks,
    testing::Values(Case{"of nothing", [](int) { return 0; }, 0, 0},
                    Case{"of the whole contact", [](int) { return 1; }, 0, 1},
                    Case{"of all but the lift", [](int i) { return i < samples ? 1 : 0; }, 1, 1},
                    Case{"of the first half", [](int i) { return i < 25 ? 1 : 0; }, 1, 1},
                    Case{"of the second half", [](int i) { return i >= 25 ? 1 : 0; }, 1, 0},
                    Case{"of all but one", [](int i) { return i == 20 ? 0 : 1; }, 1, 1},
                    Case{"of one sample twice", [](int i) { return i == 20 ? 2 : 1; }, 1, 1}));

TEST(Handbacks, MayComeLate)
{
    const grading::Summary summary = contact(
                                         ReportKind::touch, [](int) { return 1; }, 0.7)
                                         .measure();
    EXPECT_EQ(summary.figures.at("handback_violation_count"), 0);
    EXPECT_EQ(summary.contactsHandedBack, 1);
}

TEST(Handbacks, MayStandBeforeTheirReports)
{
    // A report's line is written when the program has returned from it.
    const grading::Summary summary = contact(
                                         ReportKind::touch, [](int) { return 1; }, -0.0001)
                                         .measure();
    EXPECT_EQ(summary.figures.at("handback_violation_count"), 0);
    EXPECT_EQ(summary.contactsHandedBack, 1);
}

TEST(Handbacks, AreInOrder)
{
    Recording recording;
    for (int i = 0; i <= samples; ++i)
        recording.report(timeAt(i), reportOf(ReportKind::touch, 3, pointAt(i), i < samples));
    for (int i = 0; i <= samples; ++i) {
        const int other = i == 10 ? 11 : i == 11 ? 10 : i;
        recording.handBack(timeAt(i) + 0.0001, ReportKind::touch, 3, pointAt(other), other < samples);
    }
    recording.end(5);
    EXPECT_EQ(recording.measure().figures.at("handback_violation_count"), 1);
}

TEST(Handbacks, NeedNotRepeatWhatDidNotChange)
{
    // The program drops a report that changes nothing; one that changes another contact hands this one back
    // again.
    for (const int times : {1, 2, 3}) {
        Recording recording;
        for (int i = 0; i < 3; ++i)
            recording.report(timeAt(i), reportOf(ReportKind::touch, 3, pointAt(0), true));
        recording.report(timeAt(3), reportOf(ReportKind::touch, 3, pointAt(0), false));
        for (int i = 0; i < times; ++i)
            recording.handBack(timeAt(i) + 0.0001, ReportKind::touch, 3, pointAt(0), true);
        recording.handBack(timeAt(3) + 0.0001, ReportKind::touch, 3, pointAt(0), false);
        recording.end(5);
        EXPECT_EQ(recording.measure().figures.at("handback_violation_count"), 0) << times;
    }
}

TEST(Handbacks, OfAContactThatIsDownAtTheEndAreNotMissed)
{
    Recording recording;
    for (int i = 0; i < samples; ++i) {
        recording.report(timeAt(i), reportOf(ReportKind::touch, 3, pointAt(i), true));
        if (i < samples - 3)
            recording.handBack(timeAt(i) + 0.03, ReportKind::touch, 3, pointAt(i), true);
    }
    EXPECT_EQ(recording.measure().figures.at("handback_violation_count"), 0);
}

TEST(Handbacks, OfOneContactDoNotTouchThatOfAnother)
{
    Recording recording = contact(ReportKind::touch, [](int) { return 1; });
    recording.append(contact(ReportKind::touch, [](int) { return 0; }), 3);
    recording.append(contact(ReportKind::touch, [](int) { return 1; }), 6);
    const grading::Summary summary = recording.measure();
    EXPECT_EQ(summary.figures.at("handback_violation_count"), 0);
    EXPECT_EQ(summary.contactsHandedBack, 2);
}

TEST(Handbacks, OfAPenInTheAirAreNoContacts)
{
    Recording recording;
    for (int i = 0; i < 10; ++i) {
        recording.pen(timeAt(i), 1, pointAt(i), false);
        recording.handBack(timeAt(i) + 0.0001, ReportKind::pen, 1, pointAt(i), false);
    }
    recording.end(5);
    const grading::Summary summary = recording.measure();
    EXPECT_EQ(summary.figures.at("handback_violation_count"), 0);
    EXPECT_EQ(summary.handbacks, 10U);
}

} // namespace
