#include "recorder/session.h"

#include "recorder/clock.h"
#include "recorder/description.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

namespace recorder {

namespace {

/// The kernel's number of the calling thread, asked for once.
std::int32_t threadNumber()
{
    thread_local const std::int32_t number = gettid();
    return number;
}

/// Whether the library is being unloaded. Then this destructor function, being the library's, comes before
/// the destructors of its objects; at the end of the process it comes behind them.
bool isUnloaded = false;
__attribute__((destructor)) void noteUnloading()
{
    isUnloaded = true;
}

/// The loader makes this before dlopen returns, so that the resolvers of the exports find the driver's
/// functions. Other objects of the library may be made later, and destroyed earlier.
struct Opening
{
    Opening() { Session::instance(); }
    ~Opening()
    {
        if (!isUnloaded) // at the end of the process the driver's threads may still run
            return;
        Session::instance().closeDriver(); // which may still call back
        delete &Session::instance();
    }
} opening;

/// A recording uses objects of the whole library: it begins after they have been made, and so ends before
/// they are destroyed.
struct Recording
{
    Recording() { Session::instance().beginTape(); }
    ~Recording() { Session::instance().endTape(); }
};

} // namespace

Session &Session::instance()
{
    static auto *const session = new Session;
    return *session;
}

void Session::begin()
{
    static const Recording recording;
}

void Session::beginTape()
{
    const bool isWanted =
        !m_settings.capture.empty() || !m_settings.socket.empty() || !m_settings.vcd.empty();
    if (!m_driver.isOpen() || !isWanted)
        return;
    m_tape = std::make_unique<Tape>(m_settings, m_queue, describe(m_driver, m_settings.identify), now());
    m_isRecording = true;
}

void Session::endTape()
{
    m_isRecording = false;
    m_tape.reset();
}

std::uint64_t Session::beginReport(int board, const std::uint8_t *data, std::uint32_t length)
{
    if (!m_isRecording)
        return 0;
    Record *const record = m_queue.take(true);
    if (!record)
        return 0;
    record->kind = Record::Kind::report;
    record->board = board;
    record->thread = threadNumber();
    record->number = ++m_reports;
    record->length = length;
    record->begin = now();
    keep(*record, data, length);
    const std::uint64_t number = record->number;
    Queue::push(record);
    return number;
}

void Session::endReport(std::uint64_t report)
{
    if (report == 0)
        return;
    const std::int64_t time = now();
    Record *const record = m_queue.take(false);
    if (!record)
        return;
    record->kind = Record::Kind::returned;
    record->number = report;
    record->end = time;
    Queue::push(record);
}

void Session::change()
{
    Record *const record = m_isRecording ? m_queue.take(false) : nullptr;
    if (!record)
        return;
    record->kind = Record::Kind::change;
    record->begin = now();
    Queue::push(record);
}

Record *Session::takeCall()
{
    Record *const record = m_isRecording ? m_queue.take(false) : nullptr;
    if (!record)
        return nullptr;
    record->kind = Record::Kind::call;
    record->thread = threadNumber();
    record->kept = 0;
    record->length = 0;
    return record;
}

void Session::keep(Record &record, const void *bytes, std::size_t size)
{
    // The program drops a length beyond INT_MAX, so nobody may have meant it.
    const bool isReadable = bytes && size <= INT_MAX;
    const std::size_t kept = isReadable ? std::min(size, Record::longestKept) : 0;
    record.kept = static_cast<std::uint32_t>(kept);
    std::uint8_t *to = record.bytes.data();
    if (kept > Record::inlineSize) {
        record.longBytes = static_cast<std::uint8_t *>(std::malloc(kept));
        to = record.longBytes;
        if (!to)
            record.kept = 0;
    }
    if (to && kept > 0)
        std::memcpy(to, bytes, kept);
}

} // namespace recorder
