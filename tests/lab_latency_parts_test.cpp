#include "commands/latencytext.h"
#include "latency/fields.h"
#include "latency/statistics.h"
#include "page/latencychart.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>
#include <tinyxml2.h>

// What a measurement of latency says of its times, with times that are known.

namespace {

using Times = std::vector<double>;

/// 1, 2, 3 and so on.
Times upTo(int count)
{
    Times times;
    for (int time = count; time > 0; --time)
        times.push_back(time);
    return times;
}

/// Two rows, the second of which has one time far beyond the others.
latency::Outcome knownOutcome()
{
    latency::Outcome outcome;
    outcome.width = 1920;
    outcome.height = 1080;
    outcome.ticks = {8, 8, 9};
    outcome.tick = {8};
    outcome.rows.push_back({"contacts", "2 contacts, tags on", 2, true, {1, 2, 3, 4, 5, 6, 7, 8, 9}});
    outcome.rows.push_back({"pattern", "black & <grid>", 1, false, {2.5, 2.5, 2.5, 300}});
    return outcome;
}

int countOf(const std::string &text, const std::string &part)
{
    int count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

} // namespace

struct DistributionRow
{
    const char *name;
    Times times;
    double least, median, p95, p99, most, mean;
};

class ADistribution : public testing::TestWithParam<DistributionRow>
{
};

TEST_P(ADistribution, SaysHowManyTimesAreNotLonger)
{
    const DistributionRow &row = GetParam();

    const latency::Distribution found = latency::distributionOf(row.times);

    EXPECT_EQ(found.samples, row.times.size());
    EXPECT_DOUBLE_EQ(found.least, row.least);
    EXPECT_DOUBLE_EQ(found.median, row.median);
    EXPECT_DOUBLE_EQ(found.p95, row.p95);
    EXPECT_DOUBLE_EQ(found.p99, row.p99);
    EXPECT_DOUBLE_EQ(found.most, row.most);
    EXPECT_DOUBLE_EQ(found.mean, row.mean);
}

INSTANTIATE_TEST_SUITE_P(OfTimes, ADistribution,
                         testing::Values(DistributionRow{"None", {}, 0, 0, 0, 0, 0, 0},
                                         DistributionRow{"One", {7}, 7, 7, 7, 7, 7, 7},
                                         DistributionRow{"TwoInDisorder", {9, 1}, 1, 1, 9, 9, 9, 5},
                                         DistributionRow{"Three", {5, 1, 3}, 1, 3, 5, 5, 5, 3},
                                         DistributionRow{"AHundred", upTo(100), 1, 50, 95, 99, 100, 50.5},
                                         DistributionRow{"TwoHundred", upTo(200), 1, 100, 190, 198, 200,
                                                         100.5}),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(TheWaitForATick, IsTakenFromTheMeanAndFromThePercentile)
{
    const latency::Distribution times = latency::distributionOf(upTo(100));

    const latency::Rest rest = latency::beyondTick(times, {8});

    EXPECT_DOUBLE_EQ(rest.mean, 50.5 - 4);
    EXPECT_DOUBLE_EQ(rest.p99, 99 - 0.99 * 8);
}

struct ChangesRow
{
    const char *name;
    Times changes;
    Times ticks;
};

class ChangesOfTheScreen : public testing::TestWithParam<ChangesRow>
{
};

TEST_P(ChangesOfTheScreen, BelongToOneTickIfTheyFollowEachOtherClosely)
{
    EXPECT_EQ(latency::ticksBetween(GetParam().changes), GetParam().ticks);
}

INSTANTIATE_TEST_SUITE_P(Ticks, ChangesOfTheScreen,
                         testing::Values(ChangesRow{"None", {}, {}}, ChangesRow{"One", {100}, {}},
                                         ChangesRow{"OneForEachTick", {100, 108, 117}, {8, 9}},
                                         ChangesRow{"SeveralForATick", {100, 101, 108, 109.5, 116}, {8, 8}}),
                         [](const auto &row) { return std::string(row.param.name); });

struct WindowRow
{
    const char *name;
    acceptance::Area window;
    int contacts;
};

class Contacts : public testing::TestWithParam<WindowRow>
{
};

TEST_P(Contacts, DrawInsideTheWindowAndNeverWhereOneHasDrawnBefore)
{
    const acceptance::Area &window = GetParam().window;
    const latency::Fields fields(window, GetParam().contacts);

    const latency::Walk walk = fields.walk(true);

    EXPECT_GE(walk.size(), 60U);
    std::vector<latency::Point> drawn;
    for (const std::vector<latency::Point> &places : walk) {
        ASSERT_EQ(places.size(), static_cast<std::size_t>(GetParam().contacts));
        for (const latency::Point place : places) {
            EXPECT_GE(place.x - latency::Fields::radius, window.x);
            EXPECT_GE(place.y - latency::Fields::radius, window.y);
            EXPECT_LE(place.x + latency::Fields::radius, window.x + window.width);
            EXPECT_LE(place.y + latency::Fields::radius, window.y + window.height);
            EXPECT_TRUE(std::all_of(drawn.begin(), drawn.end(),
                                    [place](latency::Point other) {
                                        return std::abs(place.x - other.x) >= latency::Fields::step
                                            || std::abs(place.y - other.y) >= latency::Fields::step;
                                    }))
                << place.x << ", " << place.y;
            drawn.push_back(place);
        }
    }
}

TEST_P(Contacts, ScribbleAboveThePlacesThatAreMeasured)
{
    std::mt19937 random(1);
    const latency::Fields fields(GetParam().window, GetParam().contacts);

    const latency::Walk scribble = fields.scribble(500, random);

    const std::vector<latency::Point> first = fields.walk(false).front();
    ASSERT_EQ(scribble.size(), 500U);
    for (const std::vector<latency::Point> &places : scribble) {
        for (std::size_t contact = 0; contact < places.size(); ++contact)
            EXPECT_LE(places[contact].y + 2 * latency::Fields::radius, first[contact].y);
    }
}

INSTANTIATE_TEST_SUITE_P(InAWindow, Contacts,
                         testing::Values(WindowRow{"One", {0, 20, 1920, 1060}, 1},
                                         WindowRow{"Five", {0, 20, 1920, 1060}, 5},
                                         WindowRow{"Ten", {0, 20, 1920, 1060}, 10},
                                         WindowRow{"TenOnASmallScreen", {1, 22, 1022, 745}, 10},
                                         WindowRow{"OneInASmallWindow", {300, 200, 250, 250}, 1}),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(AWindow, ThatIsTooSmallForTheTagsIsRefused)
{
    const std::vector<WindowRow> rows{{"narrow", {0, 0, 200, 1000}, 1},
                                      {"low", {0, 0, 1000, 200}, 1},
                                      {"for ten", {0, 0, 800, 600}, 10},
                                      {"none", {}, 1}};
    for (const WindowRow &row : rows)
        EXPECT_THROW(latency::Fields(row.window, row.contacts), std::runtime_error) << row.name;
}

TEST(TheTable, SaysWhatIsTheTicksOwn)
{
    EXPECT_EQ(lab::latencyText(knownOutcome()),
              R"(milliseconds from the driver's callback to the pixel, on a screen of 1920 x 1080

                            reports      min   median     95 %     99 %      max     mean | beyond the tick
                                                                                          |     mean     99 %
contacts and info tags
  2 contacts, tags on              9     1.00     5.00     9.00     9.00     9.00     5.00 |     1.00     1.08
pattern (1 contact, tags off)
  black & <grid>                   4     2.50     2.50   300.00   300.00   300.00    76.88 |    72.88   292.08

The program redraws every 8.00 ms (median of 3), so a report waits 4.00 ms for the tick on average.
Of the mean of 5.00 ms (2 contacts, tags on), 4.00 ms are the tick's own; 1.00 ms remain.
)");
}

TEST(TheJsonObject, HasTheSameFigures)
{
    const auto json = nlohmann::json::parse(lab::latencyJson(knownOutcome()));

    EXPECT_EQ(json["version"], 1);
    EXPECT_EQ(json["screen"], (nlohmann::json{{"width", 1920}, {"height", 1080}}));
    EXPECT_EQ(json["tick_ms"], 8);
    EXPECT_EQ(json["tick_wait_mean_ms"], 4);
    ASSERT_EQ(json["rows"].size(), 2U);
    EXPECT_EQ(json["rows"][1], nlohmann::json::parse(R"({"split":"pattern","name":"black & <grid>",
        "contacts":1,"tags":false,"samples":4,"min_ms":2.5,"median_ms":2.5,"p95_ms":300.0,"p99_ms":300.0,
        "max_ms":300.0,"mean_ms":76.875,"beyond_tick_mean_ms":72.875,"beyond_tick_p99_ms":292.08})"));
}

TEST(TheChart, IsAnSvgThatTellsInWordsWhatItShows)
{
    tinyxml2::XMLDocument document;

    ASSERT_EQ(document.Parse(page::latencyChart(knownOutcome()).c_str()), tinyxml2::XML_SUCCESS);

    const tinyxml2::XMLElement *const svg = document.RootElement();
    EXPECT_STREQ(svg->Name(), "svg");
    EXPECT_STREQ(svg->Attribute("role"), "img");
    EXPECT_STREQ(svg->FirstChildElement("title")->GetText(), "From the driver's callback to the pixel");
    const std::string description = svg->FirstChildElement("desc")->GetText();
    EXPECT_NE(description.find("2 contacts, tags on: median 5.00 ms, 99 % 9.00 ms."), std::string::npos);
    EXPECT_NE(description.find("black & <grid>: median 2.50 ms"), std::string::npos);
}

TEST(TheChart, HasABarForEachMillisecondThatOccursAndTheLastOneForAllBeyond)
{
    const std::string chart = page::latencyChart(knownOutcome());

    EXPECT_EQ(countOf(chart, "class=\"bar\""), 9 + 2);
    EXPECT_EQ(countOf(chart, "class=\"tick\""), 2) << "what the wait alone would give, in each row";
    EXPECT_EQ(countOf(chart, "class=\"median\""), 2);
    EXPECT_EQ(countOf(chart, "class=\"far\""), 2);
    EXPECT_EQ(countOf(chart, ">64<"), 1) << "the end of the axis";
}
