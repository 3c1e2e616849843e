#pragma once

#include "latency/deliveries.h"
#include "latency/screen.h"

#include "report.h"

#include <string>
#include <vector>

#include <sys/types.h>

namespace latency {

/// Where the program and the probe's driver are.
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

/// The program, run with the probe's driver on an otherwise empty screen. Every operation throws
/// std::runtime_error if the program ends, or does not do in time what is waited for.
class Program
{
public:
    /// Starts the program and waits for its first picture, which is the help text on white.
    Program(const Paths &paths, Screen &screen);
    /// Ends the program.
    ~Program();
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;

    /// From the start of the process to its first picture.
    Nanoseconds timeToFirstPicture() const { return m_timeToFirstPicture; }

    /// Hides the help text, so that the screen is white, and switches the info tags of new contacts on or
    /// off.
    void prepare(bool tags);

    /// Delivers @p reports on the driver's thread, one every @p interval, and waits until all have been
    /// delivered. Returns the deliveries with their times, valid until the next call.
    const Delivery *deliver(const std::vector<boardsim::Bytes> &reports, Nanoseconds interval = 0);
    /// The same without waiting; awaitDelivery() must follow.
    void beginDelivery(const std::vector<boardsim::Bytes> &reports, Nanoseconds interval = 0);
    const Delivery *awaitDelivery();

    /// Waits until each of @p points differs by a stroke from what it was @p before; returns when that was
    /// seen.
    Nanoseconds awaitStrokes(const std::vector<Point> &points, const std::vector<Colour> &before);

    /// Of all its threads, including those that have ended, without what the probe's driver takes for itself.
    Nanoseconds processorTime() const;
    /// How often its threads have waited and been woken up; threads that have ended do not count.
    long wakeUps() const;
    long residentBytes() const;

    /// Throws if the program has ended.
    void check();

private:
    void start(const Paths &paths);
    void awaitFirstPicture();
    void end();

    Screen &m_screen;
    DeliveryRoom *m_room = nullptr;
    int m_roomFile = -1;
    pid_t m_process = -1;
    clockid_t m_clock = 0;
    Nanoseconds m_started = 0;
    Nanoseconds m_timeToFirstPicture = 0;
};

} // namespace latency
