#include "hardware/destinations.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QWidget>

#include <chrono>
#include <functional>
#include <future>
#include <string>
#include <utility>

// The linker redirects the program's looks at widgets to the function with the prefix __wrap_.
extern "C" QWidget *__wrap__ZN12QApplication8widgetAtERK6QPoint(const QPoint &position);

namespace {

using Pen = Destinations::Pen;

constexpr std::chrono::seconds patience(20);
constexpr QPoint anywhere(10, 20);

QWidget *widget_there = nullptr;   ///< the answer to every look
std::function<void()> during_look; ///< runs inside the next look, once its answer is settled
int looks = 0;                     ///< so far

/// One kind of contact. What holds for pens holds for touches.
struct Kind
{
    const char *name;
    bool (*is_own)(Destinations &destinations, int id, bool lifted);
};

bool is_own_pen(Destinations &destinations, int pen, bool lifted)
{
    return destinations.ofPen(pen, lifted, anywhere) == Pen::own;
}

bool is_own_touch(Destinations &destinations, int id, bool lifted)
{
    return destinations.isOwnTouch(id, lifted, anywhere);
}

/// Destinations with a widget of interest, which every contact starts over until widget_there is changed.
class ContactsOfOneKind : public testing::TestWithParam<Kind>
{
protected:
    ContactsOfOneKind()
    {
        destinations.setWidgetOfInterest(&interest);
        widget_there = &interest;
        looks = 0;
    }

    bool is_own(int id, bool lifted = false) { return GetParam().is_own(destinations, id, lifted); }

    QWidget interest;
    QWidget other;
    Destinations destinations;
};

TEST_P(ContactsOfOneKind, AreLookedAtOnceAndWhereTheyStart)
{
    EXPECT_TRUE(is_own(1));
    EXPECT_TRUE(is_own(1));
    widget_there = nullptr;
    EXPECT_TRUE(is_own(1, true));
    EXPECT_EQ(looks, 1);

    EXPECT_FALSE(is_own(1)) << "it has lifted, and starts again elsewhere";
    EXPECT_EQ(looks, 2);
}

TEST_P(ContactsOfOneKind, AreNotLookedAtWithoutAWidgetOfInterest)
{
    destinations.setWidgetOfInterest(nullptr);
    widget_there = nullptr;

    EXPECT_TRUE(is_own(1));
    EXPECT_TRUE(is_own(1, true));
    EXPECT_EQ(looks, 0);
}

TEST_P(ContactsOfOneKind, KeepTheirDestinationIfAnotherWidgetIsSet)
{
    ASSERT_TRUE(is_own(1));

    destinations.setWidgetOfInterest(&other);

    EXPECT_TRUE(is_own(1));
    EXPECT_FALSE(is_own(2));
}

TEST_P(ContactsOfOneKind, AreForgottenIfTheWidgetOfInterestIsCleared)
{
    ASSERT_TRUE(is_own(1));

    destinations.setWidgetOfInterest(nullptr);
    destinations.setWidgetOfInterest(&other);

    EXPECT_FALSE(is_own(1)) << "it is judged again";
}

TEST_P(ContactsOfOneKind, AreTheProgramsIfTheWidgetOfInterestIsClearedMeanwhile)
{
    widget_there = &other;
    during_look = [&] { destinations.setWidgetOfInterest(nullptr); };

    EXPECT_TRUE(is_own(1));

    destinations.setWidgetOfInterest(&interest);
    widget_there = &interest;
    EXPECT_TRUE(is_own(1)) << "nothing was remembered";
}

TEST_P(ContactsOfOneKind, LeaveNothingBehindIfTheWidgetOfInterestIsClearedMeanwhile)
{
    during_look = [&] { destinations.setWidgetOfInterest(nullptr); };
    ASSERT_TRUE(is_own(1));

    destinations.setWidgetOfInterest(&interest);
    widget_there = &other;

    EXPECT_FALSE(is_own(1));
}

TEST_P(ContactsOfOneKind, AreJudgedAgainIfAnotherWidgetIsSetMeanwhile)
{
    for (const bool is_cleared_first : {true, false}) {
        SCOPED_TRACE(is_cleared_first);
        destinations.setWidgetOfInterest(&interest);
        during_look = [&] {
            if (is_cleared_first)
                destinations.setWidgetOfInterest(nullptr);
            destinations.setWidgetOfInterest(&other);
        };
        const int id = is_cleared_first ? 1 : 2;

        EXPECT_FALSE(is_own(id)) << "it is over the widget that was of interest";
        EXPECT_FALSE(is_own(id));
    }
}

TEST_P(ContactsOfOneKind, AreJudgedAgainIfTheSameWidgetIsClearedAndSetMeanwhile)
{
    widget_there = nullptr;
    during_look = [&] {
        destinations.setWidgetOfInterest(nullptr);
        destinations.setWidgetOfInterest(&interest);
        widget_there = &interest; // it has come to the front
    };

    EXPECT_TRUE(is_own(1));
}

TEST_P(ContactsOfOneKind, KeepWhatAnotherThreadHasDecidedMeanwhile)
{
    widget_there = &other;
    during_look = [&] {
        widget_there = &interest;
        EXPECT_TRUE(is_own(1));
    };

    EXPECT_TRUE(is_own(1));
    EXPECT_TRUE(is_own(1, true));
    widget_there = &other;
    EXPECT_FALSE(is_own(1)) << "nothing is left of the contact that has lifted";
}

TEST_P(ContactsOfOneKind, HoldNoLockWhileWidgetsAreLookedAt)
{
    std::future<void> cleared;
    during_look = [&] {
        cleared = std::async(std::launch::async, [&] { destinations.setWidgetOfInterest(nullptr); });
        EXPECT_EQ(cleared.wait_for(patience), std::future_status::ready);
    };

    EXPECT_TRUE(is_own(1));
}

INSTANTIATE_TEST_SUITE_P(, ContactsOfOneKind,
                         testing::Values(Kind{"Pens", is_own_pen}, Kind{"Touches", is_own_touch}),
                         [](const auto &row) { return std::string(row.param.name); });

class ThePenThatIsSent : public testing::Test
{
protected:
    ThePenThatIsSent()
    {
        destinations.setWidgetOfInterest(&interest);
        widget_there = nullptr;
    }

    Pen of_pen(int pen, bool lifted = false) { return destinations.ofPen(pen, lifted, anywhere); }

    QWidget interest;
    Destinations destinations;
};

TEST_F(ThePenThatIsSent, GivesWayOnceItsLiftHasBeenSent)
{
    ASSERT_EQ(of_pen(1), Pen::send);
    ASSERT_EQ(of_pen(1, true), Pen::sendLift);

    EXPECT_EQ(of_pen(2), Pen::swallowed);
    destinations.forgetSentPen(1);

    EXPECT_EQ(of_pen(2), Pen::swallowed) << "as long as it is down";
    EXPECT_EQ(of_pen(3), Pen::send);
    widget_there = &interest;
    EXPECT_EQ(of_pen(1), Pen::own) << "it starts again";
}

TEST_F(ThePenThatIsSent, LiftsInEveryReportOfItsLiftUntilOneHasBeenSent)
{
    ASSERT_EQ(of_pen(1), Pen::send);

    EXPECT_EQ(of_pen(1, true), Pen::sendLift);
    EXPECT_EQ(of_pen(1, true), Pen::sendLift) << "on another thread";
}

TEST_F(ThePenThatIsSent, StaysIfThePenThatHasBeenForgottenWasAnother)
{
    ASSERT_EQ(of_pen(1), Pen::send);
    ASSERT_EQ(of_pen(2), Pen::swallowed);
    ASSERT_EQ(of_pen(1, true), Pen::sendLift);
    destinations.setWidgetOfInterest(nullptr);
    destinations.setWidgetOfInterest(&interest);
    ASSERT_EQ(of_pen(2), Pen::send);

    destinations.forgetSentPen(1);

    EXPECT_EQ(of_pen(2), Pen::send);
}

} // namespace

QWidget *__wrap__ZN12QApplication8widgetAtERK6QPoint(const QPoint &position)
{
    EXPECT_EQ(position, anywhere);
    ++looks;
    QWidget *const answer = widget_there;
    if (const auto hook = std::exchange(during_look, nullptr))
        hook();
    return answer;
}
