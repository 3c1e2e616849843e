#include "process.h"
#include "support/heap.h"

#include <QByteArray>

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <malloc.h>
#include <pthread.h>
#include <unistd.h>

namespace {

struct OpenGl
{
    const char *asked_for; ///< null: nothing
    const char *used;
};

TEST(TheProcess, LeavesOpenGlOutUnlessAskedForIt)
{
    constexpr const char *variable = "QT_XCB_GL_INTEGRATION";
    for (const OpenGl &row : {OpenGl{nullptr, "none"}, OpenGl{"xcb_egl", "xcb_egl"}, OpenGl{"", ""}}) {
        SCOPED_TRACE(row.asked_for ? row.asked_for : "nothing asked for");
        if (row.asked_for)
            qputenv(variable, row.asked_for);
        else
            qunsetenv(variable);

        process::leave_opengl_out();

        EXPECT_EQ(qgetenv(variable), row.used);
        EXPECT_TRUE(qEnvironmentVariableIsSet(variable));
    }
}

/// The number of heaps that the C library keeps, as counted by malloc_info(3).
std::size_t heaps()
{
    char *text = nullptr;
    std::size_t size = 0;
    std::FILE *const file = open_memstream(&text, &size);
    malloc_info(0, file);
    std::fclose(file);
    const std::string told(text, size);
    std::free(text);
    std::size_t count = 0;
    for (std::size_t at = 0; (at = told.find("<heap ", at)) != std::string::npos; ++at)
        ++count;
    return count;
}

TEST(TheProcess, SharesOneHeapAmongItsThreads)
{
    process::share_heap();
    constexpr int threads = 16;
    const std::size_t before = heaps();
    std::vector<std::future<void>> renders;
    std::atomic<int> started = 0;
    for (int i = 0; i < threads; ++i) {
        renders.push_back(std::async(std::launch::async, [&started] {
            const std::vector<char> memory(100'000); // larger than what a thread keeps for itself
            ++started;
            while (started != threads) // so that all threads run at once
                std::this_thread::yield();
        }));
    }
    for (std::future<void> &render : renders)
        render.wait();

    EXPECT_EQ(heaps(), before);
}

TEST(TheProcess, GivesBackWhatItTriesWhetherThereIsEnough)
{
    process::require_resources(); // the C library keeps the stacks of a few threads
    const long long before = address_space();

    for (int times = 0; times < 20; ++times)
        process::require_resources();

    constexpr long long one_stack = 1'000; // pages, and somewhat more than a sanitizer takes
    EXPECT_LT(address_space() - before, one_stack);
}

/// The process's memory that is there, in bytes; see proc_pid_statm(5).
long long resident_memory()
{
    std::ifstream statm("/proc/self/statm");
    long long all = 0;
    long long resident = 0;
    statm >> all >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

TEST(TheProcess, GivesFreeMemoryBackIfItIsAsked)
{
    if (quarantine() != 0)
        GTEST_SKIP() << "a sanitizer has a heap of its own";
    constexpr std::size_t block = 16'384; // bytes; less than what gets a mapping of its own
    constexpr long long most = 4'000 * static_cast<long long>(block);
    std::vector<std::unique_ptr<char[]>> blocks;
    for (int i = 0; i < 4'000; ++i) {
        blocks.push_back(std::make_unique<char[]>(block));
        std::memset(blocks.back().get(), 1, block);
    }
    const auto last = std::make_unique<char[]>(block); // keeps the heap from shrinking at its end
    last[0] = 1;
    blocks.clear();
    const long long before = resident_memory();

    process::give_memory_back();

    EXPECT_LT(resident_memory(), before - most / 2);
}

/// Of a thread that is started now, in bytes.
std::size_t stack_size()
{
    pthread_attr_t attributes{};
    EXPECT_EQ(pthread_getattr_default_np(&attributes), 0);
    std::size_t size = 0;
    EXPECT_EQ(pthread_attr_getstacksize(&attributes, &size), 0);
    pthread_attr_destroy(&attributes);
    return size;
}

TEST(SmallStacks, AreThoseOfTheThreadsThatAreStartedMeanwhile)
{
    const std::size_t former = stack_size();
    {
        const process::SmallStacks small;
        EXPECT_EQ(stack_size(), std::size_t{1} << 20);
    }

    EXPECT_EQ(stack_size(), former);
}

/// Ends the process with status 0 if nothing that is opened afterwards gets the number of a standard stream.
[[noreturn]] void close_streams_and_open_them()
{
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
        close(stream);
    process::open_standard_streams();
    const bool writable = write(STDOUT_FILENO, "x", 1) == 1 && write(STDERR_FILENO, "x", 1) == 1;
    std::_Exit(writable && open("/dev/null", O_RDONLY) > STDERR_FILENO ? 0 : 1);
}

TEST(TheProcess, HasAllStandardStreams)
{
    EXPECT_EXIT(close_streams_and_open_them(), testing::ExitedWithCode(0), "");
}

TEST(TheProcess, SurvivesAPipeWithoutAReader)
{
    process::open_standard_streams();
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);

    EXPECT_EQ(write(ends[1], "x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
    close(ends[1]);
}

} // namespace
