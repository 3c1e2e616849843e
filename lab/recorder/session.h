#pragma once

#include "recorder/queue.h"
#include "recorder/realdriver.h"
#include "recorder/registrations.h"
#include "recorder/settings.h"
#include "recorder/tape.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace recorder {

/// The one recording of this process. The driver is opened when the loader has loaded the recorder, before
/// the program can ask for any function of it; the recording begins when it does. It ends when the recorder
/// is unloaded or the process exits. In the latter case the object itself stays, since a driver's thread may
/// still call back. Any thread may call any function but the first four.
class Session
{
public:
    static Session &instance();

    /// Begins the recording, unless that has been done.
    static void begin();
    void beginTape();
    /// Writes the end of the recording.
    void endTape();
    void closeDriver() { m_driver.close(); }

    const RealDriver &driver() const { return m_driver; }
    Registrations &registrations() { return m_registrations; }

    /// A callback begins. Returns the number of its report, 0 if it is not recorded.
    std::uint64_t beginReport(int board, const std::uint8_t *data, std::uint32_t length);
    /// The callback with this number has ended.
    void endReport(std::uint64_t report);
    /// The plug-and-play callback begins.
    void change();
    /// A record for a call that has ended, to be filled and pushed; null if it is not recorded.
    Record *takeCall();
    static void push(Record *record) { Queue::push(record); }

    /// Copies @p size bytes into @p record, or as many as are kept.
    static void keep(Record &record, const void *bytes, std::size_t size);

private:
    Session() = default;

    Queue m_queue; // first, since it is aligned
    const Settings m_settings = Settings::fromEnvironment();
    RealDriver m_driver{m_settings.driver};
    Registrations m_registrations;
    std::atomic<std::uint64_t> m_reports = 0;
    std::unique_ptr<Tape> m_tape; ///< null if nothing is recorded
    std::atomic<bool> m_isRecording = false;
};

} // namespace recorder
