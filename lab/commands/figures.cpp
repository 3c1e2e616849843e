#include "commands/figures.h"

#include "hex.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include <nlohmann/json.hpp>

namespace lab {

namespace {

using capture::boardWidth;
using capture::Contact;
using capture::Line;
using capture::ReportKind;

constexpr std::int64_t second = 1'000'000;   // microseconds
constexpr std::int64_t dropoutTime = 50'000; // microseconds in which a contact is down again
constexpr double dropoutWay = 0.02 * boardWidth;

double distance(const Contact &a, const Contact &b)
{
    return std::hypot(a.x - b.x, a.y - b.y);
}

} // namespace

void Histogram::add(double value)
{
    const double step = std::clamp(value / m_step, 0.0, static_cast<double>(steps));
    ++m_counts.at(static_cast<std::size_t>(step));
    ++m_count;
}

std::optional<double> Histogram::median() const
{
    if (m_count == 0)
        return {};
    std::uint64_t below = 0;
    std::size_t step = 0;
    while (below + m_counts.at(step) <= (m_count - 1) / 2)
        below += m_counts.at(step++);
    return (static_cast<double>(step) + 0.5) * m_step;
}

void Pace::add(std::int64_t at)
{
    if (m_firstAt < 0)
        m_firstAt = at;
    m_lastAt = at;
    m_lastSecond.push_back(at);
    while (m_lastSecond.front() <= at - second)
        m_lastSecond.pop_front();
}

double Pace::rate(std::int64_t now) const
{
    return static_cast<double>(std::count_if(m_lastSecond.begin(), m_lastSecond.end(),
                                             [now](std::int64_t time) { return time > now - second; }));
}

bool Pace::isKnown(std::int64_t now) const
{
    return m_firstAt >= 0 && now - m_firstAt >= second;
}

void Intervals::add(std::int64_t microseconds)
{
    m_counts.add(static_cast<double>(microseconds));
    m_longest = std::max(m_longest, microseconds);
}

std::optional<double> Intervals::lowestRate() const
{
    if (m_longest <= 0)
        return {};
    return static_cast<double>(second) / static_cast<double>(m_longest);
}

std::optional<double> Intervals::medianRate() const
{
    const auto interval = m_counts.median();
    if (!interval)
        return {};
    return static_cast<double>(second) / *interval;
}

void Seconds::add(std::int64_t at, bool goesOn)
{
    if (!goesOn) {
        m_begin = at;
        m_count = 0;
    }
    // A long silence is many empty seconds, of which only the last hour counts.
    m_begin = std::max(m_begin, at - static_cast<std::int64_t>(most + 1) * second);
    for (; at - m_begin >= second; m_begin += second, m_count = 0) {
        m_counts.push_back(m_count);
        if (m_counts.size() > most)
            m_counts.pop_front();
    }
    ++m_count;
}

std::optional<double> Seconds::lowestRate() const
{
    if (m_counts.empty())
        return {};
    return *std::min_element(m_counts.begin(), m_counts.end());
}

std::optional<double> Seconds::medianRate() const
{
    if (m_counts.empty())
        return {};
    std::vector<std::uint32_t> counts(m_counts.begin(), m_counts.end());
    const auto median = counts.begin() + static_cast<std::ptrdiff_t>((counts.size() - 1) / 2);
    std::nth_element(counts.begin(), median, counts.end());
    return *median;
}

bool ContactFigures::isStuck(std::int64_t now) const
{
    return last.down && now - pace.lastAt() >= second;
}

void Figures::follow(const Line &line)
{
    m_time = std::max(m_time, line.at.value_or(0));
    m_now = std::max(m_now, m_time);
    switch (line.type) {
    case Line::Type::first:
        followFirst(line);
        break;
    case Line::Type::report:
        followReport(line);
        break;
    case Line::Type::handback:
        ++m_boards[line.board].handbacks;
        break;
    case Line::Type::device:
        m_boards[line.board].plugged = nlohmann::json::parse(line.text).value("plugged", true);
        break;
    case Line::Type::plug:
        m_boards[line.board].plugged = true;
        break;
    case Line::Type::unplug:
        m_boards[line.board].plugged = false;
        forgetContacts(line.board);
        break;
    case Line::Type::lost: {
        const nlohmann::json lost = nlohmann::json::parse(line.text);
        (lost.contains("reader") ? m_missed : m_lost) += lost.at("count").get<std::uint64_t>();
        break;
    }
    default:
        break;
    }
}

void Figures::pass(std::chrono::microseconds time)
{
    m_now = std::max(m_now, m_time + time.count());
}

void Figures::followFirst(const Line &line)
{
    const nlohmann::json first = nlohmann::json::parse(line.text);
    const auto screens = first.find("screens");
    if (screens == first.end() || !screens->is_array())
        return;
    for (const nlohmann::json &screen : *screens) {
        const auto isLength = [&screen](const char *name) {
            return screen.is_object() && screen.contains(name) && screen[name].is_number_integer();
        };
        if (!isLength("width") || !isLength("height") || screen.value("primary", nlohmann::json()) != true)
            continue;
        m_screenWidth = screen["width"].get<int>();
        m_screenHeight = screen["height"].get<int>();
    }
}

void Figures::followReport(const Line &line)
{
    Board &board = m_boards[line.board];
    ++board.reports;
    board.pace.add(m_time);
    board.seconds.add(m_time, board.down > 0);
    if (line.inside) {
        board.inside.add(*line.inside);
        board.longestInside = std::max(board.longestInside, *line.inside);
    }
    board.lastHex = boardsim::hexText(line.bytes.data(), static_cast<int>(line.bytes.size()));
    capture::decode(line.bytes.data(), line.bytes.size(), m_report);
    if (m_report.kind == ReportKind::other || m_report.surplus > 0)
        ++board.undecodable;
    for (const Contact &contact : m_report.contacts)
        followContact(line.board, m_report.kind, contact);
}

void Figures::followContact(int board, ReportKind kind, const Contact &contact)
{
    const auto [found, isNew] = m_contacts.try_emplace({board, kind, contact.id});
    ContactFigures &figures = found->second;
    const bool wasDown = figures.last.down;
    countLift(board, kind, figures, contact);
    if (!isNew) {
        figures.since = m_time - figures.pace.lastAt();
        figures.movedX = contact.x - figures.last.x;
        figures.movedY = contact.y - figures.last.y;
    }
    if (wasDown && contact.down)
        figures.intervals.add(m_time - figures.pace.lastAt());
    figures.pace.add(m_time);
    figures.last = contact;
    ++figures.samples;
    figures.lowestX = std::min(figures.lowestX, contact.x);
    figures.highestX = std::max(figures.highestX, contact.x);
    figures.lowestY = std::min(figures.lowestY, contact.y);
    figures.highestY = std::max(figures.highestY, contact.y);
}

void Figures::countLift(int number, ReportKind kind, ContactFigures &figures, const Contact &contact)
{
    Board &board = m_boards[number];
    const bool wasDown = figures.last.down;
    board.down += (contact.down ? 1 : 0) - (wasDown ? 1 : 0);
    if (wasDown && !contact.down) {
        figures.liftedAt = m_time;
        figures.lifted = figures.last;
    } else if (!wasDown && !contact.down && kind != ReportKind::pen) {
        ++board.orphanLifts;
    } else if (!wasDown && contact.down && figures.liftedAt && m_time - *figures.liftedAt <= dropoutTime
               && distance(figures.lifted, contact) <= dropoutWay) {
        ++board.dropouts;
    }
}

/// An unplugged board lifts nothing; whatever was down no longer is.
void Figures::forgetContacts(int board)
{
    m_boards[board].down = 0;
    for (auto &[key, figures] : m_contacts) {
        if (std::get<0>(key) == board)
            figures.last.down = false;
    }
}

std::uint64_t Figures::stuck() const
{
    return static_cast<std::uint64_t>(
        std::count_if(m_contacts.begin(), m_contacts.end(),
                      [this](const auto &entry) { return entry.second.isStuck(m_now); }));
}

} // namespace lab
