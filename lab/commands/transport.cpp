#include "commands/transport.h"

#include "capture/contacts.h"
#include "capture/writer.h"

#include <algorithm>

namespace lab {

namespace {

using std::chrono::duration_cast;
using std::chrono::microseconds;

constexpr auto look = std::chrono::milliseconds(50); // at the keys while it is paused

/// Who is down, pressed or hovering: what a report tells but for places and sizes.
std::string stateOf(const capture::Report &report)
{
    std::string state;
    for (const capture::Contact &contact : report.contacts) {
        const int what = (contact.down ? 1 : 0) | (contact.button ? 2 : 0) | (contact.bit2 ? 4 : 0);
        state += std::to_string(contact.id) + ":" + std::to_string(what) + " ";
    }
    return state;
}

capture::Line lineOf(capture::Line::Type type, int board = 0)
{
    capture::Line line;
    line.type = type;
    line.board = board;
    return line;
}

} // namespace

Transport::Transport(const boardsim::Scenario &scenario, World &world, const Tempo &tempo)
    : m_scenario(scenario), m_world(world), m_tempo(tempo)
{
}

bool Transport::play()
{
    for (;;) {
        m_begin = m_time = Clock::time_point();
        m_reports = 0;
        m_restarts = false;
        anchor();
        const bool hasEnded = boardsim::Player(m_scenario, *this).play();
        if (!hasEnded && !m_restarts)
            return false;
        if (hasEnded && !m_tempo.loops && !(m_tempo.stays && stay()))
            return !m_tempo.stays;
        rewind();
    }
}

/// Waits behind the end for a key that goes back; false if the play is to end.
bool Transport::stay()
{
    do {
        m_isPaused = true;
        m_rushReports = 0;
        m_rushTime.reset();
        m_world.pause(true);
    } while (waitUntil(m_time));
    return m_restarts;
}

bool Transport::waitUntil(Clock::time_point deadline)
{
    for (;;) {
        if (!obeyKeys() || m_restarts)
            return false;
        if (m_isPaused) {
            if (!waitWhilePaused() || m_restarts)
                return false;
            continue;
        }
        if (speed() <= 0 || (m_hasStarted && isRushing(deadline))) {
            m_time = std::max(m_time, deadline);
            anchor();
            return m_world.wait(m_realAnchor);
        }
        const auto ahead = duration_cast<Clock::duration>((deadline - m_anchor) / speed());
        const Clock::time_point due = m_realAnchor + ahead;
        if (m_world.now() >= due) {
            m_time = std::max(m_time, deadline);
            return true;
        }
        if (!m_world.wait(due))
            return false;
    }
}

bool Transport::isRushing(Clock::time_point deadline) const
{
    return m_reports < m_rushReports || (m_rushTime && deadline - m_begin < *m_rushTime);
}

double Transport::speed() const
{
    return m_hasStarted || (m_tempo.speed > 0 && m_tempo.speed < 1) ? m_tempo.speed : 1;
}

bool Transport::waitWhilePaused()
{
    // A rush ends in a pause: at the report or the time that was asked for.
    const bool goesOn = m_world.wait(m_world.now() + look);
    anchor();
    return goesOn;
}

bool Transport::obeyKeys()
{
    while (const int key = m_world.key()) {
        if (key == 'q')
            return false;
        press(key);
    }
    return true;
}

void Transport::press(int key)
{
    m_pausesAtReport = key == 'n';
    m_pausesAtChange = key == 'N';
    switch (key) {
    case ' ':
        m_isPaused = !m_isPaused;
        m_world.pause(m_isPaused);
        anchor();
        break;
    case 'n':
    case 'N':
        m_isPaused = false;
        anchor();
        break;
    case 'b':
        goBackTo(std::max<std::int64_t>(0, m_reports - 1));
        break;
    case 'g':
        goTo(microseconds(static_cast<std::int64_t>(m_world.askForSeconds() * 1e6)));
        break;
    default:
        break;
    }
}

void Transport::goBackTo(std::int64_t report)
{
    m_rushReports = report;
    m_rushTime.reset();
    m_isPaused = report == 0;
    m_restarts = true;
}

void Transport::goTo(microseconds time)
{
    m_rushTime = time;
    m_rushReports = 0;
    m_isPaused = false;
    m_restarts = time < duration_cast<microseconds>(m_time - m_begin);
}

void Transport::deliver(int board, const boardsim::Bytes &report)
{
    capture::Writer writer;
    writer.addReport(0, board, report.data(), report.size(), {}, {});
    capture::Line line = lineOf(capture::Line::Type::report, board);
    line.bytes = report;
    ++m_reports;
    if (!m_hasStarted)
        anchor();
    m_hasStarted = true;
    pauseAfter(changesContacts(board, report));
    send(line, writer);
}

void Transport::pauseAfter(bool contactsChanged)
{
    const bool rushEnds = m_rushReports > 0 && m_reports == m_rushReports;
    const bool timeHasCome = m_rushTime && m_time - m_begin >= *m_rushTime;
    if (!rushEnds && !timeHasCome && !m_pausesAtReport && !(m_pausesAtChange && contactsChanged))
        return;
    m_isPaused = true;
    m_rushReports = 0;
    m_rushTime.reset();
    m_pausesAtReport = m_pausesAtChange = false;
}

void Transport::plug(int board, bool plugged)
{
    capture::Writer writer;
    writer.add({{"type", plugged ? "plug" : "unplug"}, {"board", board}});
    capture::Line line = lineOf(plugged ? capture::Line::Type::plug : capture::Line::Type::unplug, board);
    send(line, writer);
}

void Transport::mark(const std::string &text)
{
    capture::Writer writer;
    writer.add({{"type", "mark"}, {"text", text}});
    capture::Line line = lineOf(capture::Line::Type::mark);
    send(line, writer);
}

void Transport::send(capture::Line &line, const capture::Writer &writer)
{
    line.text = writer.text();
    line.number = m_scenario.lines.at(m_step);
    line.at = duration_cast<microseconds>(m_time - m_begin).count();
    m_world.send(writer.text());
    m_boards.follow(line);
    m_world.show(line, m_isPaused);
}

void Transport::anchor()
{
    m_anchor = m_time;
    m_realAnchor = m_world.now();
}

void Transport::rewind()
{
    capture::Writer writer;
    m_boards.lift(0, writer);
    for (const boardsim::Device &device : m_scenario.devices) {
        const auto now = m_boards.devices().find(device.board);
        if (now != m_boards.devices().end() && now->second.plugged != device.plugged)
            writer.add({{"type", device.plugged ? "plug" : "unplug"}, {"board", device.board}});
    }
    m_world.send(writer.text());
    m_boards = {};
    m_states.clear();
}

bool Transport::changesContacts(int board, const boardsim::Bytes &report)
{
    capture::Report decoded;
    capture::decode(report.data(), report.size(), decoded);
    std::string &former = m_states[{board, static_cast<int>(decoded.kind)}];
    std::string state = stateOf(decoded);
    const bool changes = former != state;
    former = std::move(state);
    return changes;
}

} // namespace lab
