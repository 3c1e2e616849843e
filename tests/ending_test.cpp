#include "ending.h"

#include "lxwindow.h"
#include "support/simulated_driver.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <new>
#include <thread>

#include <unistd.h>

namespace {

constexpr int handled[] = {SIGTERM, SIGINT, SIGHUP};

class AnEnding : public testing::TestWithParam<int>
{
protected:
    AnEnding()
    {
        for (const int signal : handled)
            std::signal(signal, SIG_DFL);
    }
};

TEST_P(AnEnding, ClosesTheWindowAtItsSignal)
{
    Ending ending;
    LanternixDialog dialog(nullptr);
    std::raise(GetParam());
    EXPECT_TRUE(dialog.isVisible()) << "the handler only wakes the event loop";

    EXPECT_EQ(ending.run(dialog), 128 + GetParam());

    EXPECT_FALSE(dialog.isVisible());
}

TEST_P(AnEnding, EndsTheProcessAtTheSecondSignal)
{
    const auto raise_twice = [] {
        const Ending ending;
        std::raise(GetParam());
        std::raise(GetParam());
    };

    EXPECT_EXIT(raise_twice(), testing::KilledBySignal(GetParam()), "");
}

TEST_P(AnEnding, LeavesASignalIgnoredThatTheProcessIgnores)
{
    std::signal(GetParam(), SIG_IGN);
    Ending ending;
    LanternixDialog dialog(nullptr);
    std::raise(GetParam());
    QMetaObject::invokeMethod(&dialog, &LanternixDialog::close, Qt::QueuedConnection);

    EXPECT_EQ(ending.run(dialog), 0);
}

/// The number that the next file to be opened gets.
int lowest_free_number()
{
    const int file = dup(STDERR_FILENO);
    close(file);
    return file;
}

TEST(AnEndingThatIsOver, LeavesNoFileOpen)
{
    const auto begin_and_end = [] { const Ending ending; };
    begin_and_end(); // what Qt opens once stays open
    const int before = lowest_free_number();

    begin_and_end();

    EXPECT_EQ(lowest_free_number(), before);
}

TEST(AnAllocationThatFails, EndsTheProcessWithOneLineAndDetaches)
{
    const SimulatedDriver driver;
    const auto run_out_of_memory = [] {
        Ending ending;
        LanternixDialog dialog(nullptr);
        // On its own thread, since the test would catch it on this one.
        const auto allocate = [] { std::thread([] { throw std::bad_alloc(); }).join(); };
        QMetaObject::invokeMethod(&dialog, allocate, Qt::QueuedConnection);
        std::exit(ending.run(dialog));
    };

    EXPECT_EXIT(run_out_of_memory(), testing::ExitedWithCode(1), "^lanternix: out of memory\n$");

    EXPECT_EQ(driver.calls("Detach").size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Signal, AnEnding, testing::ValuesIn(handled));

} // namespace
