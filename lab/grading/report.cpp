#include "grading/report.h"

namespace grading {

std::string boundText(const Limit &limit, lab::Audience audience)
{
    const char *const pattern =
        limit.isHighest ? lab::tr("at most %g", audience) : lab::tr("at least %g", audience);
    const std::string bound = lab::format(pattern, limit.value);
    const FigureInfo *const info = figureInfo(limit.key);
    return info && !info->unit.empty() ? bound + " " + lab::tr(info->unit.data(), audience) : bound;
}

std::string limitText(const Limit &limit, lab::Audience audience)
{
    std::string bound = boundText(limit, audience);
    if (limit.soft <= 0)
        return bound;
    // TRANSLATORS: "at least 100 Hz, falling over 20 more": the score falls from 1 to 0 over that much more.
    return lab::format(lab::tr("%s, falling over %g more", audience), bound.c_str(), limit.soft);
}

} // namespace grading
