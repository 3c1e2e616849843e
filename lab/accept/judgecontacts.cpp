#include "accept/judges.h"

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
    const std::string name = "Pen " + std::to_string(pen);
    const auto dropouts = static_cast<std::size_t>(dropoutsIn(strokes));
    found.lines.push_back(name + ": " + counted(strokes.size(), "stroke") + ", " + lengthText(travel, setting)
                          + ", " + counted(dropouts, "dropout") + ".");
    found.figures["pen" + std::to_string(pen) + "_dropout_count"] = static_cast<double>(dropouts);
    if (dropouts > 0)
        found.faults.push_back(name + " was lost and found again.");
    if (travel < leastWriting * boardWidth * setting.scale.x)
        found.faults.push_back(name + " has hardly written.");
}

/// Behind "No pen was seen": what came instead.
std::string instead(const Seen &seen)
{
    std::string text;
    for (const ReportKind kind : {ReportKind::touch, ReportKind::pen, ReportKind::erase}) {
        const char *const noun = kind == ReportKind::touch ? "finger"
            : kind == ReportKind::pen                      ? "pen"
                                                           : "eraser";
        const std::size_t count = strokesOf(seen, kind).size();
        if (count > 0)
            text += (text.empty() ? "" : " and ") + counted(count, "contact") + " of a " + noun;
    }
    return text.empty() ? ", and nothing else." : ", only " + text + ".";
}

} // namespace

Finding judgeRest(const Seen &seen, const Setting &setting)
{
    Finding found;
    const std::vector<Stroke> fingers = strokesOf(seen, ReportKind::touch);
    const auto isShorter = [](const Stroke &a, const Stroke &b) { return a.seconds() < b.seconds(); };
    const auto longest = std::max_element(fingers.begin(), fingers.end(), isShorter);
    if (longest == fingers.end()) {
        found.faults.push_back("No finger was seen" + instead(seen));
        return found;
    }
    const double wandering = wanderingOf(*longest, setting.scale);
    const double rate = rateOf(*longest);
    found.isComplete = longest->seconds() >= restTime && seen.down() == 0;
    found.lines.push_back("One finger for " + decimal(longest->seconds()) + " s, wandering within "
                          + lengthText(wandering, setting) + ", " + decimal(rate) + " reports a second.");
    found.figures["seconds"] = longest->seconds();
    found.figures["wandering"] = wandering;
    found.figures["reports_per_second"] = rate;
    if (longest->seconds() < restTime)
        found.faults.emplace_back("The finger was not there for five seconds.");
    if (wandering > setting.stillness)
        found.faults.push_back("It wandered by more than " + lengthText(setting.stillness, setting) + ".");
    if (seen.strokes().size() > 1)
        found.faults.push_back(counted(seen.strokes().size() - 1, "contact") + " came besides.");
    return found;
}

Finding judgeFingers(const Seen &seen, const Setting &setting)
{
    Finding found;
    const std::vector<Stroke> fingers = strokesOf(seen, ReportKind::touch);
    const auto wanted = static_cast<std::size_t>(setting.fingers);
    found.isComplete = seen.mostDown() >= setting.fingers && seen.down() == 0;
    found.lines.push_back(counted(static_cast<std::size_t>(seen.mostDown()), "finger") + " at the same time, "
                          + counted(fingers.size(), "contact") + " in all.");
    found.figures["fingers"] = seen.mostDown();
    found.figures["contact_count"] = static_cast<double>(fingers.size());
    if (seen.mostDown() < setting.fingers)
        found.faults.push_back("The board has not shown " + counted(wanted, "finger") + " at the same time.");
    if (fingers.size() > wanted)
        found.faults.emplace_back(
            "More contacts than fingers: fingers were lost and found again, or nobody made them.");
    if (fingers.size() < seen.strokes().size())
        found.faults.push_back(counted(seen.strokes().size() - fingers.size(), "contact")
                               + " of a pen or an eraser.");
    return found;
}

Finding judgeDrumming(const Seen &seen, const Setting &setting)
{
    Finding found;
    const std::vector<Stroke> fingers = strokesOf(seen, ReportKind::touch);
    found.isComplete = fingers.size() >= drumBeats && seen.down() == 0;
    found.figures["contact_count"] = static_cast<double>(fingers.size());
    if (fingers.empty()) {
        found.faults.push_back("No finger was seen" + instead(seen));
        return found;
    }
    const auto places = drummedPlaces(fingers);
    const double farthest = farthestFrom(places, fingers, setting.scale);
    found.lines.push_back(counted(fingers.size(), "tap") + ", at most " + lengthText(farthest, setting)
                          + " from the two places.");
    found.figures["farthest"] = farthest;
    if (std::hypot(places[0].x - places[1].x, places[0].y - places[1].y) < apart)
        found.faults.emplace_back("All taps were in one place.");
    if (fingers.size() < drumBeats)
        found.faults.push_back("Fewer than " + counted(drumBeats, "tap")
                               + ": the board may take two fingers for one that goes to and fro.");
    if (farthest > setting.drumming)
        found.faults.push_back(
            "A contact was more than " + lengthText(setting.drumming, setting)
            + " away from both places: the board draws a line from one finger to the other.");
    return found;
}

Finding judgeWriting(const Seen &seen, const Setting &setting)
{
    Finding found;
    std::map<int, std::vector<Stroke>> pens;
    for (const Stroke &stroke : strokesOf(seen, ReportKind::pen))
        pens[stroke.id].push_back(stroke);
    found.figures["pen_count"] = static_cast<double>(pens.size());
    for (const auto &[pen, strokes] : pens)
        judgePen(pen, strokes, setting, found);
    if (pens.empty())
        found.faults.push_back("No pen was seen" + instead(seen));
    return found;
}

Finding judgeWiping(const Seen &seen, const Setting &setting)
{
    Finding found;
    const std::vector<Stroke> erasers = strokesOf(seen, ReportKind::erase);
    if (erasers.empty()) {
        found.faults.push_back("No eraser was seen" + instead(seen));
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
    found.lines.push_back("An eraser of " + decimal(2 * width * setting.scale.x) + " by "
                          + lengthText(2 * height * setting.scale.y, setting) + " has wiped "
                          + lengthText(travel, setting) + ".");
    found.figures["travel"] = travel;
    if (!isWiped)
        found.faults.emplace_back("It has hardly wiped.");
    if (const std::size_t others = seen.strokes().size() - erasers.size(); others > 0)
        found.faults.push_back("The eraser was taken for something else: " + counted(others, "contact")
                               + " of a finger or a pen.");
    const auto dropouts = static_cast<std::size_t>(dropoutsIn(erasers));
    found.figures["dropout_count"] = static_cast<double>(dropouts);
    if (dropouts > 0)
        found.faults.push_back("The eraser was lost and found again, " + counted(dropouts, "time") + ".");
    return found;
}

Finding judgePlugging(const Seen &seen, const Setting &)
{
    Finding found;
    const auto isUnplugging = [](const Plugged &event) { return !event.isPlugged; };
    const auto begin = seen.plugged().begin();
    const auto end = seen.plugged().end();
    const auto unplugged = std::find_if(begin, end, isUnplugging);
    const auto plugged = std::find_if_not(unplugged, end, isUnplugging);
    if (unplugged == end || plugged == end) {
        found.faults.emplace_back(unplugged == end ? "The board was not unplugged."
                                                   : "The board has not come back.");
        return found;
    }
    const double seconds = static_cast<double>(plugged->at - unplugged->at) / 1e6;
    const auto isBehind = [plugged](const Stroke &stroke) { return stroke.begin() >= plugged->at; };
    const bool reports = std::any_of(seen.strokes().begin(), seen.strokes().end(), isBehind);
    found.isComplete = reports && seen.down() == 0;
    found.lines.push_back("Unplugged, and there again " + decimal(seconds) + " s later.");
    found.figures["seconds"] = seconds;
    if (!reports)
        found.faults.emplace_back("It has not reported since.");
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

std::string counted(std::size_t count, const std::string &noun)
{
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

} // namespace acceptance
