#include "grading/figures.h"

#include "language.h"

#include <algorithm>

namespace grading {

namespace {

using lab::trLater;

constexpr bool higher = true; // is better
constexpr bool lower = false;

// clang-format off
const std::vector<FigureInfo> infos{
    {"rate_min_hz", "Hz", higher, trLater("Report rate, lowest"),
     trLater("In each moving contact of a second or more, from every sample to the first one at least half a second later: intervals divided by time. This is the lowest of all."),
     trLater("A low rate makes strokes lag and angular. Look for a USB hub, a long cable, or another program that keeps the processor busy.")},
    {"rate_p1_hz", "Hz", higher, trLater("Report rate, 1st percentile"),
     trLater("The rate that 99 percent of those half seconds reach."),
     trLater("If it is far below the median, reports come in bursts. Look at the interval histogram.")},
    {"rate_p5_hz", "Hz", higher, trLater("Report rate, 5th percentile"),
     trLater("The rate that 95 percent of those half seconds reach."),
     trLater("See the 1st percentile; what is bad here is bad often.")},
    {"rate_p50_hz", "Hz", higher, trLater("Report rate, median"),
     trLater("The rate that half of those half seconds reach."),
     trLater("It is the board's usual rate. If it is low, compare it with the data sheet and with one finger alone.")},
    {"rate_one_min_hz", "Hz", higher, trLater("Report rate of one contact, lowest"),
     trLater("The lowest half second in which no other contact of the board was down."),
     trLater("It tells whether the board is slow in itself or only with several contacts.")},
    {"rate_many_min_hz", "Hz", higher, trLater("Report rate of many contacts, lowest"),
     trLater("The lowest half second of a contact while others of the board were down."),
     trLater("Some boards share their rate among the contacts. Compare it with the rate of one contact.")},
    {"jitter_rms_units", trLater("units"), lower, trLater("Jitter of a resting contact"),
     trLater("Of contacts that stay within 1 percent of the width for a second or more: standard deviation (n - 1) of the larger axis, worst contact."),
     trLater("A resting finger that trembles makes writing rough. Look for electrical noise: lamps, chargers, missing earth.")},
    {"jitter_rms_mm", "mm", lower, trLater("Jitter of a resting contact"),
     trLater("The same in millimetres."),
     trLater("See above.")},
    {"jitter_rms_x_units", trLater("units"), lower, trLater("Jitter across"),
     trLater("The same along x alone, worst contact."),
     trLater("Noise in one direction points to one row of sensors, or to the light of one edge.")},
    {"jitter_rms_y_units", trLater("units"), lower, trLater("Jitter down"),
     trLater("The same along y alone, worst contact."),
     trLater("Noise in one direction points to one row of sensors, or to the light of one edge.")},
    {"jitter_p2p_units", trLater("units"), lower, trLater("Jitter, peak to peak"),
     trLater("Of the same contacts: from the lowest to the highest position of the larger axis, worst contact."),
     trLater("Single outliers show here first. The jitter map shows whether they come from one place.")},
    {"jitter_p2p_mm", "mm", lower, trLater("Jitter, peak to peak"),
     trLater("The same in millimetres."),
     trLater("See above.")},
    {"jitter_p2p_x_units", trLater("units"), lower, trLater("Jitter across, peak to peak"),
     trLater("The same along x alone, worst contact."),
     trLater("See the larger axis.")},
    {"jitter_p2p_y_units", trLater("units"), lower, trLater("Jitter down, peak to peak"),
     trLater("The same along y alone, worst contact."),
     trLater("See the larger axis.")},
    {"drift_units", trLater("units"), lower, trLater("Drift of a resting contact"),
     trLater("Of the same contacts: from the mean position of the first quarter of the samples to that of the last, worst contact."),
     trLater("A contact that wanders points to warming or to a finger that moved. Repeat it with a pen on a stand.")},
    {"drift_mm", "mm", lower, trLater("Drift of a resting contact"),
     trLater("The same in millimetres."),
     trLater("See above.")},
    {"rest_while_moving_units", trLater("units"), lower, trLater("Rest while others move"),
     trLater("Of resting contacts during which another one moved: the farthest that a sample lies from their mean."),
     trLater("Contacts that disturb each other point to a board that confuses their shadows or signals.")},
    {"rest_while_moving_mm", "mm", lower, trLater("Rest while others move"),
     trLater("The same in millimetres."),
     trLater("See above.")},
    {"tap_wobble_units", trLater("units"), lower, trLater("Wobble of a tap"),
     trLater("Of contacts shorter than a second within 1 percent of the width: the farthest that a sample lies from the first one, worst contact."),
     trLater("A tap that slips misses small buttons.")},
    {"tap_wobble_mm", "mm", lower, trLater("Wobble of a tap"),
     trLater("The same in millimetres."),
     trLater("See above.")},
    {"gap_count", "", lower, trLater("Gaps"),
     trLater("Intervals of a moving contact that are more than 1.8 times the one before, with a shorter one behind them."),
     trLater("Each is a report that was lost or late. Look for a bad cable or hub, and at the lost reports of the recorder.")},
    {"gap_percent", "%", lower, trLater("Gaps, share of the intervals"),
     trLater("Gaps in percent of all intervals of moving contacts."),
     trLater("A few in a thousand come from the operating system; more come from the board, its cable or its hub.")},
    {"gap_worst_ratio", "", lower, trLater("Worst gap"),
     trLater("The longest gap, divided by the interval before it."),
     trLater("Twice the interval is one lost report; ten times is an interruption that everybody sees.")},
    {"jump_count", "", lower, trLater("Jumps"),
     trLater("Steps longer than five times the median step of their contact and longer than 1 percent of the width."),
     trLater("A jump draws a straight line across the picture. Look for reflections, sunlight and dirt on the frame.")},
    {"first_move_ratio", "", lower, trLater("First move"),
     trLater("The first step of a moving contact, divided by the second, worst contact; only first steps of 0.05 percent of the width and more count."),
     trLater("A board that holds a contact until it has moved far enough makes small letters angular.")},
    {"line_rms_units", trLater("units"), lower, trLater("Deviation from a straight line"),
     trLater("Of nearly straight contacts (longer than 10 percent of the width, deviating less than 5 percent of their length): root mean square of the distances to the total-least-squares line, middle 80 percent of the length, worst contact."),
     trLater("A ruler's line must be straight. The linearity map shows where it is not; dirt and reflections act in one place, a bad calibration everywhere.")},
    {"line_rms_mm", "mm", lower, trLater("Deviation from a straight line"),
     trLater("The same in millimetres."),
     trLater("See above.")},
    {"line_max_units", trLater("units"), lower, trLater("Deviation from a straight line, largest"),
     trLater("Of the same contacts: the largest of these distances."),
     trLater("A single dent shows here. Draw the same line again: a dent in the same place is the board's.")},
    {"line_max_mm", "mm", lower, trLater("Deviation from a straight line, largest"),
     trLater("The same in millimetres."),
     trLater("See above.")},
    {"line_ends_max_units", trLater("units"), lower, trLater("Deviation at the ends of a line"),
     trLater("Of the same contacts: the largest distance in the first and the last tenth of the length."),
     trLater("Hooks at the ends come from the hand or from a board that finds the contact late.")},
    {"line_ends_max_mm", "mm", lower, trLater("Deviation at the ends of a line"),
     trLater("The same in millimetres."),
     trLater("See above.")},
    {"travel_jitter_mm", "mm", lower, trLater("Jitter within 10 mm of travel"),
     trLater("Of the same contacts: the largest spread of the distances within any 10 mm along the line."),
     trLater("It is what a ruler's line looks like from near.")},
    {"reverse_units", trLater("units"), lower, trLater("Reverse motion"),
     trLater("Of the same contacts: the sum of the steps against their direction, worst contact."),
     trLater("A contact that steps back on its way draws knots. Look at the jitter first.")},
    {"reverse_mm", "mm", lower, trLater("Reverse motion"),
     trLater("The same in millimetres."),
     trLater("See above.")},
    {"stuck_count", "", lower, trLater("Contacts that never lifted"),
     trLater("Contacts that were down at the end, or when their board left, without a sample for a second or more."),
     trLater("The board has not reported the lift. Note what was done last; it is the board's fault.")},
    {"orphan_lift_count", "", lower, trLater("Lifts of nothing"),
     trLater("Lifts of a touch or an eraser whose identifier was not down."),
     trLater("Mostly harmless; but the report that it touched down may have been lost.")},
    {"id_swap_count", "", lower, trLater("Changed identifiers"),
     trLater("A moving contact lifts, and another identifier of its kind touches down within 100 ms and 1 percent of the width."),
     trLater("The board has lost a contact in motion. Programs see a new finger, and a stroke breaks.")},
    {"ghost_count", "", lower, trLater("Ghost contacts"),
     trLater("Contacts shorter than 30 ms and farther than 5 percent of the width from every other contact of the last and the next second."),
     trLater("Nobody touched there. Look for sunlight, reflections, insects, and for a loose frame.")},
    {"dropout_count", "", lower, trLater("Dropouts of a pen"),
     trLater("A pen's tip lifts in motion and touches again within 50 ms and 2 percent of the width."),
     trLater("Strokes have holes. Look at the tip, its spring and the battery.")},
    {"merge_count", "", lower, trLater("Merged contacts"),
     trLater("A contact lifts near another one (5 percent of the width), which at its next report goes at least a quarter of the way towards it."),
     trLater("The board takes two near fingers for one.")},
    {"drum_roll_units", trLater("units"), lower, trLater("Drum roll"),
     trLater("Of two contacts that touch down in turn at two places: the farthest that a point lies from both places."),
     trLater("Points between two fingers were never touched; the board has taken two contacts for one that moves.")},
    {"drum_roll_mm", "mm", lower, trLater("Drum roll"),
     trLater("The same in millimetres, along the coarser axis."),
     trLater("See above.")},
    {"coverage_percent", "%", higher, trLater("Coverage"),
     trLater("Cells of a grid of 32 x 18 over the board with a sample of a contact that was down."),
     trLater("Cells that were wiped and stay empty are blind. The coverage map shows them.")},
    {"edge_left_percent", "%", lower, trLater("Reach to the left edge"),
     trLater("The distance of the outermost sample from that edge, in percent of the axis."),
     trLater("If a ruler along the edge draws no line, the frame or the calibration is off.")},
    {"edge_right_percent", "%", lower, trLater("Reach to the right edge"),
     trLater("The distance of the outermost sample from that edge, in percent of the axis."),
     trLater("If a ruler along the edge draws no line, the frame or the calibration is off.")},
    {"edge_top_percent", "%", lower, trLater("Reach to the top edge"),
     trLater("The distance of the outermost sample from that edge, in percent of the axis."),
     trLater("If a ruler along the edge draws no line, the frame or the calibration is off.")},
    {"edge_bottom_percent", "%", lower, trLater("Reach to the bottom edge"),
     trLater("The distance of the outermost sample from that edge, in percent of the axis."),
     trLater("If a ruler along the edge draws no line, the frame or the calibration is off.")},
    {"callback_p50_us", "us", lower, trLater("Time inside the callback, median"),
     trLater("How long the program kept the driver's thread for a report."),
     trLater("While it is kept, the driver cannot deliver.")},
    {"callback_p99_us", "us", lower, trLater("Time inside the callback, 99th percentile"),
     trLater("What 99 percent of the reports do not exceed."),
     trLater("If it is near the interval of the reports, they pile up. Look for a machine that is too busy.")},
    {"unchanged_percent", "%", lower, trLater("Unchanged reports"),
     trLater("Reports with the same bytes as the one of their kind and board before."),
     trLater("They cost time and tell nothing; a board that rests while a finger moves sends them, too.")},
    {"undecodable_count", "", lower, trLater("Undecodable reports"),
     trLater("Reports of no known kind or length."),
     trLater("New firmware, or bytes that were damaged on the way. The page lists the first ones.")},
    {"lost_count", "", lower, trLater("Reports that the recorder lost"),
     trLater("Reports that a full queue has dropped."),
     trLater("The machine was too busy to record; other figures may suffer. Record again.")},
    {"handback_violation_count", "", lower, trLater("Hand-backs that broke the rule"),
     trLater("Contacts that did not go to one side, the program's or the operating system's, for their whole life, in order, nothing twice."),
     trLater("This is lanternix's own promise: it is the program's fault. Please send the recording.")},
};
// clang-format on

} // namespace

const std::vector<FigureInfo> &figureInfos()
{
    return infos;
}

const FigureInfo *figureInfo(std::string_view key)
{
    const auto found =
        std::find_if(infos.begin(), infos.end(), [key](const FigureInfo &info) { return info.key == key; });
    return found == infos.end() ? nullptr : &*found;
}

std::vector<std::string> figureKeys()
{
    std::vector<std::string> keys;
    keys.reserve(infos.size());
    for (const FigureInfo &info : infos)
        keys.emplace_back(info.key);
    return keys;
}

void fold(Figures &figures, const std::string &key, double value, Fold how)
{
    const auto [found, isNew] = figures.try_emplace(key, value);
    if (isNew)
        return;
    double &folded = found->second;
    switch (how) {
    case Fold::sum:
        folded += value;
        break;
    case Fold::lowest:
        folded = std::min(folded, value);
        break;
    case Fold::highest:
        folded = std::max(folded, value);
        break;
    }
}

} // namespace grading
