#include "grading/comparison.h"

#include "language.h"

#include <algorithm>
#include <numeric>
#include <random>

namespace grading {

namespace {

using lab::trLater;

constexpr std::size_t resamples = 1000;
constexpr std::uint64_t fewest = 5;
constexpr double tail = 0.025; // on either side

using Random = std::mt19937_64;

/// The mean of as many values, drawn again with replacement.
double resampledMean(const Evidence &evidence, Random &random)
{
    if (evidence.areFlags()) {
        std::binomial_distribution<std::uint64_t> hits(evidence.count(), evidence.mean());
        return static_cast<double>(hits(random)) / static_cast<double>(evidence.count());
    }
    const std::vector<float> &values = evidence.values();
    std::uniform_int_distribution<std::size_t> index(0, values.size() - 1);
    double sum = 0;
    for (std::size_t i = 0; i < values.size(); ++i)
        sum += static_cast<double>(values[index(random)]);
    return sum / static_cast<double>(values.size());
}

void judge(const Evidence &before, const Evidence &after, bool isBetterHigh, Difference &difference)
{
    Random random; // the same for the same recordings
    std::vector<double> means(resamples);
    for (double &mean : means)
        mean = resampledMean(after, random) - resampledMean(before, random);
    std::sort(means.begin(), means.end());
    const auto at = [&means](double share) {
        return means[static_cast<std::size_t>(share * static_cast<double>(resamples - 1))];
    };
    difference.mean = after.mean() - before.mean();
    difference.low = at(tail);
    difference.high = at(1 - tail);
    if (difference.low > 0 || difference.high < 0)
        difference.change = (difference.low > 0) == isBetterHigh ? Change::better : Change::worse;
}

} // namespace

std::string_view nameOf(Change change)
{
    switch (change) {
    case Change::better:
        return trLater("better");
    case Change::worse:
        return trLater("worse");
    case Change::notShown:
        break;
    }
    return trLater("no difference shown");
}

std::vector<Difference> compare(const Summary &before, const Summary &after)
{
    std::vector<Difference> differences;
    for (const FigureInfo &info : figureInfos()) {
        const std::string key(info.key);
        if (before.figures.count(key) == 0 && after.figures.count(key) == 0)
            continue;
        Difference difference;
        difference.key = info.key;
        const auto a = before.evidence.find(key);
        const auto b = after.evidence.find(key);
        if (a != before.evidence.end() && b != after.evidence.end() && a->second.count() >= fewest
            && b->second.count() >= fewest)
            judge(a->second, b->second, info.isBetterHigh, difference);
        differences.push_back(difference);
    }
    return differences;
}

} // namespace grading
