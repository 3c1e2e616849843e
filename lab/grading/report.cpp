#include "grading/report.h"

#include <array>
#include <cstdio>

namespace grading {

std::string limitText(const Limit &limit)
{
    const FigureInfo *const info = figureInfo(limit.key);
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), "%s %g", limit.isHighest ? "at most" : "at least", limit.value);
    std::string whole = text.data();
    if (info && !info->unit.empty())
        whole += " " + std::string(info->unit);
    if (limit.soft > 0) {
        std::snprintf(text.data(), text.size(), ", falling over %g more", limit.soft);
        whole += text.data();
    }
    return whole;
}

} // namespace grading
