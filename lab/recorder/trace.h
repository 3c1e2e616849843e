#pragma once

#include "capture/contacts.h"

#include "vcd.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <string>

namespace recorder {

/// A waveform of the session, written by the program's own trace recorder (vcd.h), and beside it a file for
/// GTKWave that shows all its curves at once. There is a signal for each value of each contact, such as
/// board1_pen0_x, and for each board its reports per second and the microseconds in the program's callback.
///
/// The trace recorder stamps each change with the time at which it is told. So that values change when their
/// reports came, although the writer's thread tells them up to a tenth of a second later, it is given that
/// time as the clock's (TraceClock). It counts nanoseconds from the loading of this library, in which two
/// changes of one signal never have the same time: the second of two equal ones comes a nanosecond later.
///
/// All changes stay in memory until they are written, so their number is limited. Used on the writer's
/// thread; times are nanoseconds of CLOCK_MONOTONIC.
class Trace
{
public:
    static constexpr std::size_t mostChanges = 8'000'000; ///< 256 MB

    /// Creates the file, or empties it. If that fails, one line on standard error says why, and there is no
    /// waveform.
    explicit Trace(std::string file, std::size_t most = mostChanges);

    /// A report whose callback began at @p begin.
    void addReport(int board, const std::uint8_t *bytes, std::size_t size, std::int64_t begin);
    /// The callback of a report has ended.
    void addReturn(int board, std::int64_t begin, std::int64_t end);
    /// Writes both files with all that has been added so far, unless they hold that already.
    void write(std::int64_t time);

private:
    struct Signal
    {
        Vcd vcd;
        double last;
    };
    struct Rate
    {
        std::int64_t second = 0; ///< that is counted, since the trace began
        int reports = 0;
    };

    void change(const std::string &name, double value, std::int64_t time);
    /// Tells how many reports came in the seconds that have passed.
    void follow(int board, Rate &rate, std::int64_t time);
    std::int64_t secondOf(std::int64_t time) const { return (time - m_begin) / 1'000'000'000; }
    void writeView(std::int64_t length) const;

    const std::string m_file;
    const std::size_t m_most;
    const std::int64_t m_begin; ///< the same moment as the next
    const std::chrono::system_clock::time_point m_beginOfClock;
    bool m_isOpen = false;
    std::size_t m_changes = 0;
    std::size_t m_written = 0; ///< of the changes
    std::map<std::string, Signal> m_signals;
    std::map<int, Rate> m_rates; ///< of boards
    capture::Report m_report;    ///< kept, since its vector is used again
};

} // namespace recorder
