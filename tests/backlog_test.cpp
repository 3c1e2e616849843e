#include "hardware/backlog.h"

#include <gtest/gtest.h>

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

} // namespace
