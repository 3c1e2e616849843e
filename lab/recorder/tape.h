#pragma once

#include "capture/writer.h"
#include "recorder/devices.h"
#include "recorder/keeping.h"
#include "recorder/live.h"
#include "recorder/output.h"
#include "recorder/queue.h"
#include "recorder/settings.h"
#include "recorder/trace.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <thread>
#include <unordered_map>

namespace recorder {

/// Takes records from the queue and writes them as lines, on a thread of its own, so that neither the
/// driver's threads nor the GUI thread ever waits for a file. Reports are written in the order in which their
/// callbacks began. A report waits up to a tenth of a second for the end of its callback, which is part of
/// its line; whatever is written is in the file at once.
class Tape
{
public:
    /// Starts with @p first as the first line, at the time @p begin, nanoseconds of CLOCK_MONOTONIC.
    Tape(const Settings &settings, Queue &queue, const capture::Writer::Json &first, std::int64_t begin);
    /// Writes what is in the queue, and the end.
    ~Tape();
    Tape(const Tape &) = delete;
    Tape &operator=(const Tape &) = delete;

private:
    /// A record whose line has not been written yet.
    struct Pending
    {
        Record *record;
        std::int64_t returned; ///< nanoseconds; below 0 if its callback has not ended
    };

    void run();
    void collect();
    /// Writes what readers want in the recording, and passes on what else they want.
    void hear(const Live::Received &received);
    /// Saves a rolling recording if that is wanted, and keeps it short.
    void keep();
    /// Passes the lines on that have been composed since the last time.
    void passOn();
    /// The same for what has become known about devices, which comes behind what has been composed so far.
    void passOnDevices();
    void passOn(capture::Writer &lines, bool isKnowledge);
    /// Writes what is complete, or older than @p deadline, up to the first record that is neither.
    void writeUpTo(std::int64_t deadline);
    void write(const Pending &pending);
    /// A report of a board with a number that no report line may have becomes a note.
    void writeNegative(const Record &record);
    void writeCall(const Record &record);
    void followDevices(const Record &record);
    std::int64_t at(std::int64_t time) const { return (time - m_begin) / 1000; }

    Queue &m_queue;
    const std::int64_t m_begin;
    Output m_output;                    ///< without a file if the recording is a rolling one
    std::unique_ptr<Keeping> m_keeping; ///< null if it is not
    std::unique_ptr<Trace> m_trace;     ///< null if no waveform is wanted
    Live m_live;
    capture::Writer m_writer;
    capture::Writer m_deviceWriter;
    Devices m_devices;
    std::deque<Pending> m_pending;
    std::int64_t m_collected = 0; ///< when the queue was emptied last, in nanoseconds
    std::uint64_t m_written = 0;  ///< pending records that have been written and dropped
    std::unordered_map<std::uint64_t, std::uint64_t> m_open; ///< reports without a return: number to place
    std::atomic<bool> m_stopping = false;
    std::thread m_thread;
};

} // namespace recorder
