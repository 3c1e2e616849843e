#include "grading/report.h"

#include <array>
#include <cstdio>

namespace grading {

std::string boundText(const Limit &limit)
{
    const FigureInfo *const info = figureInfo(limit.key);
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), "%s %g", limit.isHighest ? "at most" : "at least", limit.value);
    std::string whole = text.data();
    if (info && !info->unit.empty())
        whole += " " + std::string(info->unit);
    return whole;
}

std::string limitText(const Limit &limit)
{
    std::array<char, 64> soft{};
    if (limit.soft > 0)
        std::snprintf(soft.data(), soft.size(), ", falling over %g more", limit.soft);
    return boundText(limit) + soft.data();
}

} // namespace grading
