#include "grading/maps.h"

#include <algorithm>
#include <cmath>

namespace grading {

namespace {

constexpr std::size_t mostPoints = 20'000;
constexpr std::size_t mostStrokes = 5'000;

double percent(double units)
{
    return std::max(0.0, units / boardWidth * 100);
}

} // namespace

std::optional<std::size_t> cellOf(int x, int y)
{
    const auto column = static_cast<int>(x * columns / boardWidth);
    const auto row = static_cast<int>(y * rows / boardWidth);
    if (column >= columns || row >= rows)
        return {};
    return static_cast<std::size_t>(row * columns + column);
}

void CellMap::add(int x, int y, double value)
{
    if (const auto cell = cellOf(x, y)) {
        m_squares.at(*cell) += value * value;
        ++m_counts.at(*cell);
        m_isEmpty = false;
    }
}

std::optional<double> CellMap::at(std::size_t cell) const
{
    if (m_counts.at(cell) == 0)
        return {};
    return std::sqrt(m_squares.at(cell) / m_counts.at(cell));
}

double Drawing::distance(const Point &a, const Sample &b)
{
    return std::hypot(a.x - b.x, a.y - b.y);
}

void Drawing::add(const Track &track)
{
    const Sample &sample = track.samples.back();
    const auto [open, isNew] = m_open.try_emplace(track.serial);
    open->second.last = sample;
    if (isNew) {
        open->second.stroke = m_strokes.size();
        m_strokes.push_back({track.kind, {{sample.x, sample.y}}});
        ++m_points;
    } else {
        std::vector<Point> &points = m_strokes[open->second.stroke].points;
        if (distance(points.back(), sample) < m_step)
            return;
        points.push_back({sample.x, sample.y});
        ++m_points;
    }
    if (m_points > mostPoints || m_strokes.size() > mostStrokes)
        thin();
}

void Drawing::end(const Track &track)
{
    const auto open = m_open.find(track.serial);
    if (open == m_open.end())
        return;
    std::vector<Point> &points = m_strokes[open->second.stroke].points;
    if (points.size() > 1) {
        points.push_back({open->second.last.x, open->second.last.y});
        ++m_points;
    }
    m_open.erase(open);
}

/// Leaves out every second of the places that are near to each other, until half of the room is free.
void Drawing::thin()
{
    while (m_points > mostPoints / 2 || m_strokes.size() > mostStrokes / 2) {
        m_step *= 2;
        m_points = 0;
        std::map<std::pair<int, int>, bool> dots; // cells of m_step with a contact that did not move far
        std::vector<Stroke> kept;
        std::map<std::size_t, std::size_t> moved; // indices, old and new
        for (std::size_t i = 0; i < m_strokes.size(); ++i) {
            Stroke &stroke = m_strokes[i];
            const Point last = stroke.points.back();
            const auto isNear = [&, before = stroke.points.front(),
                                 isFirst = true](const Point &point) mutable {
                const double way = std::hypot(point.x - before.x, point.y - before.y);
                if (isFirst || way >= m_step) {
                    isFirst = false;
                    before = point;
                    return false;
                }
                return true;
            };
            auto &points = stroke.points;
            points.erase(std::remove_if(points.begin(), points.end(), isNear), points.end());
            const std::pair cell{static_cast<int>(last.x / m_step), static_cast<int>(last.y / m_step)};
            const bool isOpen = std::any_of(m_open.begin(), m_open.end(),
                                            [i](const auto &open) { return open.second.stroke == i; });
            if (points.size() == 1 && !isOpen && !dots.try_emplace(cell, true).second)
                continue;
            moved[i] = kept.size();
            m_points += points.size();
            kept.push_back(std::move(stroke));
        }
        m_strokes = std::move(kept);
        for (auto &[serial, open] : m_open)
            open.stroke = moved.at(open.stroke);
        if (m_step > boardWidth)
            return;
    }
}

void BoardMap::add(const Track &track)
{
    const Sample &sample = track.samples.back();
    if (const auto cell = cellOf(sample.x, sample.y))
        ++m_counts.at(*cell);
    m_lowestX = std::min<int>(m_lowestX, sample.x);
    m_highestX = std::max<int>(m_highestX, sample.x);
    m_lowestY = std::min<int>(m_lowestY, sample.y);
    m_highestY = std::max<int>(m_highestY, sample.y);
    m_drawing.add(track);
}

void BoardMap::end(const Track &track)
{
    m_drawing.end(track);
}

void BoardMap::addRest(const Track &track, const Rest &rest)
{
    m_jitter.add(track.first.x, track.first.y, rest.rms());
}

void BoardMap::addStraight(const Track &track, const Straight &straight)
{
    for (std::size_t i = 0; i < track.samples.size(); ++i)
        m_linearity.add(track.samples[i].x, track.samples[i].y, straight.deviations[i]);
}

double BoardMap::coveragePercent() const
{
    const auto seen = std::count_if(m_counts.begin(), m_counts.end(), [](auto count) { return count > 0; });
    return static_cast<double>(seen) / static_cast<double>(cells) * 100;
}

double BoardMap::leftPercent() const
{
    return percent(m_lowestX);
}

double BoardMap::rightPercent() const
{
    return percent(boardWidth - 1 - m_highestX);
}

double BoardMap::topPercent() const
{
    return percent(m_lowestY);
}

double BoardMap::bottomPercent() const
{
    return percent(boardWidth - 1 - m_highestY);
}

} // namespace grading
