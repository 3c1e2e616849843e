#include "recorder/tape.h"

#include "capture/validtext.h"
#include "recorder/arguments.h"
#include "recorder/clock.h"

#include "fields.h"
#include "hex.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <limits>

namespace recorder {

namespace {

constexpr const char *notRolling = R"({"type":"kept","error":"the recording is not a rolling one"})"
                                   "\n";
constexpr auto rest = std::chrono::milliseconds(20);
constexpr std::int64_t patience = 100'000'000; // nanoseconds that a report waits for its return

/// Starts a thread that no signal of the program reaches; a file that must not grow then fails like a full
/// disk.
template <typename Run> std::thread startWithoutSignals(Run run)
{
    sigset_t all;
    sigset_t former;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &former);
    std::thread thread(run);
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    return thread;
}

const std::uint8_t *bytesOf(const Record &record)
{
    return record.longBytes ? record.longBytes : record.bytes.data();
}

double microseconds(std::int64_t nanoseconds)
{
    return static_cast<double>(nanoseconds) / 1000;
}

} // namespace

Tape::Tape(const Settings &settings, Queue &queue, const capture::Writer::Json &first, std::int64_t begin)
    : m_queue(queue), m_begin(begin), m_output(settings.keep > 0 ? "" : settings.capture),
      m_live(settings.socket), m_devices(m_deviceWriter, !settings.identify)
{
    if (settings.keep > 0)
        m_keeping = std::make_unique<Keeping>(settings.capture, first, settings.keep);
    if (!settings.vcd.empty())
        m_trace = std::make_unique<Trace>(settings.vcd);
    m_writer.add(first);
    passOn(m_writer, true);
    m_thread = startWithoutSignals([this] { run(); });
}

Tape::~Tape()
{
    m_stopping = true;
    m_thread.join();
}

void Tape::run()
{
    for (bool isLast = false; !isLast; std::this_thread::sleep_for(rest)) {
        isLast = m_stopping;
        collect();
        writeUpTo(isLast ? std::numeric_limits<std::int64_t>::max() : now() - patience);
        if (const std::uint64_t lost = m_queue.takeLost(); lost > 0)
            m_writer.add({{"type", "lost"}, {"at", at(now())}, {"count", lost}});
        hear(m_live.serve());
        if (isLast)
            m_writer.add({{"type", "end"}, {"at", at(now())}});
        passOn();
        keep();
        hear(m_live.serve());
        if (isLast && m_trace)
            m_trace->write(now());
        if (isLast)
            return;
    }
}

void Tape::hear(const Live::Received &received)
{
    for (const std::string &note : received.notes)
        m_writer.add({{"type", "note"}, {"at", at(now())}, {"text", note}});
    for (const Live::Wish &wish : received.wishes) {
        if (m_keeping)
            m_keeping->request({wish.reader, wish.file}, at(now()));
        else
            m_live.answer(wish.reader, notRolling);
    }
}

void Tape::keep()
{
    if (!m_keeping)
        return;
    const auto isEarlier = [](const Pending &one, const Pending &other) {
        return one.record->begin < other.record->begin;
    };
    const auto earliest = std::min_element(m_pending.begin(), m_pending.end(), isEarlier);
    const std::int64_t written =
        earliest == m_pending.end() ? m_collected : std::min(m_collected, earliest->record->begin);
    for (const Keeping::Answer &answer : m_keeping->step(at(now()), at(written)))
        m_live.answer(answer.reader, answer.line);
}

void Tape::passOn()
{
    passOn(m_writer, false);
}

void Tape::passOnDevices()
{
    if (m_deviceWriter.text().empty())
        return;
    passOn();
    passOn(m_deviceWriter, true);
}

void Tape::passOn(capture::Writer &lines, bool isKnowledge)
{
    if (lines.text().empty())
        return;
    if (m_keeping)
        m_keeping->write(lines.text());
    else
        m_output.write(lines.text());
    m_live.add(lines.text(), isKnowledge);
    lines.clear();
}

void Tape::collect()
{
    m_collected = now();
    while (Record *const record = m_queue.pop()) {
        if (record->kind == Record::Kind::returned) {
            const auto open = m_open.find(record->number);
            if (open != m_open.end()) {
                m_pending[open->second - m_written].returned = record->end;
                m_open.erase(open);
            }
            Queue::giveBack(record);
            continue;
        }
        if (record->kind == Record::Kind::report)
            m_open[record->number] = m_written + m_pending.size();
        m_pending.push_back({record, -1});
    }
}

void Tape::writeUpTo(std::int64_t deadline)
{
    while (!m_pending.empty()) {
        const Pending &next = m_pending.front();
        const bool isComplete = next.record->kind != Record::Kind::report || next.returned >= 0;
        if (!isComplete && next.record->begin > deadline)
            return;
        write(next);
        if (!isComplete)
            m_open.erase(next.record->number);
        Queue::giveBack(next.record);
        m_pending.pop_front();
        ++m_written;
    }
}

void Tape::write(const Pending &pending)
{
    const Record &record = *pending.record;
    if (record.kind == Record::Kind::change) {
        m_devices.change(at(record.begin));
        return;
    }
    if (record.kind == Record::Kind::call) {
        writeCall(record);
        return;
    }
    if (record.board < 0) {
        writeNegative(record);
        return;
    }
    m_devices.reports(at(record.begin), record.board);
    passOnDevices();
    std::optional<std::uint32_t> length;
    if (record.length != record.kept)
        length = record.length;
    std::optional<double> inside;
    if (pending.returned >= 0)
        inside = microseconds(pending.returned - record.begin);
    m_writer.addReport(at(record.begin), record.board, bytesOf(record), record.kept, length, inside);
    if (!m_trace)
        return;
    m_trace->addReport(record.board, bytesOf(record), record.kept, record.begin);
    if (pending.returned >= 0)
        m_trace->addReturn(record.board, record.begin, pending.returned);
}

void Tape::writeNegative(const Record &record)
{
    const std::string text = "board " + std::to_string(record.board) + " reports "
        + boardsim::hexText(bytesOf(record), static_cast<int>(record.kept));
    m_writer.add({{"type", "note"},
                  {"at", at(record.begin)},
                  {"text", capture::validText(text, boardsim::longestText)}});
}

void Tape::writeCall(const Record &record)
{
    const auto function = static_cast<Function>(record.function);
    const double inside = microseconds(record.end - record.begin);
    if (function == Function::SendTouchPacketToSystem) {
        m_writer.addHandback(at(record.begin), record.board, bytesOf(record), record.kept, record.thread,
                             inside);
        return;
    }
    capture::Writer::Json line{{"type", "call"},
                               {"at", at(record.begin)},
                               {"thread", record.thread},
                               {"export", functionNames[record.function].name},
                               {"arguments", argumentsOf(record, bytesOf(record))},
                               {"result", resultOf(record)}};
    line["inside"] = inside;
    m_writer.add(line);
    followDevices(record);
    passOnDevices();
    if (function == Function::Detach && m_trace)
        m_trace->write(record.end);
}

void Tape::followDevices(const Record &record)
{
    const std::int64_t time = at(record.begin);
    if (record.function == static_cast<std::uint8_t>(Function::GetDeviceCount)) {
        m_devices.counted(time, static_cast<int>(record.result));
    } else if (record.function == static_cast<std::uint8_t>(Function::EnumDeviceInfo)) {
        const std::uint8_t *const info = bytesOf(record);
        if ((record.result & 0xFF) != 0)
            m_devices.found(time, static_cast<int>(record.arguments[2]), record.board,
                            std::string(info, info + record.kept));
        m_devices.asked(time, static_cast<int>(record.arguments[0]));
    }
}

} // namespace recorder
