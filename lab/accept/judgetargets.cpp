#include "accept/judges.h"

#include "language.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace acceptance {

namespace {

using lab::Audience;
using lab::format;
using lab::tr;
using lab::trPlural;
using lab::whole;

// Shares of the screen's width.
constexpr double longestTap = 0.03; ///< what goes farther is a stroke
constexpr double mostOff = 0.1;     ///< what is farther from every target is no tap of one

/// The taps of fingers and pens; a tap lies in the mean of its samples.
std::vector<Place> tapsIn(const Seen &seen, const Scale &scale)
{
    std::vector<Place> taps;
    for (const Stroke &stroke : seen.strokes()) {
        const double travel = scale.length({stroke.samples.back().place.x - stroke.samples.front().place.x,
                                            stroke.samples.back().place.y - stroke.samples.front().place.y});
        const bool isTap = stroke.hasLifted && travel <= longestTap * boardWidth * scale.x;
        if (isTap && stroke.kind != capture::ReportKind::erase)
            taps.push_back(centreOf(stroke));
    }
    return taps;
}

/// Tells which tap belongs to which target if some targets were left out, and some places tapped twice: the
/// pairs in their order with the least sum of distances, in which what stays without a partner costs, too.
class Alignment
{
public:
    Alignment(const std::vector<Target> &targets, const std::vector<Place> &taps, const Scale &scale)
        : m_targets(targets), m_taps(taps), m_scale(scale),
          m_costs(targets.size() + 1, std::vector<double>(taps.size() + 1))
    {
        for (std::size_t target = 0; target <= targets.size(); ++target) {
            for (std::size_t tap = 0; tap <= taps.size(); ++tap)
                m_costs[target][tap] = cost(target, tap);
        }
    }

    Finding pairs() const
    {
        Finding found;
        std::size_t tap = m_taps.size();
        for (std::size_t target = m_targets.size(); target > 0;) {
            const Target &wanted = m_targets[target - 1];
            if (tap > 0 && m_costs[target][tap] == m_costs[target - 1][tap - 1] + distance(target, tap)) {
                found.touched.push_back({wanted.name, wanted.place, m_taps[tap - 1]});
                --target;
                --tap;
            } else if (tap > 0 && m_costs[target][tap] == m_costs[target][tap - 1] + lonely()) {
                --tap;
            } else {
                found.missed.push_back(wanted.name);
                --target;
            }
        }
        std::reverse(found.touched.begin(), found.touched.end());
        std::reverse(found.missed.begin(), found.missed.end());
        return found;
    }

private:
    double lonely() const { return mostOff / 2 * boardWidth * m_scale.x; }

    double distance(std::size_t target, std::size_t tap) const
    {
        const Place &wanted = m_targets[target - 1].place;
        const Place &tapped = m_taps[tap - 1];
        return m_scale.length({tapped.x - wanted.x, tapped.y - wanted.y});
    }

    /// Of the first targets and taps, so many of each.
    double cost(std::size_t target, std::size_t tap) const
    {
        if (target == 0 || tap == 0)
            return static_cast<double>(target + tap) * lonely();
        return std::min({m_costs[target - 1][tap - 1] + distance(target, tap),
                         m_costs[target - 1][tap] + lonely(), m_costs[target][tap - 1] + lonely()});
    }

    const std::vector<Target> &m_targets;
    const std::vector<Place> &m_taps;
    const Scale &m_scale;
    std::vector<std::vector<double>> m_costs;
};

std::string errorsText(const Errors &errors, const std::vector<Touched> &touched, const Setting &setting)
{
    // TRANSLATORS: two lengths, and the name of a target.
    return format(tr("mean %s, worst %s (%s)", setting.audience), lengthText(errors.mean, setting).c_str(),
                  lengthText(errors.worst, setting).c_str(), touched[errors.worstAt].name.c_str());
}

std::string side(double value, const char *positive, const char *negative, const Setting &setting)
{
    return format(value < 0 ? negative : positive, lengthText(std::abs(value), setting).c_str());
}

void tellFigures(const Calibration &calibration, Finding &found)
{
    const Mapping &mapping = calibration.mapping;
    found.figures = {{"target_mean", calibration.errors.mean},
                     {"target_worst", calibration.errors.worst},
                     {"offset_x", mapping.offsetX},
                     {"offset_y", mapping.offsetY},
                     {"scale_x", mapping.scaleX},
                     {"scale_y", mapping.scaleY},
                     {"rotation", mapping.rotation},
                     {"shear", mapping.shear},
                     {"calibrated_mean", calibration.left.mean},
                     {"calibrated_worst", calibration.left.worst}};
}

void judge(const Setting &setting, Finding &found)
{
    const Audience audience = setting.audience;
    const Calibration &calibration = *found.calibration;
    found.lines.push_back(
        format(tr("Errors: %s.", audience), errorsText(calibration.errors, found.touched, setting).c_str()));
    found.lines.push_back(mappingText(calibration.mapping, setting));
    found.lines.push_back(format(tr("Calibrating would leave: %s.", audience),
                                 errorsText(calibration.left, found.touched, setting).c_str()));
    tellFigures(calibration, found);
    if (calibration.advice == Advice::good)
        return;
    found.faults.push_back(format(
        calibration.advice == Advice::calibrate
            ? tr("The errors are above mean %s or worst %s: calibrate the board.", audience)
            : tr(
                "The errors are above mean %s or worst %s, and calibrating does not help: replace the board.",
                audience),
        lengthText(setting.targets.mean, setting).c_str(),
        lengthText(setting.targets.worst, setting).c_str()));
}

} // namespace

std::string mappingText(const Mapping &mapping, const Setting &setting)
{
    const Audience audience = setting.audience;
    const std::string across =
        // TRANSLATORS: parts of "The board reports %s and %s, ..."; %s is a length.
        side(mapping.offsetX, tr("%s too far right", audience), tr("%s too far left", audience), setting);
    const std::string down =
        side(mapping.offsetY, tr("%s too far down", audience), tr("%s too far up", audience), setting);
    return format(tr("The board reports %s and %s, widths at %s %% and heights at %s %%, turned by %s "
                     "degrees clockwise.",
                     audience),
                  across.c_str(), down.c_str(), decimal(100 * mapping.scaleX).c_str(),
                  decimal(100 * mapping.scaleY).c_str(), decimal(mapping.rotation).c_str());
}

Finding judgeTargets(const Seen &seen, const Setting &setting)
{
    const std::vector<Target> targets = targetsOf(setting.frame, setting.audience);
    const std::vector<Place> taps = tapsIn(seen, setting.scale);
    Finding found = Alignment(targets, taps, setting.scale).pairs();
    found.isComplete = found.missed.empty() && seen.down() == 0;
    const Audience audience = setting.audience;
    const auto touched = static_cast<std::int64_t>(found.touched.size());
    const auto all = static_cast<std::int64_t>(targets.size());
    const auto tapped = static_cast<std::int64_t>(taps.size());
    const auto missed = static_cast<std::int64_t>(found.missed.size());
    found.lines.push_back(
        // TRANSLATORS: "23 of 24 targets tapped, 25 taps in all."
        format(tr("%s, %s in all.", audience),
               format(trPlural("%lld of %lld target tapped", "%lld of %lld targets tapped", all, audience),
                      whole(touched), whole(all))
                   .c_str(),
               format(trPlural("%lld tap", "%lld taps", tapped, audience), whole(tapped)).c_str()));
    if (missed > 0)
        found.faults.push_back(
            format(trPlural("%lld target not tapped in its turn, the first: %s.",
                            "%lld targets not tapped in its turn, the first: %s.", missed, audience),
                   whole(missed), found.missed.front().c_str()));
    found.calibration = calibrationOf(found.touched, setting.scale, setting.targets);
    if (found.calibration)
        judge(setting, found);
    else
        found.faults.emplace_back(tr("Too few targets were tapped to judge the board.", audience));
    return found;
}

} // namespace acceptance
