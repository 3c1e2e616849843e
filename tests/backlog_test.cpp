#include "hardware/backlog.h"

#include "support/items.h"
#include "support/live_dialog.h"
#include "support/reports.h"
#include "support/simulated_driver.h"

#include <QTest>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

constexpr auto for_ever = std::chrono::hours(1);

void wait_until(const Backlog &backlog, int held_up)
{
    while (backlog.heldUp() != held_up)
        std::this_thread::yield();
}

/// A backlog that this thread handles, with as much on its way as is still let through.
class AFullBacklog : public testing::Test
{
protected:
    AFullBacklog()
    {
        backlog.follow();
        backlog.sent(Backlog::enough);
    }

    /// A thread of the driver with a report of one contact; ends once the report has been let through.
    std::thread sender()
    {
        return std::thread([this] { backlog.sent(1); });
    }

    Backlog backlog{for_ever};
};

TEST_F(AFullBacklog, HoldsAReportUpUntilHalfOfItHasBeenHandled)
{
    backlog.sent(0); // by the thread that handles them: never held up
    std::thread driver = sender();
    wait_until(backlog, 1);
    EXPECT_EQ(backlog.waiting(), 2U);

    backlog.handled(0);
    EXPECT_EQ(backlog.heldUp(), 1) << "still more than half";
    backlog.handled(Backlog::enough);
    driver.join();

    EXPECT_EQ(backlog.heldUp(), 0);
    EXPECT_EQ(backlog.waiting(), 1U);
    EXPECT_EQ(backlog.handledSoFar(), 2U);
}

TEST_F(AFullBacklog, LetsAReportThroughOnceExactlyHalfIsLeft)
{
    backlog.sent(Backlog::enough / 2 - 1); // by the thread that handles them; the report itself is the rest
    std::thread driver = sender();
    wait_until(backlog, 1);

    backlog.handled(Backlog::enough);

    driver.join();
    EXPECT_EQ(backlog.waiting(), 2U);
}

TEST_F(AFullBacklog, LetsAllThreadsThroughAtOnce)
{
    std::thread first = sender();
    std::thread second = sender();
    wait_until(backlog, 2);

    backlog.handled(Backlog::enough);
    first.join();
    second.join();

    EXPECT_EQ(backlog.waiting(), 2U);
}

TEST_F(AFullBacklog, HoldsNothingUpWhileTheDriverIsCalled)
{
    std::thread held = sender();
    wait_until(backlog, 1);
    {
        const Backlog::Opening opening(backlog);
        held.join();
        sender().join();
    }

    std::thread again = sender();
    wait_until(backlog, 1);
    backlog.handled(Backlog::enough);
    backlog.handled(1);
    again.join();
}

TEST(ABacklog, LetsAReportThroughIfNoMoreThanEnoughIsOnItsWay)
{
    Backlog backlog(for_ever);
    backlog.follow();
    backlog.sent(Backlog::enough - 1); // the report itself is the rest

    std::thread driver([&backlog] { backlog.sent(0); });
    while (backlog.waiting() < 2 && backlog.heldUp() == 0)
        std::this_thread::yield();

    EXPECT_EQ(backlog.heldUp(), 0);
    backlog.handled(Backlog::enough - 1);
    driver.join();
}

TEST(ABacklog, ForgetsAllOfAReportThatIsHandled)
{
    Backlog backlog(for_ever);
    backlog.follow();
    for (int i = 0; i <= Backlog::enough; ++i) {
        backlog.sent(0);
        backlog.handled(0);
    }

    std::thread driver([&backlog] { backlog.sent(0); });
    while (backlog.waiting() == 0 && backlog.heldUp() == 0)
        std::this_thread::yield();

    EXPECT_EQ(backlog.heldUp(), 0);
    const Backlog::Opening opening(backlog);
    driver.join();
}

TEST(ABacklog, HoldsAReportUpForAWhileOnly)
{
    Backlog backlog(std::chrono::milliseconds(1));
    backlog.follow();
    backlog.sent(Backlog::enough);

    std::thread([&backlog] { backlog.sent(1); }).join();

    EXPECT_EQ(backlog.waiting(), 2U) << "it is not lost";
}

TEST(ABacklog, HoldsNothingUpIfNobodyHandlesIt)
{
    Backlog backlog(for_ever);

    std::thread([&backlog] {
        for (int i = 0; i < 10; ++i)
            backlog.sent(Backlog::enough);
    }).join();

    EXPECT_EQ(backlog.waiting(), 10U);
}

TEST(ABacklog, TakesNoNoticeOfAReportThatWasNeverSent)
{
    Backlog backlog;

    backlog.handled(5);

    EXPECT_EQ(backlog.waiting(), 0U);
    EXPECT_EQ(backlog.handledSoFar(), 0U);
}

TEST(ABacklog, CountsALargeContactAsMany)
{
    EXPECT_EQ(Backlog::loadOf(0), 1);
    EXPECT_EQ(Backlog::loadOf(300), 1) << "a finger";
    EXPECT_EQ(Backlog::loadOf(20'000), 40);
    EXPECT_EQ(Backlog::loadOf(65'535), 128);
}

TEST(ABacklog, CountsTheLargerSizeOfAnEraser)
{
    const ZorvicHardware::EraseEvent erasers{{1, 0, 0, 65'535, 9, true}, {2, 0, 0, 9, 20'000, true}};

    EXPECT_EQ(ZorvicHardware::load(erasers), 128 + 40);
}

TEST(ABacklog, CountsAPenAsOneAndEveryTouchByItsExtent)
{
    EXPECT_EQ(ZorvicHardware::load(ZorvicHardware::PenEvent{}), 1);
    EXPECT_EQ(ZorvicHardware::load(ZorvicHardware::TouchEvent{}), 0);
    EXPECT_EQ(ZorvicHardware::load(ZorvicHardware::TouchEvent{{1, 0, 0, 20'000, true}, {2, 0, 0, 9, true}}),
              40 + 1);
}

struct Report
{
    const char *name;
    QByteArray bytes;
};

class AReport : public testing::TestWithParam<Report>
{
    SimulatedDriver m_driver;

protected:
    LiveDialog dialog;
};

TEST_P(AReport, IsCountedOnItsWayAndThere)
{
    reports::deliver(dialog.hardware(), GetParam().bytes);

    EXPECT_EQ(dialog.hardware().backlog().handledSoFar(), 1U) << "of no effect for one that was never sent";
    EXPECT_EQ(dialog.hardware().backlog().waiting(), 0U);
}

INSTANTIATE_TEST_SUITE_P(
    , AReport,
    testing::Values(Report{"OfAPen", reports::pen({1, 16'384, 16'384, true, false, false})},
                    Report{"OfATouch", reports::touch({{1, 16'384, 16'384, 300, true}})},
                    Report{"OfAnEraser", reports::erase({{1, 16'384, 16'384, 300, 300, true}})}),
    row_name<Report>);

struct Kind
{
    const char *name;
    QByteArray report; ///< of contacts that are few, but as large as they can be
};

class ReportsOfLargeContacts : public testing::TestWithParam<Kind>
{
protected:
    void deliver() { reports::deliver(m_dialog.hardware(), GetParam().report); }

    /// Runs @p send on a thread of the driver; returns whether a report was held up.
    template <typename Send> bool is_held_up(Send send)
    {
        std::atomic<bool> done = false;
        bool held_up = false;
        std::thread driver([&] {
            send();
            done = true;
        });
        while (!done) {
            held_up = held_up || backlog().heldUp() > 0;
            std::this_thread::yield();
        }
        driver.join();
        return held_up;
    }

    Backlog &backlog() { return m_dialog.hardware().backlog(); }

private:
    SimulatedDriver m_driver;
    LiveDialog m_dialog;
};

TEST_P(ReportsOfLargeContacts, AreHeldUpAlthoughTheirContactsAreFew)
{
    EXPECT_TRUE(is_held_up([this] {
        for (int i = 0; i < 6; ++i)
            deliver();
    }));
}

TEST_P(ReportsOfLargeContacts, HoldNothingUpOnceTheyAreHandled)
{
    for (int i = 0; i < 6; ++i)
        deliver(); // by the thread that handles them: never held up
    ASSERT_TRUE(QTest::qWaitFor([this] { return backlog().waiting() == 0; }));

    EXPECT_FALSE(is_held_up([this] { deliver(); }));
}

template <typename Contact> QList<Contact> twenty(Contact contact)
{
    QList<Contact> contacts;
    for (; contacts.size() < 20; ++contact.id)
        contacts.append(contact);
    return contacts;
}

INSTANTIATE_TEST_SUITE_P(
    , ReportsOfLargeContacts,
    testing::Values(
        Kind{"Touches",
             reports::touch(twenty<ZorvicHardware::TouchContact>({1, 16'384, 16'384, 65'535, true}))},
        Kind{"Erasers",
             reports::erase(twenty<ZorvicHardware::EraseContact>({1, 16'384, 16'384, 9, 65'535, true}))}),
    row_name<Kind>);

} // namespace
