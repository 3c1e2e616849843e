#include "grading/rates.h"

#include <algorithm>
#include <cstddef>

namespace grading {

namespace {

constexpr std::int64_t window = second / 2;
constexpr double gapRatio = 1.8;

} // namespace

void Rates::add(const std::vector<Sample> &samples)
{
    std::size_t end = 0;
    for (std::size_t begin = 0; begin < samples.size(); ++begin) {
        while (end < samples.size() && samples[end].at - samples[begin].at < window)
            ++end;
        if (end == samples.size())
            return;
        const auto time = static_cast<double>(samples[end].at - samples[begin].at);
        const double rate = static_cast<double>(end - begin) / time * 1e6;
        all.add(rate);
        if (samples[begin].alone && samples[end].alone)
            alone.add(rate);
        else if (!samples[begin].alone && !samples[end].alone)
            together.add(rate);
    }
}

void Rates::add(const Rates &other)
{
    all.add(other.all);
    alone.add(other.alone);
    together.add(other.together);
}

Gaps gapsOf(const std::vector<Sample> &samples)
{
    Gaps gaps;
    for (std::size_t i = 3; i < samples.size(); ++i) {
        const auto before = static_cast<double>(samples[i - 2].at - samples[i - 3].at);
        const auto interval = static_cast<double>(samples[i - 1].at - samples[i - 2].at);
        const auto after = static_cast<double>(samples[i].at - samples[i - 1].at);
        if (before <= 0 || interval <= gapRatio * before || after >= interval)
            continue;
        ++gaps.count;
        gaps.worstRatio = std::max(gaps.worstRatio, interval / before);
    }
    return gaps;
}

} // namespace grading
