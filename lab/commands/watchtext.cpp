#include "commands/watchtext.h"

#include "commands/json.h"
#include "commands/text.h"
#include "language.h"

#include <algorithm>

namespace lab {

namespace {

using capture::ReportKind;

/// Raw units to pixels of a screen that is @p size pixels wide or high.
int pixels(int units, int size)
{
    return static_cast<int>(units * size / capture::boardWidth);
}

std::string optionalText(const char *pattern, const std::optional<double> &value)
{
    return value ? format(pattern, *value) : "-";
}

unsigned long long count(std::uint64_t value)
{
    return value;
}

/// "down", "STUCK", "hover" or "up", and the pen's button and its third bit.
std::string stateText(ReportKind kind, const ContactFigures &contact, std::int64_t now)
{
    // TRANSLATORS: states of a contact; together with +btn, they stand in a column of 11 letters.
    std::string state = kind == ReportKind::pen ? tr("hover") : tr("up");
    if (contact.last.down)
        state = contact.isStuck(now) ? tr("STUCK") : tr("down");
    return state + (contact.last.button ? tr("+btn") : "") + (contact.last.bit2 ? "+bit2" : "");
}

std::string sizeText(ReportKind kind, const capture::Contact &contact)
{
    if (kind == ReportKind::touch)
        return format(tr("extent %d; "), contact.width);
    if (kind == ReportKind::erase)
        return format("%dx%d; ", contact.width, contact.height);
    return {};
}

std::string ageText(std::int64_t age)
{
    const long long milliseconds = age / 1000;
    return milliseconds < 100'000 ? format("%lld ms", milliseconds) : format("%lld s", milliseconds / 1000);
}

std::string boardLine(int number, const Figures::Board &board, std::int64_t now)
{
    const std::string name = format(board.plugged ? tr("board %d") : tr("board %d (unplugged)"), number);
    return name
        + "  "
        // TRANSLATORS: the reports of a board: how many a second, how many in all, and the age of the last
        // one.
        + format(tr("%.0f/s now, lowest %s, median %s; %llu reports, the last %s ago"), board.pace.rate(now),
                 optionalText("%.0f", board.seconds.lowestRate()).c_str(),
                 optionalText("%.0f", board.seconds.medianRate()).c_str(), count(board.reports),
                 ageText(now - board.pace.lastAt()).c_str());
}

std::string faultsLine(const Figures::Board &board)
{
    return format(tr("  %llu dropouts, %llu lifts of nothing, %llu unreadable, %llu handed back"),
                  count(board.dropouts), count(board.orphanLifts), count(board.undecodable),
                  count(board.handbacks));
}

std::string insideLine(const Figures::Board &board)
{
    // TRANSLATORS: the time that a report keeps the driver's thread: median and longest.
    return format(tr("  inside the callback %s us, longest %.1f us"),
                  optionalText("%.1f", board.inside.median()).c_str(), board.longestInside);
}

constexpr const char *contactHeading =
    // TRANSLATORS: keep each word above its column, which ends or begins where it does here.
    trLater("  contact   state         /s lowest median      ago      x      y    px    py");

std::vector<std::string> contactLines(const Figures::Key &key, const ContactFigures &contact,
                                      const Figures &figures)
{
    const auto &[board, kind, id] = key;
    const std::int64_t now = figures.now();
    const std::string name = kindText(kind) + format(" %d", id);
    const std::string values = "  " + padded(name, 9) + " " + padded(stateText(kind, contact, now), 11)
        + format(" %4.0f", contact.pace.rate(now))
        + format(" %6s %6s %8s", optionalText("%.0f", contact.intervals.lowestRate()).c_str(),
                 optionalText("%.0f", contact.intervals.medianRate()).c_str(),
                 ageText(now - contact.pace.lastAt()).c_str())
        + format(" %6d %6d %5d %5d", contact.last.x, contact.last.y,
                 pixels(contact.last.x, figures.screenWidth()),
                 pixels(contact.last.y, figures.screenHeight()));
    const std::string since = contact.since
        ? format(tr("after %.1f ms by %d, %d"), double(*contact.since) / 1000, contact.movedX, contact.movedY)
        : tr("first report");
    const std::string ranges =
        format("; x %d..%d, y %d..%d", contact.lowestX, contact.highestX, contact.lowestY, contact.highestY);
    return {values, "    " + sizeText(kind, contact.last) + since + ranges};
}

/// The contacts of one board, those that are down first.
std::vector<std::string> contactTable(int board, const Figures &figures)
{
    std::vector<std::string> lines;
    for (const bool down : {true, false}) {
        for (const auto &[key, contact] : figures.contacts()) {
            if (std::get<0>(key) != board || contact.last.down != down)
                continue;
            const auto told = contactLines(key, contact, figures);
            lines.insert(lines.end(), told.begin(), told.end());
        }
    }
    if (!lines.empty())
        lines.insert(lines.begin(), tr(contactHeading));
    return lines;
}

Json optionalJson(const std::optional<double> &value)
{
    return value ? Json(*value) : Json();
}

Json contactJson(const Figures::Key &key, const ContactFigures &contact, const Figures &figures)
{
    const auto &[board, kind, id] = key;
    const std::int64_t now = figures.now();
    return {{"board", board},
            {"kind", nameOf(kind)},
            {"id", id},
            {"down", contact.last.down},
            {"stuck", contact.isStuck(now)},
            {"button", contact.last.button},
            {"bit2", contact.last.bit2},
            {"x", contact.last.x},
            {"y", contact.last.y},
            {"px", pixels(contact.last.x, figures.screenWidth())},
            {"py", pixels(contact.last.y, figures.screenHeight())},
            {"width", contact.last.width},
            {"height", contact.last.height},
            {"samples", contact.samples},
            {"rate_hz", contact.pace.rate(now)},
            {"lowest_rate_hz", optionalJson(contact.intervals.lowestRate())},
            {"median_rate_hz", optionalJson(contact.intervals.medianRate())},
            {"age_s", seconds(now - contact.pace.lastAt())},
            {"since_s", contact.since ? Json(seconds(*contact.since)) : Json()},
            {"moved_x", contact.movedX},
            {"moved_y", contact.movedY},
            {"min_x", contact.lowestX},
            {"max_x", contact.highestX},
            {"min_y", contact.lowestY},
            {"max_y", contact.highestY}};
}

Json boardJson(int number, const Figures::Board &board, std::int64_t now)
{
    return {{"board", number},
            {"plugged", board.plugged},
            {"rate_hz", board.pace.rate(now)},
            {"lowest_rate_hz", optionalJson(board.seconds.lowestRate())},
            {"median_rate_hz", optionalJson(board.seconds.medianRate())},
            {"age_s", board.reports > 0 ? Json(seconds(now - board.pace.lastAt())) : Json()},
            {"reports", board.reports},
            {"undecodable_count", board.undecodable},
            {"dropout_count", board.dropouts},
            {"orphan_lift_count", board.orphanLifts},
            {"handback_count", board.handbacks},
            {"inside_median_us", optionalJson(board.inside.median())},
            {"inside_longest_us", board.longestInside},
            {"last_hex", board.lastHex}};
}

} // namespace

std::vector<std::string> watchText(const Figures &figures, bool showsBytes)
{
    std::vector<std::string> lines;
    // TRANSLATORS: the time, contacts that have not lifted, and reports.
    std::string first = format(tr("%.3f s  %llu never lifted, %llu lost by the recorder"),
                               seconds(figures.now()), count(figures.stuck()), count(figures.lost()));
    if (figures.missed() > 0)
        // TRANSLATORS: reports; follows the text before.
        first += format(tr(", %llu not seen here"), count(figures.missed()));
    lines.push_back(first);
    for (const auto &[number, board] : figures.boards()) {
        lines.push_back(boardLine(number, board, figures.now()));
        lines.push_back(faultsLine(board));
        lines.push_back(insideLine(board));
        if (showsBytes)
            lines.push_back(format(tr("  last report %s"), board.lastHex.c_str()));
        const auto contacts = contactTable(number, figures);
        lines.insert(lines.end(), contacts.begin(), contacts.end());
    }
    return lines;
}

Json watchJson(const Figures &figures)
{
    Json json{{"at_s", seconds(figures.now())},   {"lost_count", figures.lost()},
              {"missed_count", figures.missed()}, {"stuck_count", figures.stuck()},
              {"boards", Json::array()},          {"contacts", Json::array()}};
    for (const auto &[number, board] : figures.boards())
        json["boards"].push_back(boardJson(number, board, figures.now()));
    for (const auto &[key, contact] : figures.contacts())
        json["contacts"].push_back(contactJson(key, contact, figures));
    return json;
}

std::map<std::string, double> watchFigures(const Figures &figures)
{
    std::map<std::string, double> values;
    values["stuck_count"] = static_cast<double>(figures.stuck());
    values["lost_count"] = static_cast<double>(figures.lost());
    for (const auto &[number, board] : figures.boards()) {
        if (board.pace.isKnown(figures.now()))
            values["reports_per_second"] += board.pace.rate(figures.now());
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
