#include "latency/program.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <stdexcept>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace latency {

namespace {

constexpr std::uint32_t keyEscape = 0xff1b;
constexpr std::uint32_t keySpace = ' ';
constexpr std::uint32_t keyHelp = 'h';

constexpr Nanoseconds watchInterval = 100 * millisecond; // between checks that the program still runs
constexpr int frame = 40; // pixels: more than the window manager's title and borders take

/// Pixels, far from the help text, that are white as soon as the program has painted its window.
std::vector<Point> emptyPlaces(const Screen &screen)
{
    return {{screen.width() - frame, frame},
            {screen.width() / 2, screen.height() / 2},
            {frame, screen.height() - frame},
            {screen.width() - frame, screen.height() - frame}};
}

bool allWhite(const Picture &picture)
{
    for (int y = frame; y < picture.height - frame; ++y) {
        for (int x = frame; x < picture.width - frame; ++x) {
            if (picture.at({x, y}) != white)
                return false;
        }
    }
    return true;
}

/// The number that follows @p label in a file of /proc; 0 without one.
long numberAfter(const std::string &path, const std::string &label)
{
    std::ifstream file(path);
    for (std::string word; file >> word;) {
        long number = 0;
        if (word == label && file >> number)
            return number;
    }
    return 0;
}

} // namespace

Program::Program(const Paths &paths, Screen &screen) : m_screen(screen)
{
    m_roomFile = memfd_create("deliveries", 0);
    if (m_roomFile < 0 || ftruncate(m_roomFile, sizeof(DeliveryRoom)) != 0)
        throw std::runtime_error(std::string("no shared memory: ") + std::strerror(errno));
    void *const memory =
        mmap(nullptr, sizeof(DeliveryRoom), PROT_READ | PROT_WRITE, MAP_SHARED, m_roomFile, 0);
    if (memory == MAP_FAILED)
        throw std::runtime_error(std::string("no shared memory: ") + std::strerror(errno));
    m_room = static_cast<DeliveryRoom *>(memory);
    sem_init(&m_room->requested, 1, 0);
    sem_init(&m_room->delivered, 1, 0);

    m_screen.settle(watchInterval, now() + patience); // the window before this one has gone
    start(paths);
    try {
        awaitFirstPicture();
    } catch (...) {
        end();
        throw;
    }
}

Program::~Program()
{
    end();
}

void Program::start(const Paths &paths)
{
    setenv("LD_LIBRARY_PATH", paths.driverFolder.c_str(), 1);
    if (!paths.recordedDriverFolder.empty()) {
        setenv("BOARDREC_DRIVER", (paths.recordedDriverFolder + "/libzorvicboardex.so.1").c_str(), 1);
        setenv("BOARDREC_CAPTURE", "/dev/null", 1); // what a disk takes is not the recorder's
    }
    setenv(DeliveryRoom::variable, ("/proc/self/fd/" + std::to_string(m_roomFile)).c_str(), 1);
    m_started = now();
    m_process = fork();
    if (m_process < 0)
        throw std::runtime_error(std::string("fork: ") + std::strerror(errno));
    if (m_process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO); // the probe prints its results there
        execl(paths.program.c_str(), paths.program.c_str(), nullptr);
        std::perror(paths.program.c_str());
        _exit(127);
    }
    clock_getcpuclockid(m_process, &m_clock);
}

void Program::awaitFirstPicture()
{
    const std::vector<Point> places = emptyPlaces(m_screen);
    const Nanoseconds deadline = now() + patience;
    for (;;) {
        const auto change = m_screen.waitForChange(now() + watchInterval);
        const std::vector<Colour> colours = m_screen.colours(places);
        if (change && colours == std::vector<Colour>(places.size(), white)) {
            m_timeToFirstPicture = *change - m_started;
            break;
        }
        check();
        if (now() > deadline)
            throw std::runtime_error("the program shows no picture");
    }
    m_screen.settle(watchInterval, deadline);
    if (!m_room->registered)
        throw std::runtime_error("the program has not registered with the probe's driver");
}

void Program::end()
{
    const auto ended = [this] { return waitpid(m_process, nullptr, WNOHANG) != 0; };
    const Nanoseconds deadline = now() + patience;
    m_screen.press(keyEscape);
    while (m_process > 0 && !ended()) {
        if (now() > deadline)
            kill(m_process, SIGKILL);
        m_screen.waitForChange(now() + watchInterval / 10);
    }
    munmap(m_room, sizeof(DeliveryRoom));
    close(m_roomFile);
}

void Program::check()
{
    int status = 0;
    if (waitpid(m_process, &status, WNOHANG) == 0)
        return;
    m_process = -1;
    throw std::runtime_error(
        WIFSIGNALED(status) ? std::string("the program was ended by signal ") + strsignal(WTERMSIG(status))
                            : "the program ended with status " + std::to_string(WEXITSTATUS(status)));
}

void Program::prepare(bool tags)
{
    if (!tags)
        m_screen.press(keySpace);
    m_screen.press(keyHelp); // comes last: once it has taken effect, so have those before
    const Nanoseconds deadline = now() + patience;
    while (!allWhite(m_screen.picture())) {
        check();
        if (now() > deadline)
            throw std::runtime_error("the help text does not vanish; has another window the focus?");
        m_screen.waitForChange(now() + watchInterval);
    }
    m_screen.settle(watchInterval, deadline);
}

const Delivery *Program::deliver(const std::vector<boardsim::Bytes> &reports, Nanoseconds interval)
{
    beginDelivery(reports, interval);
    return awaitDelivery();
}

void Program::beginDelivery(const std::vector<boardsim::Bytes> &reports, Nanoseconds interval)
{
    if (reports.size() > DeliveryRoom::capacity)
        throw std::runtime_error("too many reports at once");
    const Nanoseconds lead =
        interval > 0 ? 10 * millisecond : 0; // the driver's thread wakes before the first
    Nanoseconds due = 0;
    m_room->count = static_cast<int>(reports.size());
    for (std::size_t i = 0; i < reports.size(); ++i) {
        Delivery &delivery = m_room->deliveries[i];
        delivery = {};
        delivery.length = static_cast<std::uint32_t>(reports[i].size());
        std::copy(reports[i].begin(), reports[i].end(), delivery.report);
    }
    if (interval > 0)
        due = now() + lead;
    for (std::size_t i = 0; i < reports.size() && interval > 0; ++i, due += interval)
        m_room->deliveries[i].due = due;
    sem_post(&m_room->requested);
}

const Delivery *Program::awaitDelivery()
{
    for (const Nanoseconds deadline = now() + patience;;) {
        const Nanoseconds until = now() + watchInterval;
        const timespec time{until / second, until % second};
        if (sem_clockwait(&m_room->delivered, CLOCK_MONOTONIC, &time) == 0)
            return m_room->deliveries;
        check();
        if (now() > deadline)
            throw std::runtime_error("the program does not take a report");
    }
}

Nanoseconds Program::awaitStrokes(const std::vector<Point> &points, const std::vector<Colour> &before)
{
    for (const Nanoseconds deadline = now() + patience;;) {
        const auto change = m_screen.waitForChange(now() + watchInterval);
        if (change) {
            const std::vector<Colour> colours = m_screen.colours(points);
            if (std::equal(colours.begin(), colours.end(), before.begin(), before.end(), differs))
                return *change;
        }
        check();
        if (now() > deadline)
            throw std::runtime_error("a report has not reached the screen");
    }
}

Nanoseconds Program::processorTime() const
{
    return readClock(m_clock) - m_room->driverShare;
}

long Program::wakeUps() const
{
    long sum = 0;
    for (const auto &thread :
         std::filesystem::directory_iterator("/proc/" + std::to_string(m_process) + "/task")) {
        // A thread that waits gives up its processor voluntarily, once for each time that it wakes up.
        sum += numberAfter(thread.path() / "status", "voluntary_ctxt_switches:");
    }
    return sum;
}

long Program::residentBytes() const
{
    return 1024 * numberAfter("/proc/" + std::to_string(m_process) + "/status", "VmRSS:");
}

} // namespace latency
