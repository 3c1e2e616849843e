#include "latency/program.h"

#include "commands/window.h"
#include "language.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

namespace latency {

namespace {

using lab::tr;

constexpr std::uint32_t keySpace = ' ';
constexpr std::uint32_t keyHelp = 'h';
constexpr std::uint32_t keyBackspace = 0xff08;

constexpr Nanoseconds watchInterval = 100 * millisecond; // between checks that the program still runs
constexpr int frame = 10; // pixels: what is looked at in the window lies inside of it

/// Pixels, far from the help text, that are white as soon as the program has painted its window.
std::vector<Point> emptyPlaces(const acceptance::Area &window)
{
    const int left = window.x + frame;
    const int top = window.y + frame;
    const int right = window.x + window.width - frame;
    const int bottom = window.y + window.height - frame;
    return {{right, top}, {(left + right) / 2, (top + bottom) / 2}, {left, bottom}, {right, bottom}};
}

/// Whether @p isExpected holds for the colour at every place in the window.
template <typename Condition> bool everywhere(const acceptance::Area &window, const Condition &isExpected)
{
    for (int y = window.y + frame; y < window.y + window.height - frame; ++y) {
        for (int x = window.x + frame; x < window.x + window.width - frame; ++x) {
            if (!isExpected(Point{x, y}))
                return false;
        }
    }
    return true;
}

bool isAllWhite(const Picture &picture, const acceptance::Area &window)
{
    return everywhere(window, [&picture](Point place) { return picture.at(place) == white; });
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

SharedRoom::SharedRoom() : m_file(memfd_create("deliveries", 0))
{
    void *memory = MAP_FAILED;
    if (m_file >= 0 && ftruncate(m_file, sizeof(DeliveryRoom)) == 0)
        memory = mmap(nullptr, sizeof(DeliveryRoom), PROT_READ | PROT_WRITE, MAP_SHARED, m_file, 0);
    if (memory == MAP_FAILED) {
        const int error = errno;
        close(m_file);
        throw std::runtime_error(lab::format(tr("no shared memory: %s"), std::strerror(error)));
    }
    m_room = static_cast<DeliveryRoom *>(memory);
    sem_init(&m_room->requested, 1, 0);
    sem_init(&m_room->delivered, 1, 0);
}

SharedRoom::~SharedRoom()
{
    munmap(m_room, sizeof(DeliveryRoom));
    close(m_file);
}

std::string SharedRoom::path() const
{
    return "/proc/self/fd/" + std::to_string(m_file);
}

Program::Program(const Paths &paths, Screen &screen) : m_screen(screen), m_launch({paths.program})
{
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
    m_launch.prependPath("LD_LIBRARY_PATH", paths.driverFolder);
    if (!paths.recordedDriverFolder.empty()) {
        m_launch.set("BOARDREC_DRIVER", paths.recordedDriverFolder + "/libzorvicboardex.so.1");
        m_launch.set("BOARDREC_CAPTURE", "/dev/null"); // what a disk takes is not the recorder's
    }
    m_launch.set("QT_QPA_PLATFORM", "xcb"); // the X server's screen is what is watched
    m_launch.set(DeliveryRoom::variable, m_room.path());
    const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
    m_launch.sendOutputTo(nothing); // results are printed there
    m_started = now();
    const bool isStarted = m_launch.start();
    close(nothing);
    if (!isStarted)
        throw NotStarted();
    clock_getcpuclockid(m_launch.process(), &m_clock);
}

void Program::awaitFirstPicture()
{
    const Nanoseconds deadline = now() + patience;
    const auto isPainted = [this] {
        const auto window = lab::windowOf(m_launch.process());
        if (!window || window->width <= 2 * frame || window->height <= 2 * frame)
            return false;
        const std::vector<Colour> colours = m_screen.colours(emptyPlaces(*window));
        return colours == std::vector<Colour>(colours.size(), white);
    };
    for (;;) {
        const auto change = m_screen.waitForChange(now() + watchInterval);
        if (change && isPainted()) {
            m_timeToFirstPicture = *change - m_started;
            break;
        }
        check();
        if (now() > deadline)
            throw std::runtime_error(tr("the program shows no picture"));
    }
    m_screen.settle(watchInterval, deadline);
    m_window = lab::windowOf(m_launch.process()).value_or(acceptance::Area());
    if (!m_room->registered)
        throw std::runtime_error(tr("the program has not registered with the driver that measures"));
}

void Program::end()
{
    m_launch.end();
    pollfd ending{m_launch.ending(), POLLIN, 0};
    if (!m_launch.hasEnded() && poll(&ending, 1, static_cast<int>(patience / millisecond)) == 0)
        m_launch.kill();
    m_launch.wait();
}

void Program::check()
{
    if (!m_launch.hasEnded())
        return;
    constexpr int signals = 128; // what is added to the number of one that ended the program
    const int status = m_launch.wait();
    throw std::runtime_error(
        status > signals ? lab::format(tr("the program was ended by signal %s"), strsignal(status - signals))
                         : lab::format(tr("the program ended with status %d"), status));
}

/// Waits for what comes with a change on the screen, or without one.
template <typename Condition> void Program::await(const Condition &isReached, const char *failure)
{
    const Nanoseconds deadline = now() + patience;
    while (!isReached()) {
        check();
        if (now() > deadline)
            throw std::runtime_error(failure);
        m_screen.waitForChange(now() + watchInterval);
    }
}

void Program::press(std::uint32_t key)
{
    // Else the key would go to another program.
    await([this] { return lab::hasFocus(m_launch.process()); },
          tr("the program's window does not get the keyboard's focus"));
    m_screen.press(key);
}

void Program::prepare(bool tags)
{
    if (!tags)
        press(keySpace);
    press(keyHelp); // comes last: once it has taken effect, so have those before
    await([this] { return isAllWhite(m_screen.picture(), m_window); },
          tr("the help text does not vanish; is another window in front?"));
    keepEmpty();
}

void Program::show(std::uint32_t key)
{
    press(key);
    await([this] { return !isAllWhite(m_screen.picture(), m_window); }, tr("a pattern does not appear"));
    keepEmpty();
}

void Program::clear()
{
    press(keyBackspace);
    const auto isEmpty = [this] {
        const Picture picture = m_screen.picture();
        return everywhere(m_window, [&](Point place) { return picture.at(place) == m_empty.at(place); });
    };
    await(isEmpty, tr("the strokes cannot be wiped away"));
    m_screen.settle(watchInterval, now() + patience);
}

void Program::keepEmpty()
{
    m_screen.settle(watchInterval, now() + patience);
    m_empty = m_screen.picture();
}

const Delivery *Program::deliver(const std::vector<boardsim::Bytes> &reports, Nanoseconds interval)
{
    beginDelivery(reports, interval);
    return awaitDelivery();
}

void Program::beginDelivery(const std::vector<boardsim::Bytes> &reports, Nanoseconds interval)
{
    if (reports.size() > DeliveryRoom::capacity)
        throw std::runtime_error(tr("too many reports at once"));
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
            throw std::runtime_error(tr("the program does not take a report"));
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
            throw std::runtime_error(tr("a report has not reached its place on the screen"));
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
         std::filesystem::directory_iterator("/proc/" + std::to_string(m_launch.process()) + "/task")) {
        // A thread that waits gives up its processor voluntarily, once for each time that it wakes up.
        sum += numberAfter(thread.path() / "status", "voluntary_ctxt_switches:");
    }
    return sum;
}

long Program::residentBytes() const
{
    return 1024 * numberAfter("/proc/" + std::to_string(m_launch.process()) + "/status", "VmRSS:");
}

} // namespace latency
