#include "commands/watchtext.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace lab {

namespace {

using capture::ReportKind;
using Json = nlohmann::ordered_json;

template <typename... Arguments> std::string format(const char *pattern, Arguments... arguments)
{
    std::array<char, 256> text{};
    const int length = std::snprintf(text.data(), text.size(), pattern, arguments...);
    return {text.data(), static_cast<std::size_t>(std::clamp(length, 0, int(text.size()) - 1))};
}

/// Raw units to pixels of a screen of 1920 x 1080, which most boards have.
int pixels(int units, int size)
{
    return units * size / 32768;
}

std::string optionalText(const char *pattern, const std::optional<double> &value)
{
    return value ? format(pattern, *value) : "-";
}

std::string stateText(ReportKind kind, const capture::Contact &contact, bool isSilent)
{
    std::string state = contact.down ? "down" : kind == ReportKind::pen ? "hover" : "up";
    if (contact.button)
        state += "+btn";
    if (contact.down && isSilent)
        state = "STUCK";
    return state;
}

std::string sizeText(ReportKind kind, const capture::Contact &contact)
{
    if (kind == ReportKind::touch)
        return std::to_string(contact.width);
    if (kind == ReportKind::erase)
        return format("%dx%d", contact.width, contact.height);
    return "-";
}

/// The lowest rate is what the longest interval amounts to.
std::optional<double> perSecond(std::optional<double> interval)
{
    if (!interval || *interval <= 0)
        return {};
    return 1e6 / *interval;
}

std::optional<double> lowestRate(const ContactFigures &contact)
{
    if (contact.longestInterval == 0)
        return {};
    return perSecond(static_cast<double>(contact.longestInterval));
}

std::string boardLine(int number, const Figures::Board &board, std::int64_t now)
{
    return format("board %d%s  %.0f/s  %llu reports  %llu unreadable  %llu dropouts  %llu lifts of nothing  "
                  "%llu back",
                  number, board.plugged ? "" : " (unplugged)", board.rate(now),
                  static_cast<unsigned long long>(board.reports),
                  static_cast<unsigned long long>(board.undecodable),
                  static_cast<unsigned long long>(board.dropouts),
                  static_cast<unsigned long long>(board.orphanLifts),
                  static_cast<unsigned long long>(board.handbacks))
        + "  inside " + optionalText("%.1f", board.inside.median())
        + format(" us, longest %.1f", board.longestInside);
}

constexpr const char *heading =
    "  contact    state     now/s  lowest  median   age ms       x      y   px,py      size"
    "     ms    dx    dy       min x..max x       min y..max y";

std::string contactLine(const Figures::Key &key, const ContactFigures &contact, std::int64_t now)
{
    const auto &[board, kind, id] = key;
    const std::int64_t age = now - contact.lastAt;
    return format("  %-6s %3d %-8s %6.0f", std::string(nameOf(kind)).c_str(), id,
                  stateText(kind, contact.last, age >= 1'000'000).c_str(), contact.rate(now))
        + format("  %6s  %6s", optionalText("%.0f", lowestRate(contact)).c_str(),
                 optionalText("%.0f", perSecond(contact.intervals.median())).c_str())
        + format("  %7lld  %6d %6d  %4d,%-4d  %7s", static_cast<long long>(age / 1000), contact.last.x,
                 contact.last.y, pixels(contact.last.x, 1920), pixels(contact.last.y, 1080),
                 sizeText(kind, contact.last).c_str())
        + format("  %5.1f %5d %5d", contact.since ? static_cast<double>(*contact.since) / 1000 : 0.0,
                 contact.movedX, contact.movedY)
        + format("  %7d..%-7d  %7d..%-7d", contact.lowestX, contact.highestX, contact.lowestY,
                 contact.highestY);
}

Json optionalJson(const std::optional<double> &value)
{
    return value ? Json(*value) : Json();
}

Json contactJson(const Figures::Key &key, const ContactFigures &contact, std::int64_t now)
{
    const auto &[board, kind, id] = key;
    return {{"board", board},
            {"kind", nameOf(kind)},
            {"id", id},
            {"down", contact.last.down},
            {"button", contact.last.button},
            {"x", contact.last.x},
            {"y", contact.last.y},
            {"width", contact.last.width},
            {"height", contact.last.height},
            {"samples", contact.samples},
            {"rate_hz", contact.rate(now)},
            {"lowest_rate_hz", optionalJson(lowestRate(contact))},
            {"median_rate_hz", optionalJson(perSecond(contact.intervals.median()))},
            {"age_s", static_cast<double>(now - contact.lastAt) / 1e6},
            {"min_x", contact.lowestX},
            {"max_x", contact.highestX},
            {"min_y", contact.lowestY},
            {"max_y", contact.highestY}};
}

Json boardJson(int number, const Figures::Board &board, std::int64_t now)
{
    return {{"board", number},
            {"plugged", board.plugged},
            {"rate_hz", board.rate(now)},
            {"reports", board.reports},
            {"undecodable_count", board.undecodable},
            {"dropout_count", board.dropouts},
            {"orphan_lift_count", board.orphanLifts},
            {"handback_count", board.handbacks},
            {"inside_median_us", optionalJson(board.inside.median())},
            {"inside_longest_us", board.longestInside}};
}

} // namespace

std::vector<std::string> watchText(const Figures &figures, bool showsBytes)
{
    std::vector<std::string> lines;
    for (const auto &[number, board] : figures.boards()) {
        lines.push_back(boardLine(number, board, figures.now()));
        if (showsBytes)
            lines.push_back("  last report " + board.lastHex);
        lines.emplace_back(heading);
        for (const auto &[key, contact] : figures.contacts()) {
            if (std::get<0>(key) == number)
                lines.push_back(contactLine(key, contact, figures.now()));
        }
    }
    lines.push_back(format(
        "%.3f s  %llu never lifted  %llu lost by the recorder", static_cast<double>(figures.now()) / 1e6,
        static_cast<unsigned long long>(figures.stuck()), static_cast<unsigned long long>(figures.lost())));
    return lines;
}

Json watchJson(const Figures &figures)
{
    Json json{{"at_s", static_cast<double>(figures.now()) / 1e6},
              {"lost_count", figures.lost()},
              {"stuck_count", figures.stuck()},
              {"boards", Json::array()},
              {"contacts", Json::array()}};
    for (const auto &[number, board] : figures.boards())
        json["boards"].push_back(boardJson(number, board, figures.now()));
    for (const auto &[key, contact] : figures.contacts())
        json["contacts"].push_back(contactJson(key, contact, figures.now()));
    return json;
}

std::map<std::string, double> watchFigures(const Figures &figures)
{
    std::map<std::string, double> values;
    values["stuck_count"] = static_cast<double>(figures.stuck());
    values["lost_count"] = static_cast<double>(figures.lost());
    for (const auto &[number, board] : figures.boards()) {
        values["reports_per_second"] += board.rate(figures.now());
        values["orphan_lift_count"] += static_cast<double>(board.orphanLifts);
        values["dropout_count"] += static_cast<double>(board.dropouts);
        values["undecodable_count"] += static_cast<double>(board.undecodable);
        values["handback_count"] += static_cast<double>(board.handbacks);
        values["inside_longest_us"] = std::max(values["inside_longest_us"], board.longestInside);
        if (const auto median = board.inside.median())
            values["inside_median_us"] = std::max(values["inside_median_us"], *median);
    }
    return values;
}

} // namespace lab
