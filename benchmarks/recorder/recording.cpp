// Measures a report on the driver's thread with and without the recorder, and floods the recorder.

#include "timing.h"

#include "hardware/abstracthardwarewrapper.h"
#include "report.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include <dlfcn.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

/// The program's callback: it does nothing, so that what is measured is the recorder's.
void take(int, const unsigned char *, unsigned int, void *) { }

/// A callback as the driver has been given it.
struct Registration
{
    PacketCallback callback = nullptr;
    void *context = nullptr;

    void call(const boardsim::Bytes &report) const
    {
        callback(1, report.data(), static_cast<unsigned int>(report.size()), context);
    }
};

/// A driver library, opened as a program does, which has been given the callback.
class Library
{
public:
    explicit Library(const char *path) : m_library(dlopen(path, RTLD_NOW)), m_driver(dlopen(DRIVER, RTLD_NOW))
    {
        function<void(int, PacketCallback, void *)>(m_library, "zorvicSetCallback")(1, take, nullptr);
        function<void(PacketCallback *, void **)>(m_driver, "callbackOfBenchmark")(&m_registration.callback,
                                                                                   &m_registration.context);
    }
    ~Library()
    {
        dlclose(m_library);
        dlclose(m_driver);
    }
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;

    const Registration &registration() const { return m_registration; }

private:
    template <typename Signature> static Signature *function(void *library, const char *name)
    {
        return reinterpret_cast<Signature *>(dlsym(library, name));
    }

    void *m_library;
    void *m_driver;
    Registration m_registration;
};

/// The recorder in front of the driver, with a file that is deleted afterwards.
class Recorder
{
public:
    Recorder()
    {
        setenv("BOARDREC_DRIVER", DRIVER, 1);
        setenv("BOARDREC_CAPTURE", file().c_str(), 1);
    }
    ~Recorder() { std::filesystem::remove(file()); }
    Recorder(const Recorder &) = delete;
    Recorder &operator=(const Recorder &) = delete;

    static std::string file()
    {
        const auto folder = std::filesystem::temp_directory_path();
        return (folder / ("recorder-benchmark-" + std::to_string(getpid()) + ".jsonl")).string();
    }
};

boardsim::Bytes pen_report(int x)
{
    return boardsim::penReport({0, x, 16'000, true, false, false});
}

void wait_until(Clock::time_point due)
{
    const auto time = due.time_since_epoch();
    const auto whole = std::chrono::duration_cast<std::chrono::seconds>(time);
    const timespec until{whole.count(), std::chrono::nanoseconds(time - whole).count()};
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
}

/// 20,000 reports a second, in turn with and without the recorder.
void report_on_the_drivers_thread(benchmark::State &state)
{
    constexpr auto interval = std::chrono::microseconds(50);
    prctl(PR_SET_TIMERSLACK, 1);
    const Library direct(DRIVER);
    const Recorder recorder;
    const Library recorded(RECORDER);
    std::vector<double> with;
    std::vector<double> without;
    auto due = Clock::now();
    for (auto _ : state) {
        for (int i = 0; i < rounds(40'000); ++i) {
            const boardsim::Bytes report = pen_report(i % 30'000);
            wait_until(due += interval);
            const bool is_recorded = i % 2 == 0;
            const Registration &registration = is_recorded ? recorded.registration() : direct.registration();
            (is_recorded ? with : without).push_back(nanoseconds([&] { registration.call(report); }));
        }
    }
    state.counters["with_ns"] = median(with);
    state.counters["without_ns"] = median(without);
    state.counters["added_ns"] = median(with) - median(without);
    state.counters["with_p99_ns"] = quantile(with, 0.99);
}
BENCHMARK(report_on_the_drivers_thread)->Iterations(1);

/// Numbers of a recording's lines.
struct Recorded
{
    std::int64_t reports = 0;
    std::int64_t lost = 0;
};

Recorded read(const std::string &name)
{
    const std::string count = "\"count\":";
    Recorded recorded;
    std::ifstream file(name);
    for (std::string line; std::getline(file, line);) {
        if (line.rfind(R"({"type":"raw")", 0) == 0)
            ++recorded.reports;
        else if (line.rfind(R"({"type":"lost")", 0) == 0)
            recorded.lost += std::stoll(line.substr(line.find(count) + count.size()));
    }
    return recorded;
}

/// A flood of reports; what is late is sent at once, so that the rate holds on average.
void flood(benchmark::State &state)
{
    const std::int64_t rate = state.range(0);
    const std::int64_t count = rate * rounds(static_cast<int>(state.range(1)));
    prctl(PR_SET_TIMERSLACK, 1);
    const Recorder recorder;
    const auto begin = Clock::now();
    for (auto _ : state) {
        const Library library(RECORDER);
        for (std::int64_t i = 0; i < count; ++i) {
            const auto due = begin + std::chrono::nanoseconds(i * 1'000'000'000 / rate);
            if (due > Clock::now())
                wait_until(due);
            library.registration().call(pen_report(static_cast<int>(i % 30'000)));
        }
    }
    const std::chrono::duration<double> taken = Clock::now() - begin;
    const Recorded recorded = read(Recorder::file());
    state.counters["reports_a_second"] = static_cast<double>(count) / taken.count();
    state.counters["lost"] = static_cast<double>(recorded.lost);
    state.counters["neither_recorded_nor_counted"] =
        static_cast<double>(count - recorded.reports - recorded.lost);
}
BENCHMARK(flood)->ArgNames({"rate", "seconds"})->Args({20'000, 60})->Args({100'000, 20})->Iterations(1);

} // namespace
