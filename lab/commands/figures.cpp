#include "commands/figures.h"

#include "hex.h"

#include <algorithm>
#include <cmath>

#include <nlohmann/json.hpp>

namespace lab {

namespace {

using capture::Contact;
using capture::Line;
using capture::ReportKind;

constexpr std::int64_t second = 1'000'000;   // microseconds
constexpr std::int64_t dropoutTime = 50'000; // microseconds in which a pen touches again
constexpr double boardWidth = 32768;         // board units
constexpr double dropoutWay = 0.02 * boardWidth;

void keepLastSecond(std::deque<std::int64_t> &times, std::int64_t now)
{
    times.push_back(now);
    while (times.front() <= now - second)
        times.pop_front();
}

double rateOf(const std::deque<std::int64_t> &times, std::int64_t now)
{
    return static_cast<double>(
        std::count_if(times.begin(), times.end(), [now](std::int64_t time) { return time > now - second; }));
}

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

double ContactFigures::rate(std::int64_t now) const
{
    return rateOf(lastSecond, now);
}

double Figures::Board::rate(std::int64_t now) const
{
    return rateOf(lastSecond, now);
}

void Figures::follow(const Line &line)
{
    m_now = std::max(m_now, line.at.value_or(0));
    switch (line.type) {
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
    case Line::Type::unplug:
        m_boards[line.board].plugged = line.type == Line::Type::plug;
        break;
    case Line::Type::lost:
        m_lost += nlohmann::json::parse(line.text).at("count").get<std::uint64_t>();
        break;
    default:
        break;
    }
}

void Figures::followReport(const Line &line)
{
    Board &board = m_boards[line.board];
    ++board.reports;
    keepLastSecond(board.lastSecond, m_now);
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
    const bool wasDown = !isNew && figures.last.down;
    if (!contact.down && !wasDown && kind != ReportKind::pen)
        ++m_boards[board].orphanLifts;
    if (contact.down && !wasDown) {
        countDropout(board, figures, contact);
        figures.downAt = m_now;
    }
    if (wasDown && contact.down) {
        const std::int64_t interval = m_now - figures.lastAt;
        figures.intervals.add(static_cast<double>(interval));
        figures.longestInterval = std::max(figures.longestInterval, interval);
    }
    if (!isNew) {
        figures.since = m_now - figures.lastAt;
        figures.movedX = contact.x - figures.last.x;
        figures.movedY = contact.y - figures.last.y;
    }
    figures.last = contact;
    figures.lastAt = m_now;
    ++figures.samples;
    keepLastSecond(figures.lastSecond, m_now);
    figures.lowestX = std::min(figures.lowestX, contact.x);
    figures.highestX = std::max(figures.highestX, contact.x);
    figures.lowestY = std::min(figures.lowestY, contact.y);
    figures.highestY = std::max(figures.highestY, contact.y);
}

void Figures::countDropout(int board, const ContactFigures &figures, const Contact &contact)
{
    const bool wasHere = figures.samples > 0 && figures.downAt > 0;
    if (wasHere && m_now - figures.lastAt <= dropoutTime && distance(figures.last, contact) <= dropoutWay)
        ++m_boards[board].dropouts;
}

std::uint64_t Figures::stuck() const
{
    return static_cast<std::uint64_t>(
        std::count_if(m_contacts.begin(), m_contacts.end(), [this](const auto &entry) {
            return entry.second.last.down && m_now - entry.second.lastAt >= second;
        }));
}

} // namespace lab
