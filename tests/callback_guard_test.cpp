#include "hardware/callbackguard.h"

#include "support/heap.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <thread>

namespace {

using namespace std::chrono_literals;
using Visit = CallbackGuard::Visit;

constexpr auto patience = 20'000ms; // that no test uses up
int context = 0;
int another = 0;

bool is_let_in(void *visited)
{
    return static_cast<bool>(Visit(visited));
}

/// A thread that visits the context until it is told to leave.
class Visitor
{
public:
    Visitor()
    {
        std::promise<void> entered;
        m_thread = std::thread([&entered, left = m_leave.get_future()] {
            const Visit visit(&context);
            EXPECT_TRUE(visit);
            entered.set_value();
            left.wait();
        });
        entered.get_future().wait();
    }
    ~Visitor() { m_thread.join(); }
    void leave() { m_leave.set_value(); }

private:
    std::promise<void> m_leave;
    std::thread m_thread;
};

TEST(AVisit, IsLetInWhileItsContextIsGuarded)
{
    EXPECT_FALSE(is_let_in(&context));
    {
        const CallbackGuard guard(&context);
        EXPECT_TRUE(is_let_in(&context));
        EXPECT_FALSE(is_let_in(&another));
    }
    EXPECT_FALSE(is_let_in(&context));
}

TEST(AVisit, IsNotLetInWithoutAContext)
{
    CallbackGuard guard(&context);
    guard.close();

    EXPECT_FALSE(is_let_in(nullptr));
}

TEST(AVisit, IsLetInToALaterContextAtTheSameAddress)
{
    auto guard = std::make_unique<CallbackGuard>(&context);
    guard.reset();
    guard = std::make_unique<CallbackGuard>(&context);

    EXPECT_TRUE(is_let_in(&context));
}

TEST(AVisit, IsLetInToEachOfTwoContexts)
{
    const CallbackGuard guard(&context);
    CallbackGuard other(&another);

    EXPECT_TRUE(is_let_in(&another));
    EXPECT_TRUE(other.close(patience));
    EXPECT_FALSE(is_let_in(&another));
    EXPECT_TRUE(is_let_in(&context));
}

TEST(AVisit, IsLetInToEachOfTwoContextsAfterAThirdHasGone)
{
    std::make_unique<CallbackGuard>(&another).reset();
    const CallbackGuard guard(&context);
    const CallbackGuard other(&another);

    EXPECT_TRUE(is_let_in(&context));
    EXPECT_TRUE(is_let_in(&another));
}

TEST(Guards, TakeNoMoreMemoryTheMoreThereHaveBeen)
{
    constexpr int count = 100'000;
    const auto guard_and_go = [] { const CallbackGuard guard(&context); };
    guard_and_go();
    const std::size_t before = heap_in_use();

    for (int i = 0; i < count; ++i)
        guard_and_go();

    EXPECT_LT(heap_in_use(), before + count + quarantine()) << "less than a byte for each";
}

TEST(Closing, GivesUpOnAVisitThatDoesNotEnd)
{
    CallbackGuard guard(&context);
    Visitor visitor;

    EXPECT_FALSE(guard.close(1ms));

    EXPECT_FALSE(is_let_in(&context));
    visitor.leave();
    EXPECT_TRUE(guard.close(patience));
}

TEST(Closing, WaitsForAVisitToEnd)
{
    CallbackGuard guard(&context);
    Visitor visitor;

    std::thread closer([&] { EXPECT_TRUE(guard.close(patience)); });
    while (is_let_in(&context))
        std::this_thread::yield();
    visitor.leave();
    closer.join();
}

TEST(Closing, WithTheGuardWaitsForAVisitHoweverLongItTakes)
{
    auto guard = std::make_unique<CallbackGuard>(&context);
    std::atomic<bool> has_left = false;
    std::promise<void> entered;
    std::thread visitor([&] {
        const Visit visit(&context);
        entered.set_value();
        while (is_let_in(&context)) // until the guard is being closed
            std::this_thread::yield();
        for (int i = 0; i < 1000; ++i)
            std::this_thread::yield();
        has_left = true;
    });
    entered.get_future().wait();

    guard.reset();

    EXPECT_TRUE(has_left);
    visitor.join();
}

TEST(Closing, DoesNotWaitForTheVisitsThatItIsInsideOf)
{
    CallbackGuard guard(&context);
    const Visit visit(&context);
    const Visit inner(&context);

    EXPECT_TRUE(guard.close(0ms));
}

} // namespace
