#include "move.h"
#include "support/scenarios.h"

#include "capture/contacts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <string>
#include <variant>
#include <vector>

using namespace boardsim;
using namespace scenario_testing;

namespace {

struct Deviations
{
    std::vector<double> x;
    std::vector<double> y;
};

/// Board units: how far 20000 samples of a resting contact lie from their place.
Deviations deviations_of(const std::string &noise)
{
    const Reading reading = read(
        version_line + board_line + R"({"type":"move","board":1,"rate":20000,"time":1000000,"contacts":[)"
        + R"({"kind":"touch","id":0,"extent":1,"line":[[16000,17000]],)" + noise + "}]}\n");
    EXPECT_EQ(reading.error, "");
    Deviations deviations;
    if (!reading.scenario)
        return deviations;
    const Move move = std::get<Move>(reading.scenario->steps.at(0));
    capture::Report report;
    for (std::int64_t sample = 0; sample < sampleCount(move); ++sample) {
        const Bytes bytes = sampleReports(move, sample).at(0);
        capture::decode(bytes.data(), bytes.size(), report);
        deviations.x.push_back(report.contacts.at(0).x - 16000);
        deviations.y.push_back(report.contacts.at(0).y - 17000);
    }
    return deviations;
}

double mean_product(const std::vector<double> &a, const std::vector<double> &b)
{
    return std::inner_product(a.begin(), a.end(), b.begin(), 0.0) / static_cast<double>(a.size());
}

double correlation(const std::vector<double> &a, const std::vector<double> &b)
{
    return mean_product(a, b) / std::sqrt(mean_product(a, a) * mean_product(b, b));
}

double share_within(const std::vector<double> &values, double limit)
{
    const auto count = std::count_if(values.begin(), values.end(),
                                     [limit](double value) { return std::abs(value) <= limit; });
    return static_cast<double>(count) / static_cast<double>(values.size());
}

} // namespace

struct NoiseRow
{
    const char *name;
    std::string noise;
    double deviation; ///< board units
};
class Noise : public testing::TestWithParam<NoiseRow>
{
};

// The tolerances are four standard errors of 20000 samples.
TEST_P(Noise, HasItsStandardDeviationOnBothAxes)
{
    const double deviation = GetParam().deviation;

    const Deviations deviations = deviations_of(GetParam().noise);

    for (const std::vector<double> &axis : {deviations.x, deviations.y}) {
        ASSERT_EQ(axis.size(), 20000u);
        const double mean = std::accumulate(axis.begin(), axis.end(), 0.0) / 20000;
        EXPECT_NEAR(mean, 0, 0.0283 * deviation);
        EXPECT_NEAR(std::sqrt(mean_product(axis, axis) - mean * mean), deviation, 0.02 * deviation);
    }
}

TEST_P(Noise, IsNormallyDistributed)
{
    const double deviation = GetParam().deviation;

    const Deviations deviations = deviations_of(GetParam().noise);

    for (const std::vector<double> &axis : {deviations.x, deviations.y}) {
        EXPECT_NEAR(share_within(axis, deviation), 0.6827, 0.0132);
        EXPECT_NEAR(share_within(axis, 2 * deviation), 0.9545, 0.0059);
        EXPECT_NEAR(share_within(axis, 3 * deviation), 0.9973, 0.0015);
    }
}

TEST_P(Noise, DependsNeitherOnTheOtherAxisNorOnTheSampleBefore)
{
    const auto [x, y] = deviations_of(GetParam().noise);
    ASSERT_FALSE(x.empty());

    EXPECT_NEAR(correlation(x, y), 0, 0.0283);
    for (const std::vector<double> &axis : {x, y})
        EXPECT_NEAR(correlation({axis.begin() + 1, axis.end()}, {axis.begin(), axis.end() - 1}), 0, 0.0283);
}

INSTANTIATE_TEST_SUITE_P(Seeds, Noise,
                         testing::Values(NoiseRow{"None", R"("noise":1000)", 1000},
                                         NoiseRow{"Lowest", R"("noise":999.5,"seed":0)", 999.5},
                                         NoiseRow{"Two", R"("noise":500,"seed":2)", 500},
                                         NoiseRow{"Highest", R"("noise":2000,"seed":4294967295)", 2000}),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(NoiseOfTwoSeeds, IsNotAlike)
{
    const Deviations one = deviations_of(R"("noise":1000,"seed":1)");
    const Deviations two = deviations_of(R"("noise":1000,"seed":2)");
    ASSERT_EQ(one.x.size(), two.x.size());

    EXPECT_NEAR(correlation(one.x, two.x), 0, 0.0283);
    EXPECT_NEAR(correlation(one.y, two.y), 0, 0.0283);
}
