#include "accept/seen.h"

#include <algorithm>
#include <cmath>

namespace acceptance {

namespace {

constexpr std::int64_t soon = 50'000; ///< microseconds

} // namespace

void Seen::begin()
{
    for (const auto &[key, stroke] : m_down)
        m_former.insert(key);
    m_down.clear();
    m_strokes.clear();
    m_plugged.clear();
    m_mostDown = 0;
}

void Seen::follow(const capture::Line &line)
{
    using Type = capture::Line::Type;
    m_last = line.at.value_or(m_last);
    if (line.type == Type::plug || line.type == Type::unplug)
        m_plugged.push_back({m_last, line.type == Type::plug});
    if (line.type == Type::unplug)
        unplug(line.board, m_last);
    if (line.type != Type::report)
        return;
    capture::decode(line.bytes.data(), line.bytes.size(), m_report);
    for (const capture::Contact &contact : m_report.contacts)
        follow(m_last, line.board, contact);
}

void Seen::follow(std::int64_t at, int board, const capture::Contact &contact)
{
    const Key key{board, m_report.kind, contact.id};
    if (m_former.count(key) > 0) {
        if (!contact.down)
            m_former.erase(key);
        return;
    }
    const auto found = m_down.find(key);
    if (!contact.down) {
        if (found == m_down.end())
            return;
        m_strokes[found->second].hasLifted = true;
        m_strokes[found->second].end = at;
        m_down.erase(found);
        return;
    }
    if (found == m_down.end()) {
        m_down[key] = m_strokes.size();
        m_strokes.emplace_back();
        std::tie(m_strokes.back().board, m_strokes.back().kind, m_strokes.back().id) = key;
        m_mostDown = std::max(m_mostDown, down());
    }
    Stroke &stroke = m_strokes[m_down[key]];
    stroke.samples.push_back({at, {double(contact.x), double(contact.y)}});
    stroke.end = at;
    stroke.width = std::max(stroke.width, contact.width);
    stroke.height = std::max(stroke.height, contact.height);
}

/// The contacts of a board leave with it.
void Seen::unplug(int board, std::int64_t at)
{
    for (auto entry = m_down.begin(); entry != m_down.end();) {
        const bool isGone = std::get<0>(entry->first) == board;
        if (isGone) {
            m_strokes[entry->second].hasLifted = true;
            m_strokes[entry->second].end = at;
        }
        entry = isGone ? m_down.erase(entry) : std::next(entry);
    }
    for (auto former = m_former.begin(); former != m_former.end();)
        former = std::get<0>(*former) == board ? m_former.erase(former) : std::next(former);
}

bool isDropout(const Stroke &former, const Stroke &next)
{
    constexpr double near = 0.02 * boardWidth;
    const Place &from = former.samples.back().place;
    const Place &to = next.samples.front().place;
    return former.hasLifted && former.board == next.board && former.kind == next.kind
        && next.begin() >= former.end && next.begin() - former.end <= soon
        && std::hypot(to.x - from.x, to.y - from.y) <= near;
}

int dropoutsIn(const std::vector<Stroke> &strokes)
{
    int count = 0;
    std::multimap<std::int64_t, const Stroke *> former; // by their ends: a bad board has thousands of strokes
    for (const Stroke &next : strokes) {
        const auto goesOn = [&next](const auto &entry) { return isDropout(*entry.second, next); };
        const auto begin = former.lower_bound(next.begin() - soon);
        count += std::any_of(begin, former.upper_bound(next.begin()), goesOn) ? 1 : 0;
        former.emplace(next.end, &next);
    }
    return count;
}

} // namespace acceptance
