#include "recorder/queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

using recorder::Queue;
using recorder::Record;

namespace {

void push(Queue &queue, std::uint64_t number)
{
    Record *const record = queue.take(true);
    ASSERT_NE(record, nullptr);
    record->number = number;
    Queue::push(record);
}

} // namespace

TEST(AQueueOfRecords, KeepsTheirOrderForManyRounds)
{
    Queue queue;
    for (std::uint64_t number = 0; number < 5 * Queue::capacity; ++number) {
        push(queue, number);
        Record *const record = queue.pop();
        ASSERT_NE(record, nullptr);
        ASSERT_EQ(record->number, number);
        Queue::giveBack(record);
    }
    EXPECT_EQ(queue.pop(), nullptr);
}

TEST(AQueueOfRecords, CountsThoseForWhichThereIsNoRoom)
{
    Queue queue;
    for (std::uint64_t number = 0; number < Queue::capacity; ++number)
        push(queue, number);

    EXPECT_EQ(queue.take(true), nullptr);
    EXPECT_EQ(queue.take(true), nullptr);
    EXPECT_EQ(queue.take(false), nullptr);

    EXPECT_EQ(queue.takeLost(), 2U);
    EXPECT_EQ(queue.takeLost(), 0U);
}

TEST(AQueueOfRecords, HasRoomAgainForEachThatIsGivenBack)
{
    Queue queue;
    for (std::uint64_t number = 0; number < Queue::capacity; ++number)
        push(queue, number);
    Record *const first = queue.pop();
    Record *const second = queue.pop();

    Queue::giveBack(second);
    EXPECT_EQ(queue.take(true), nullptr) << "the first has the place that comes next";

    Queue::giveBack(first);
    EXPECT_NE(queue.take(true), nullptr);
    EXPECT_NE(queue.take(true), nullptr);
    EXPECT_EQ(queue.take(true), nullptr);
}

TEST(AQueueOfRecords, HandsNothingOverBeforeItIsFilled)
{
    Queue queue;
    Record *const first = queue.take(true);
    push(queue, 2);

    EXPECT_EQ(queue.pop(), nullptr);

    Queue::push(first);
    EXPECT_EQ(queue.pop(), first);
    EXPECT_NE(queue.pop(), nullptr);
}

TEST(AQueueOfRecords, FreesLongBytes)
{
    Queue queue; // the leak checker looks at the ones that stay
    for (int i = 0; i < 3; ++i) {
        Record *const record = queue.take(true);
        record->longBytes = static_cast<std::uint8_t *>(std::malloc(1000));
        Queue::push(record);
    }

    Record *const record = queue.pop();
    Queue::giveBack(record);

    EXPECT_EQ(record->longBytes, nullptr);
}

TEST(AQueueOfRecords, LosesNoneUncountedBetweenThreads)
{
    constexpr int threads = 4;
    constexpr std::uint64_t each = 50'000;
    Queue queue;
    std::atomic<int> running = threads;
    std::vector<std::thread> pushing;
    for (int thread = 0; thread < threads; ++thread) {
        pushing.emplace_back([&, thread] {
            for (std::uint64_t number = 1; number <= each; ++number) {
                if (Record *const record = queue.take(true)) {
                    record->thread = thread;
                    record->number = number;
                    Queue::push(record);
                }
            }
            --running;
        });
    }

    std::vector<std::uint64_t> last(threads);
    std::uint64_t taken = 0;
    for (bool isLast = false; !isLast;) {
        isLast = running == 0;
        while (Record *const record = queue.pop()) {
            std::uint64_t &before = last.at(static_cast<std::size_t>(record->thread));
            EXPECT_LT(before, record->number) << "the order of each thread stays";
            before = record->number;
            ++taken;
            Queue::giveBack(record);
        }
    }
    for (std::thread &thread : pushing)
        thread.join();

    EXPECT_EQ(taken + queue.takeLost(), threads * each);
}
