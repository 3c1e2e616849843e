#pragma once

#include "latency/deliveries.h"
#include "latency/screen.h"

#include "accept/geometry.h"
#include "commands/launch.h"

#include "report.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace latency {

/// Where the program and the driver that measures are.
struct Paths
{
    std::string program;      ///< file
    std::string driverFolder; ///< holds libzorvicboardex.so.1
    /// If that is the recorder: the folder of the driver that it opens.
    std::string recordedDriverFolder = {};
};

constexpr Nanoseconds millisecond = 1'000'000;
constexpr Nanoseconds second = 1'000 * millisecond;
constexpr Nanoseconds patience = 60 * second; ///< limit of every wait for the program

/// The program could not be started, which a line on standard error has told.
class NotStarted : public std::runtime_error
{
public:
    NotStarted() : std::runtime_error("the program could not be started") { }
};

/// The memory that is shared with the driver.
class SharedRoom
{
public:
    /// Throws std::runtime_error if there is no memory.
    SharedRoom();
    ~SharedRoom();
    SharedRoom(const SharedRoom &) = delete;
    SharedRoom &operator=(const SharedRoom &) = delete;

    DeliveryRoom *operator->() const { return m_room; }
    /// What a program that is started opens.
    std::string path() const;

private:
    int m_file = -1;
    DeliveryRoom *m_room = nullptr;
};

/// The program, run with the driver that measures on a screen on which nothing else changes. Every operation
/// throws std::runtime_error if the program ends, or does not do in time what is waited for.
class Program
{
public:
    /// Starts the program and waits for its first picture, which is the help text on white.
    Program(const Paths &paths, Screen &screen);
    /// Ends the program.
    ~Program();
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;

    /// Where the content of its window is on the screen.
    const acceptance::Area &window() const { return m_window; }

    /// From the start of the process to its first picture.
    Nanoseconds timeToFirstPicture() const { return m_timeToFirstPicture; }

    /// Hides the help text, so that the window is white, and switches the info tags of new contacts on or
    /// off.
    void prepare(bool tags);

    /// Shows the pattern of a key instead of white; @p key as in keysymdef.h.
    void show(std::uint32_t key);
    /// Wipes all strokes away, while no contact is down.
    void clear();

    /// Delivers @p reports on the driver's thread, one every @p interval, and waits until all have been
    /// delivered. Returns the deliveries with their times, valid until the next call.
    const Delivery *deliver(const std::vector<boardsim::Bytes> &reports, Nanoseconds interval = 0);
    /// The same without waiting; awaitDelivery() must follow.
    void beginDelivery(const std::vector<boardsim::Bytes> &reports, Nanoseconds interval = 0);
    const Delivery *awaitDelivery();

    /// Waits until each of @p points differs by a stroke from what it was @p before; returns when that was
    /// seen.
    Nanoseconds awaitStrokes(const std::vector<Point> &points, const std::vector<Colour> &before);

    /// Of all its threads, including those that have ended, without what the driver takes for itself.
    Nanoseconds processorTime() const;
    /// How often its threads have waited and been woken up; threads that have ended do not count.
    long wakeUps() const;
    long residentBytes() const;

    /// Throws if the program has ended.
    void check();

private:
    void start(const Paths &paths);
    void awaitFirstPicture();
    template <typename Condition> void await(const Condition &isReached, const char *failure);
    void press(std::uint32_t key);
    void keepEmpty();
    void end();

    Screen &m_screen;
    const SharedRoom m_room;
    lab::Launch m_launch;
    acceptance::Area m_window;
    Picture m_empty; ///< of the screen, before anything is drawn
    clockid_t m_clock = 0;
    Nanoseconds m_started = 0;
    Nanoseconds m_timeToFirstPicture = 0;
};

} // namespace latency
