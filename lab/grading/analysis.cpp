#include "grading/analysis.h"

#include "capture/systemreport.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include <nlohmann/json.hpp>

namespace grading {

namespace {

using capture::Contact;
using capture::Line;
using capture::ReportKind;
using Json = nlohmann::json;

constexpr std::size_t mostIntervals = 50; // milliseconds that are told apart
constexpr std::size_t mostUndecodable = 10;
constexpr std::size_t mostBytes = 64; // of each that are shown
constexpr std::size_t mostNotes = 100;

/// The rates of a report by the share of the half seconds that do not exceed them.
constexpr std::array<std::pair<const char *, double>, 4> rateShares{
    {{"rate_min_hz", 0}, {"rate_p1_hz", 0.01}, {"rate_p5_hz", 0.05}, {"rate_p50_hz", 0.5}}};

bool isCount(std::string_view key)
{
    constexpr std::string_view ending = "_count";
    return key.size() > ending.size() && key.substr(key.size() - ending.size()) == ending;
}

bool isContact(ReportKind kind)
{
    return kind == ReportKind::pen || kind == ReportKind::touch || kind == ReportKind::erase;
}

} // namespace

Analysis::Analysis(std::optional<BoardSize> size, ContactSink sink)
    : m_size(size), m_sink(std::move(sink)), m_tracker(*this)
{
    m_summary.intervals.resize(mostIntervals + 1);
}

void Analysis::follow(const Line &line)
{
    m_summary.duration = std::max(m_summary.duration, line.at.value_or(0));
    switch (line.type) {
    case Line::Type::report:
        followReport(line);
        break;
    case Line::Type::handback:
        ++m_summary.handbacks;
        m_handbacks.handback(capture::decodeForSystem(line.bytes.data(), line.bytes.size()),
                             m_summary.duration);
        break;
    case Line::Type::unplug:
        m_tracker.unplug(line.board);
        break;
    default:
        followOther(line);
        break;
    }
}

void Analysis::followOther(const Line &line)
{
    if (line.type == Line::Type::first) {
        m_summary.firstLine = line.text;
    } else if (line.type == Line::Type::device) {
        const Json json = Json::parse(line.text);
        DeviceSummary &device = m_summary.devices[line.board];
        device.kind = json.value("kind", 0);
        device.info = json.value("info", "");
    } else if (line.type == Line::Type::lost) {
        const Json json = Json::parse(line.text);
        if (!json.contains("reader"))
            fold(m_summary.figures, "lost_count", json.at("count").get<double>(), Fold::sum);
    } else if (line.type == Line::Type::note && m_summary.notes.size() < mostNotes) {
        m_summary.notes.push_back(Json::parse(line.text).value("text", ""));
    }
}

void Analysis::followReport(const Line &line)
{
    const std::int64_t at = m_summary.duration;
    capture::decode(line.bytes.data(), line.bytes.size(), m_report);
    ++m_summary.reports.at(static_cast<std::size_t>(m_report.kind));
    ++m_summary.devices[line.board].reports;
    if (line.inside) {
        m_inside.add(*line.inside);
        m_summary.evidence["callback_p50_us"].add(*line.inside);
    }
    const bool isUndecodable = m_report.kind == ReportKind::other || m_report.surplus > 0;
    m_summary.evidence["undecodable_count"].add(isUndecodable ? 1 : 0);
    if (isUndecodable) {
        fold(m_summary.figures, "undecodable_count", 1, Fold::sum);
        if (m_summary.undecodable.size() < mostUndecodable) {
            const std::size_t shown = std::min(line.bytes.size(), mostBytes);
            m_summary.undecodable.push_back(
                {line.number,
                 at,
                 line.board,
                 {line.bytes.begin(), line.bytes.begin() + static_cast<std::ptrdiff_t>(shown)}});
        }
    }
    if (!isContact(m_report.kind))
        return;
    std::vector<std::uint8_t> &last = m_lastBytes[{line.board, m_report.kind}];
    if (last == line.bytes)
        ++m_unchanged;
    else
        last = line.bytes;
    m_handbacks.report(m_report, at);
    m_tracker.follow(line.board, m_report, at);
}

void Analysis::began(const Track &track)
{
    m_open[track.serial];
    ++m_summary.contacts[track.kind];
    const int down = ++m_down[{track.board, track.kind}];
    int &most = m_summary.mostAtOnce[track.kind];
    most = std::max(most, down);
    m_neighbours.began(track);
    if (track.kind == ReportKind::pen)
        flushHover(track.board, track.id);
}

void Analysis::moved(const Track &track)
{
    m_neighbours.moved(track);
    m_summary.maps[track.board].add(track);
    if (!track.isMoving() || track.samples.back().alone)
        return;
    // What others do matters to contacts that rest.
    for (auto &[serial, open] : m_open)
        open.sawMotion = open.sawMotion || serial != track.serial;
}

void Analysis::filled(const Track &track)
{
    measure(track, m_open[track.serial]);
}

void Analysis::ended(const Track &track, Track::End end)
{
    m_neighbours.ended(track, end);
    m_summary.maps[track.board].end(track);
    --m_down[{track.board, track.kind}];

    const auto found = m_open.find(track.serial);
    Open open = std::move(found->second);
    m_open.erase(found);
    measure(track, open);
    const std::int64_t silent = m_summary.duration - track.to;
    const bool isStuck = end != Track::End::lifted && silent >= second;
    open.figures["stuck_count"] = isStuck ? 1 : 0;
    foldContact(track, open);
    if (m_sink)
        m_sink({track.kind, track.board, track.id, track.from, track.to, track.count, end, open.figures});
}

void Analysis::liftedWithoutDown(int, ReportKind, const Contact &)
{
    fold(m_summary.figures, "orphan_lift_count", 1, Fold::sum);
}

void Analysis::hovered(int board, const Contact &pen, std::int64_t at)
{
    std::vector<Sample> &samples = m_hover[{board, pen.id}];
    if (!samples.empty() && (at - samples.back().at > second / 2 || samples.size() >= Tracker::longest))
        flushHover(board, pen.id);
    samples.emplace_back(at, pen);
}

void Analysis::flushHover(int board, int pen)
{
    std::vector<Sample> &samples = m_hover[{board, pen}];
    m_summary.rates[{ReportKind::pen, Activity::hovering}].add(samples);
    samples.clear();
}

void Analysis::measure(const Track &track, Open &open)
{
    if (track.isMoving())
        measureMotion(track, open);
    else if (track.isResting())
        measureRest(track, open);
    else
        measureTap(track, open);
}

void Analysis::measureRest(const Track &track, Open &open)
{
    m_summary.rates[{track.kind, Activity::resting}].add(track.samples);
    const auto note = [&](const std::string &unit, const Rest &rest) {
        fold(open.figures, "jitter_rms_" + unit, rest.rms(), Fold::highest);
        fold(open.figures, "jitter_p2p_" + unit, rest.peak(), Fold::highest);
        fold(open.figures, "drift_" + unit, rest.drift, Fold::highest);
        if (open.sawMotion)
            fold(open.figures, "rest_while_moving_" + unit, rest.farthest, Fold::highest);
    };
    const Rest rest = restOf(track.samples);
    note("units", rest);
    fold(open.figures, "jitter_rms_x_units", rest.rmsX, Fold::highest);
    fold(open.figures, "jitter_rms_y_units", rest.rmsY, Fold::highest);
    fold(open.figures, "jitter_p2p_x_units", rest.peakX, Fold::highest);
    fold(open.figures, "jitter_p2p_y_units", rest.peakY, Fold::highest);
    if (m_size)
        note("mm", restOf(track.samples, m_size->scale()));
    m_summary.maps[track.board].addRest(track, rest);
}

void Analysis::measureTap(const Track &track, Open &open)
{
    fold(open.figures, "tap_wobble_units", wobbleOf(track.samples), Fold::highest);
    if (m_size)
        fold(open.figures, "tap_wobble_mm", wobbleOf(track.samples, m_size->scale()), Fold::highest);
}

void Analysis::measureMotion(const Track &track, Open &open)
{
    const bool isFirstPart = track.samples.front().at == track.from;
    if (track.to - track.from >= second) {
        if (!open.rates)
            open.rates.emplace();
        open.rates->add(track.samples);
    }
    const Gaps gaps = gapsOf(track.samples);
    fold(open.figures, "gap_count", static_cast<double>(gaps.count), Fold::sum);
    fold(open.figures, "gap_worst_ratio", gaps.worstRatio, Fold::highest);
    const std::vector<Jump> jumps = jumpsOf(track.samples);
    fold(open.figures, "jump_count", static_cast<double>(jumps.size()), Fold::sum);
    for (const Jump &jump : jumps)
        m_summary.jumps.add(track.board, jump.to);
    if (const auto ratio = firstMoveOf(track.samples); ratio && isFirstPart)
        fold(open.figures, "first_move_ratio", *ratio, Fold::highest);
    countIntervals(track);

    const auto note = [&](const std::string &unit, const Straight &straight) {
        fold(open.figures, "line_rms_" + unit, straight.rms, Fold::highest);
        fold(open.figures, "line_max_" + unit, straight.largest, Fold::highest);
        fold(open.figures, "line_ends_max_" + unit, straight.endsLargest, Fold::highest);
        fold(open.figures, "reverse_" + unit, straight.reverse, Fold::highest);
    };
    if (const auto straight = straightOf(track)) {
        note("units", *straight);
        m_summary.maps[track.board].addStraight(track, *straight);
    }
    if (!m_size)
        return;
    if (const auto straight = straightOf(track, m_size->scale())) {
        note("mm", *straight);
        fold(open.figures, "travel_jitter_mm", spreadWithin(*straight, 10), Fold::highest);
    }
}

void Analysis::countIntervals(const Track &track)
{
    for (std::size_t i = 1; i < track.samples.size(); ++i) {
        const auto milliseconds =
            static_cast<std::size_t>((track.samples[i].at - track.samples[i - 1].at) / 1000);
        ++m_summary.intervals[std::min(milliseconds, mostIntervals)];
    }
}

void Analysis::foldContact(const Track &track, Open &open)
{
    for (const auto &[key, value] : open.figures) {
        fold(m_summary.figures, key, value, isCount(key) ? Fold::sum : Fold::highest);
        m_summary.evidence[key].add(value);
    }
    if (!open.rates)
        return;
    m_summary.rates[{track.kind, Activity::moving}].add(*open.rates);
    for (const auto &[key, share] : rateShares) {
        if (const auto rate = open.rates->all.quantile(share)) {
            open.figures[key] = *rate;
            m_summary.evidence[key].add(*rate);
        }
    }
}

Summary Analysis::finish()
{
    m_tracker.finish();
    m_neighbours.finish();
    m_handbacks.finish(m_summary.duration);
    for (const auto &[pen, samples] : m_hover)
        m_summary.rates[{ReportKind::pen, Activity::hovering}].add(samples);
    foldFindings();
    finishRates();
    finishMaps();
    return std::move(m_summary);
}

void Analysis::foldFindings()
{
    Figures &figures = m_summary.figures;
    std::int64_t contacts = 0;
    for (const auto &[kind, count] : m_summary.contacts)
        contacts += count;
    const auto note = [&](const char *key, std::int64_t count) {
        figures[key] = static_cast<double>(count);
        Evidence &evidence = m_summary.evidence[key];
        for (std::int64_t i = 0; i < contacts; ++i)
            evidence.add(i < count ? 1 : 0);
    };
    const Neighbours::Findings &findings = m_neighbours.findings();
    note("id_swap_count", findings.swaps.count());
    note("ghost_count", findings.ghosts.count());
    note("dropout_count", findings.dropouts.count());
    note("merge_count", findings.merges.count());
    note("handback_violation_count", m_handbacks.violations());
    std::uint64_t intervals = 0;
    for (const std::uint64_t count : m_summary.intervals)
        intervals += count;
    if (intervals > 0)
        figures["gap_percent"] = figures["gap_count"] / static_cast<double>(intervals) * 100;
    // What was never found was found no time.
    for (const char *const key :
         {"gap_count", "jump_count", "stuck_count", "orphan_lift_count", "undecodable_count", "lost_count"})
        figures.try_emplace(key, 0);
    if (findings.drumRoll) {
        figures["drum_roll_units"] = *findings.drumRoll;
        if (m_size)
            figures["drum_roll_mm"] = *findings.drumRoll * std::max(m_size->scale().x, m_size->scale().y);
    }
    m_summary.neighbours = findings;
    m_summary.contactsHandedBack = m_handbacks.contacts();
    m_summary.complaints = m_handbacks.complaints();
}

void Analysis::finishRates()
{
    Figures &figures = m_summary.figures;
    const auto note = [&figures](const char *key, std::optional<double> value) {
        if (value)
            figures[key] = *value;
    };
    Rates moving;
    for (const auto &[kind, rates] : m_summary.rates) {
        if (kind.second == Activity::moving)
            moving.add(rates);
    }
    for (const auto &[key, share] : rateShares)
        note(key, moving.all.quantile(share));
    note("rate_one_min_hz", moving.alone.lowest());
    note("rate_many_min_hz", moving.together.lowest());
    note("callback_p50_us", m_inside.median());
    note("callback_p99_us", m_inside.quantile(0.99));
    std::uint64_t reports = 0;
    for (const ReportKind kind : {ReportKind::pen, ReportKind::touch, ReportKind::erase})
        reports += m_summary.reports.at(static_cast<std::size_t>(kind));
    if (reports > 0)
        figures["unchanged_percent"] = static_cast<double>(m_unchanged) / static_cast<double>(reports) * 100;
}

/// With several boards, the figure is that of the worst one.
void Analysis::finishMaps()
{
    for (const auto &[board, map] : m_summary.maps) {
        fold(m_summary.figures, "coverage_percent", map.coveragePercent(), Fold::lowest);
        fold(m_summary.figures, "edge_left_percent", map.leftPercent(), Fold::highest);
        fold(m_summary.figures, "edge_right_percent", map.rightPercent(), Fold::highest);
        fold(m_summary.figures, "edge_top_percent", map.topPercent(), Fold::highest);
        fold(m_summary.figures, "edge_bottom_percent", map.bottomPercent(), Fold::highest);
    }
    m_summary.figures.try_emplace("coverage_percent", 0);
}

} // namespace grading
