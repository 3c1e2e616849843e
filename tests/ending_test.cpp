#include "ending.h"

#include "hardware/zorvichardware.h"
#include "lxwindow.h"
#include "support/simulated_driver.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <functional>
#include <iterator>
#include <new>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
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

TEST(TheEnding, LeavesAnInterruptedThreadItsErrorNumber)
{
    const int bell = lowest_free_number();
    const Ending ending;
    ASSERT_NE(fcntl(bell, F_GETFD) & FD_CLOEXEC, 0) << "a program that is started would have it";
    const std::uint64_t most = UINT64_MAX - 1; // nothing can be added, which the handler may not wait for
    ASSERT_EQ(write(bell, &most, sizeof most), ssize_t{sizeof most});
    errno = EDOM;

    std::raise(SIGTERM);

    EXPECT_EQ(errno, EDOM);
}

TEST(TheEnding, LeavesAHandlerOfCrashesInPlace)
{
    struct sigaction action = {};
    action.sa_handler = [](int) { _exit(7); };
    struct sigaction former = {};
    ASSERT_EQ(sigaction(SIGSEGV, &action, &former), 0);
    const Ending ending;

    struct sigaction found = {};
    sigaction(SIGSEGV, &former, &found);

    EXPECT_EQ(found.sa_handler, action.sa_handler);
}

TEST(AnEndingThatIsOver, LeavesTheProcessToEndAsBefore)
{
    const std::terminate_handler former = std::get_terminate();
    {
        const Ending ending;
        EXPECT_NE(std::get_terminate(), former);
    }

    EXPECT_EQ(std::get_terminate(), former);
}

/// Runs @p fail on a thread of its own, since the test would catch what it throws on this one; @p during runs
/// when the driver, on its way out, says that the boards have changed.
[[noreturn]] void end_by(void (*fail)(), const std::function<void()> &during = {})
{
    Ending ending;
    LanternixDialog dialog(nullptr);
    std::atomic<bool> is_ending = false;
    QObject::connect(
        dialog.findChild<ZorvicHardware *>(), &ZorvicHardware::pnpEvent, &dialog,
        [&] {
            if (is_ending && during)
                during();
        },
        Qt::DirectConnection);
    const auto run = [&] {
        is_ending = true;
        std::thread(fail).join();
    };
    QMetaObject::invokeMethod(&dialog, run, Qt::QueuedConnection);
    std::exit(ending.run(dialog));
}

void find_no_memory()
{
    throw std::bad_alloc();
}

TEST(AnAllocationThatFails, EndsTheProcessWithOneLineAndDetaches)
{
    const SimulatedDriver driver;

    EXPECT_EXIT(end_by(find_no_memory), testing::ExitedWithCode(1), "^lanternix: out of memory\n$");

    EXPECT_EQ(driver.calls("Detach").size(), 1U);
}

/// Takes the memory that the process has, and lets it have no more; see proc_pid_statm(5).
void take_all_memory()
{
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const rlim_t size_now = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
    const rlimit none{size_now, size_now};
    setrlimit(RLIMIT_AS, &none);
    for (std::size_t size = 1 << 20; size >= 16; size /= 2) {
        while (std::malloc(size)) { }
    }
    find_no_memory();
}

TEST(AnAllocationThatFails, LeavesEnoughMemoryToDetach)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer ends a process without memory its own way";
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
    GTEST_SKIP() << "a sanitizer ends a process without memory its own way";
#endif
#endif
    const SimulatedDriver driver;

    EXPECT_EXIT(end_by(take_all_memory), testing::ExitedWithCode(1), "^lanternix: out of memory\n$");

    EXPECT_EQ(driver.calls("Detach").size(), 1U);
}

struct Trouble
{
    const char *name;
    void (*during)(); ///< while the driver is detached
    const char *told;
};

class AnAllocationThatFailsAmongTrouble : public testing::TestWithParam<Trouble>
{
};

TEST_P(AnAllocationThatFailsAmongTrouble, EndsTheProcessWithItsOwnStatus)
{
    const SimulatedDriver driver = SimulatedDriver::hostile("callbacks-in-detach");

    EXPECT_EXIT(end_by(find_no_memory, GetParam().during), testing::ExitedWithCode(1), GetParam().told);
}

/// Whether a thread sleeps; see proc_pid_stat(5).
bool sleeps(pid_t thread)
{
    std::ifstream stat("/proc/self/task/" + std::to_string(thread) + "/stat");
    const std::string text(std::istreambuf_iterator<char>(stat), {});
    const std::size_t name_end = text.rfind(')');
    return name_end != std::string::npos && text.at(name_end + 2) == 'S';
}

void find_no_memory_on_another_thread_too()
{
    std::atomic<pid_t> other{0};
    std::thread([&other] {
        other = gettid();
        find_no_memory();
    }).detach();
    while (other == 0 || !sleeps(other))
        std::this_thread::yield();
    std::fputs("went on\n", stderr);
    std::_Exit(1);
}

INSTANTIATE_TEST_SUITE_P(, AnAllocationThatFailsAmongTrouble,
                         testing::Values(Trouble{"OfADriverThatAborts", [] { std::abort(); },
                                                 "^lanternix: out of memory\n$"},
                                         Trouble{"OfADriverThatNeverReturns",
                                                 [] {
                                                     for (;;)
                                                         pause();
                                                 },
                                                 "^lanternix: out of memory\n$"},
                                         Trouble{"OnAnotherThread", find_no_memory_on_another_thread_too,
                                                 "^lanternix: out of memory\nwent on\n$"}),
                         [](const auto &row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(Signal, AnEnding, testing::ValuesIn(handled));

} // namespace
