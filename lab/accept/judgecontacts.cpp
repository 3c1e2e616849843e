#include "accept/judges.h"

#include "language.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <map>
#include <string_view>

namespace acceptance {

namespace {

using capture::ReportKind;
using lab::Audience;
using lab::format;
using lab::tr;
using lab::trPlural;
using lab::whole;

constexpr double restTime = 5;              // seconds
constexpr std::int64_t settling = 200'000;  // microseconds in which a finger is put down, or lifted
constexpr std::size_t drumBeats = 10;       // five with each finger
constexpr double apart = 0.02 * boardWidth; // of two fingers that drum, at least
constexpr double leastWriting = 0.02;       // of the screen's width: what is shorter is no writing
constexpr double leastWiping = 0.2;         // of the screen's width

std::vector<Stroke> strokesOf(const Seen &seen, ReportKind kind)
{
    std::vector<Stroke> found;
    for (const Stroke &stroke : seen.strokes()) {
        if (stroke.kind == kind)
            found.push_back(stroke);
    }
    return found;
}

/// From end to end, while the finger neither comes nor goes.
double wanderingOf(const Stroke &stroke, const Scale &scale)
{
    constexpr double far = std::numeric_limits<double>::max();
    Place lowest{far, far};
    Place highest{-far, -far};
    for (const Sample &sample : stroke.samples) {
        if (sample.at < stroke.begin() + settling || sample.at > stroke.end - settling)
            continue;
        lowest = {std::min(lowest.x, sample.place.x), std::min(lowest.y, sample.place.y)};
        highest = {std::max(highest.x, sample.place.x), std::max(highest.y, sample.place.y)};
    }
    return lowest.x > highest.x ? 0 : scale.length({highest.x - lowest.x, highest.y - lowest.y});
}

/// Reports a second.
double rateOf(const Stroke &stroke)
{
    const std::int64_t time = stroke.samples.back().at - stroke.begin();
    return time > 0 ? static_cast<double>(stroke.samples.size() - 1) * 1e6 / static_cast<double>(time) : 0;
}

/// The first place, and the first of another finger.
std::array<Place, 2> drummedPlaces(const std::vector<Stroke> &strokes)
{
    std::array<Place, 2> places{centreOf(strokes.front()), centreOf(strokes.front())};
    for (const Stroke &stroke : strokes) {
        const Place centre = centreOf(stroke);
        if (std::hypot(centre.x - places[0].x, centre.y - places[0].y) < apart)
            continue;
        places[1] = centre;
        break;
    }
    return places;
}

double farthestFrom(const std::array<Place, 2> &places, const std::vector<Stroke> &strokes,
                    const Scale &scale)
{
    double farthest = 0;
    for (const Stroke &stroke : strokes) {
        for (const Sample &sample : stroke.samples) {
            const auto distance = [&](const Place &place) {
                return scale.length({sample.place.x - place.x, sample.place.y - place.y});
            };
            farthest = std::max(farthest, std::min(distance(places[0]), distance(places[1])));
        }
    }
    return farthest;
}

void judgePen(int pen, const std::vector<Stroke> &strokes, const Setting &setting, Finding &found)
{
    double travel = 0;
    for (const Stroke &stroke : strokes)
        travel += travelOf(stroke, setting.scale);
    const Audience audience = setting.audience;
    const auto count = static_cast<std::int64_t>(strokes.size());
    const int dropouts = dropoutsIn(strokes);
    found.lines.push_back(
        // TRANSLATORS: "Pen 3: 12 strokes, 820.4 mm, 0 dropouts.": %s is made of the next two texts and a
        // length.
        format(tr("Pen %d: %s, %s, %s.", audience), pen,
               format(trPlural("%lld stroke", "%lld strokes", count, audience), whole(count)).c_str(),
               lengthText(travel, setting).c_str(),
               format(trPlural("%d dropout", "%d dropouts", dropouts, audience), dropouts).c_str()));
    found.figures["pen" + std::to_string(pen) + "_dropout_count"] = dropouts;
    if (dropouts > 0)
        found.faults.push_back(format(tr("Pen %d was lost and found again.", audience), pen));
    if (travel < leastWriting * boardWidth * setting.scale.x)
        found.faults.push_back(format(tr("Pen %d has hardly written.", audience), pen));
}

std::string contactsText(std::size_t contacts, ReportKind kind, Audience audience)
{
    const auto count = static_cast<std::int64_t>(contacts);
    const char *const text = kind == ReportKind::touch
        ? trPlural("%lld contact of a finger", "%lld contacts of a finger", count, audience)
        : kind == ReportKind::pen
        ? trPlural("%lld contact of a pen", "%lld contacts of a pen", count, audience)
        : trPlural("%lld contact of an eraser", "%lld contacts of an eraser", count, audience);
    return format(text, whole(count));
}

/// What came instead of what was wanted; empty if nothing did.
std::string instead(const Seen &seen, Audience audience)
{
    std::string text;
    for (const ReportKind kind : {ReportKind::touch, ReportKind::pen, ReportKind::erase}) {
        const std::size_t count = strokesOf(seen, kind).size();
        if (count == 0)
            continue;
        const std::string contacts = contactsText(count, kind, audience);
        // TRANSLATORS: "2 contacts of a finger and 1 contact of a pen"
        text = text.empty() ? contacts : format(tr("%s and %s", audience), text.c_str(), contacts.c_str());
    }
    return text;
}

/// What was not seen, and what instead: @p nothing, or @p only with that.
std::string unseen(const char *nothing, const char *only, const Seen &seen, Audience audience)
{
    const std::string others = instead(seen, audience);
    return others.empty() ? nothing : format(only, others.c_str());
}

std::string noFinger(const Seen &seen, Audience audience)
{
    return unseen(tr("No finger was seen, and nothing else.", audience),
                  // TRANSLATORS: "2 contacts of a pen and 1 contact of an eraser", for example; so below.
                  tr("No finger was seen, only %s.", audience), seen, audience);
}

} // namespace

Finding judgeRest(const Seen &seen, const Setting &setting)
{
    const Audience audience = setting.audience;
    Finding found;
    const std::vector<Stroke> fingers = strokesOf(seen, ReportKind::touch);
    const auto isShorter = [](const Stroke &a, const Stroke &b) { return a.seconds() < b.seconds(); };
    const auto longest = std::max_element(fingers.begin(), fingers.end(), isShorter);
    if (longest == fingers.end()) {
        found.faults.push_back(noFinger(seen, audience));
        return found;
    }
    const double wandering = wanderingOf(*longest, setting.scale);
    const double rate = rateOf(*longest);
    found.isComplete = longest->seconds() >= restTime && seen.down() == 0;
    found.lines.push_back(format(
        tr("One finger for %s s, wandering within %s, %s reports a second.", audience),
        decimal(longest->seconds()).c_str(), lengthText(wandering, setting).c_str(), decimal(rate).c_str()));
    found.figures["seconds"] = longest->seconds();
    found.figures["wandering"] = wandering;
    found.figures["reports_per_second"] = rate;
    if (longest->seconds() < restTime)
        found.faults.emplace_back(tr("The finger was not there for five seconds.", audience));
    if (wandering > setting.stillness)
        found.faults.push_back(format(tr("It wandered by more than %s.", audience),
                                      lengthText(setting.stillness, setting).c_str()));
    const auto others = static_cast<std::int64_t>(seen.strokes().size()) - 1;
    if (others > 0)
        found.faults.push_back(
            format(trPlural("%lld contact came besides.", "%lld contacts came besides.", others, audience),
                   whole(others)));
    return found;
}

Finding judgeFingers(const Seen &seen, const Setting &setting)
{
    const Audience audience = setting.audience;
    Finding found;
    const std::vector<Stroke> fingers = strokesOf(seen, ReportKind::touch);
    found.isComplete = seen.mostDown() >= setting.fingers && seen.down() == 0;
    const auto contacts = static_cast<std::int64_t>(fingers.size());
    found.lines.push_back(format(
        // TRANSLATORS: "10 fingers at the same time, 12 contacts in all."
        tr("%s, %s.", audience),
        format(
            trPlural("%d finger at the same time", "%d fingers at the same time", seen.mostDown(), audience),
            seen.mostDown())
            .c_str(),
        format(trPlural("%lld contact in all", "%lld contacts in all", contacts, audience), whole(contacts))
            .c_str()));
    found.figures["fingers"] = seen.mostDown();
    found.figures["contact_count"] = static_cast<double>(fingers.size());
    if (seen.mostDown() < setting.fingers)
        found.faults.push_back(format(trPlural("The board has not shown %d finger at the same time.",
                                               "The board has not shown %d fingers at the same time.",
                                               setting.fingers, audience),
                                      setting.fingers));
    if (contacts > setting.fingers)
        found.faults.emplace_back(tr(
            "More contacts than fingers: fingers were lost and found again, or nobody made them.", audience));
    const std::int64_t others = static_cast<std::int64_t>(seen.strokes().size()) - contacts;
    if (others > 0)
        found.faults.push_back(format(trPlural("%lld contact of a pen or an eraser.",
                                               "%lld contacts of a pen or an eraser.", others, audience),
                                      whole(others)));
    return found;
}

Finding judgeDrumming(const Seen &seen, const Setting &setting)
{
    const Audience audience = setting.audience;
    Finding found;
    const std::vector<Stroke> fingers = strokesOf(seen, ReportKind::touch);
    found.isComplete = fingers.size() >= drumBeats && seen.down() == 0;
    found.figures["contact_count"] = static_cast<double>(fingers.size());
    if (fingers.empty()) {
        found.faults.push_back(noFinger(seen, audience));
        return found;
    }
    const auto places = drummedPlaces(fingers);
    const double farthest = farthestFrom(places, fingers, setting.scale);
    const auto taps = static_cast<std::int64_t>(fingers.size());
    found.lines.push_back(format(trPlural("%lld tap, at most %s from the two places.",
                                          "%lld taps, at most %s from the two places.", taps, audience),
                                 whole(taps), lengthText(farthest, setting).c_str()));
    found.figures["farthest"] = farthest;
    if (std::hypot(places[0].x - places[1].x, places[0].y - places[1].y) < apart)
        found.faults.emplace_back(tr("All taps were in one place.", audience));
    if (fingers.size() < drumBeats)
        found.faults.push_back(format(
            tr("Fewer than %zu taps: the board may take two fingers for one that goes to and fro.", audience),
            drumBeats));
    if (farthest > setting.drumming)
        found.faults.push_back(format(tr("A contact was more than %s away from both places: the board draws "
                                         "a line from one finger to the other.",
                                         audience),
                                      lengthText(setting.drumming, setting).c_str()));
    return found;
}

Finding judgeWriting(const Seen &seen, const Setting &setting)
{
    const Audience audience = setting.audience;
    Finding found;
    std::map<int, std::vector<Stroke>> pens;
    for (const Stroke &stroke : strokesOf(seen, ReportKind::pen))
        pens[stroke.id].push_back(stroke);
    found.figures["pen_count"] = static_cast<double>(pens.size());
    for (const auto &[pen, strokes] : pens)
        judgePen(pen, strokes, setting, found);
    if (pens.empty())
        found.faults.push_back(unseen(tr("No pen was seen, and nothing else.", audience),
                                      tr("No pen was seen, only %s.", audience), seen, audience));
    return found;
}

Finding judgeWiping(const Seen &seen, const Setting &setting)
{
    const Audience audience = setting.audience;
    Finding found;
    const std::vector<Stroke> erasers = strokesOf(seen, ReportKind::erase);
    if (erasers.empty()) {
        found.faults.push_back(unseen(tr("No eraser was seen, and nothing else.", audience),
                                      tr("No eraser was seen, only %s.", audience), seen, audience));
        return found;
    }
    double travel = 0;
    int width = 0;
    int height = 0;
    for (const Stroke &eraser : erasers) {
        travel += travelOf(eraser, setting.scale);
        width = std::max(width, eraser.width);
        height = std::max(height, eraser.height);
    }
    const bool isWiped = travel >= leastWiping * boardWidth * setting.scale.x;
    found.isComplete = isWiped && seen.down() == 0;
    found.lines.push_back(format(
        // TRANSLATORS: "An eraser of 60.0 by 40.0 mm has wiped 920.5 mm."
        tr("An eraser of %s by %s has wiped %s.", audience), decimal(2 * width * setting.scale.x).c_str(),
        lengthText(2 * height * setting.scale.y, setting).c_str(), lengthText(travel, setting).c_str()));
    found.figures["travel"] = travel;
    if (!isWiped)
        found.faults.emplace_back(tr("It has hardly wiped.", audience));
    if (const auto others = static_cast<std::int64_t>(seen.strokes().size() - erasers.size()); others > 0)
        found.faults.push_back(
            format(trPlural("The eraser was taken for something else: %lld contact of a finger or a pen.",
                            "The eraser was taken for something else: %lld contacts of a finger or a pen.",
                            others, audience),
                   whole(others)));
    const int dropouts = dropoutsIn(erasers);
    found.figures["dropout_count"] = dropouts;
    if (dropouts > 0)
        found.faults.push_back(
            format(trPlural("The eraser was lost and found again, %d time.",
                            "The eraser was lost and found again, %d times.", dropouts, audience),
                   dropouts));
    return found;
}

Finding judgePlugging(const Seen &seen, const Setting &setting)
{
    const Audience audience = setting.audience;
    Finding found;
    const auto isUnplugging = [](const Plugged &event) { return !event.isPlugged; };
    const auto begin = seen.plugged().begin();
    const auto end = seen.plugged().end();
    const auto unplugged = std::find_if(begin, end, isUnplugging);
    const auto plugged = std::find_if_not(unplugged, end, isUnplugging);
    if (unplugged == end || plugged == end) {
        found.faults.emplace_back(unplugged == end ? tr("The board was not unplugged.", audience)
                                                   : tr("The board has not come back.", audience));
        return found;
    }
    const double seconds = static_cast<double>(plugged->at - unplugged->at) / 1e6;
    const auto isBehind = [plugged](const Stroke &stroke) { return stroke.begin() >= plugged->at; };
    const bool reports = std::any_of(seen.strokes().begin(), seen.strokes().end(), isBehind);
    found.isComplete = reports && seen.down() == 0;
    found.lines.push_back(
        format(tr("Unplugged, and there again %s s later.", audience), decimal(seconds).c_str()));
    found.figures["seconds"] = seconds;
    if (!reports)
        found.faults.emplace_back(tr("It has not reported since.", audience));
    return found;
}

double travelOf(const Stroke &stroke, const Scale &scale)
{
    double travel = 0;
    for (std::size_t i = 1; i < stroke.samples.size(); ++i) {
        const Place &from = stroke.samples[i - 1].place;
        const Place &to = stroke.samples[i].place;
        travel += scale.length({to.x - from.x, to.y - from.y});
    }
    return travel;
}

Place centreOf(const Stroke &stroke)
{
    Place centre;
    const auto count = static_cast<double>(stroke.samples.size());
    for (const Sample &sample : stroke.samples)
        centre = {centre.x + sample.place.x / count, centre.y + sample.place.y / count};
    return centre;
}

std::string decimal(double value)
{
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.1f", value);
    return std::string_view(text.data()) == "-0.0" ? "0.0" : text.data();
}

std::string lengthText(double length, const Setting &setting)
{
    return decimal(length) + " " + setting.scale.unit;
}

} // namespace acceptance
