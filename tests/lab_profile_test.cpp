#include "grading/profile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

using namespace grading;

namespace {

struct Wrong
{
    const char *name;
    std::string text;
    std::string error; ///< behind the file's name
};

std::ostream &operator<<(std::ostream &stream, const Wrong &wrong)
{
    return stream << wrong.name;
}

std::string limits(const std::string &limit)
{
    return "{\n\"name\": \"x\",\n\"limits\": [\n" + limit + "\n]}\n";
}

class WrongProfile : public testing::TestWithParam<Wrong>
{
};

TEST_P(WrongProfile, IsRefusedWithItsLineAndTheCause)
{
    const ProfileResult result = parseProfile(GetParam().text, "p.json");
    EXPECT_FALSE(result.profile);
    EXPECT_EQ(result.error.substr(0, GetParam().error.size() + 7), "p.json:" + GetParam().error);
    EXPECT_EQ(result.error.find('\n'), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Grading, WrongProfile,
    testing::Values(
        Wrong{"nothing", "", "1: this is no JSON"}, Wrong{"a list", "[]", "1: a profile is a JSON object"},
        Wrong{"cut off", "{\n\"name\":\n", "3: this is no JSON"},
        Wrong{"a comma too many", "{\n\"name\": \"x\",\n\"limits\": [],\n}", "4: this is no JSON"},
        Wrong{"without a name", "{\"limits\":[]}", "1: the profile has no \"name\""},
        Wrong{"without limits", "{\"name\":\"x\"}", "1: the profile has no \"limits\""},
        Wrong{"an unknown field", "{\n\"name\": \"x\",\n\"colour\": 1}",
              "3: there is no field \"colour\" here"},
        Wrong{"a name that is a number", "{\n\n\"name\": 5}", "3: a text is expected"},
        Wrong{"a size of one number", "{\"name\":\"x\",\n\"size_mm\":[5]}",
              "2: the size is [width, height] in millimetres"},
        Wrong{"a size of nothing", "{\"name\":\"x\",\n\"size_mm\":[0,5]}",
              "2: the size is [width, height] in millimetres"},
        Wrong{"limits that are no list", "{\"name\":\"x\",\n\"limits\":{}}", "2: the limits are a list"},
        Wrong{"a limit that is no object", limits("5"), "3: a limit is an object"},
        Wrong{"an unknown figure", limits(R"({"key":"speed","unit":"","most":1})"),
              "4: there is no figure \"speed\""},
        Wrong{"another unit", limits(R"({"key":"rate_min_hz","unit":"mm","least":1})"),
              "4: the unit of rate_min_hz is \"Hz\""},
        Wrong{"two bounds", limits(R"({"key":"rate_min_hz","unit":"Hz","least":1,"most":2})"),
              "4: a limit has either \"most\" or \"least\""},
        Wrong{"no bound", limits(R"({"key":"rate_min_hz","unit":"Hz"})"),
              "4: a limit has either \"most\" or \"least\""},
        Wrong{"a bound that is a text", limits(R"({"key":"rate_min_hz","unit":"Hz","least":"1"})"),
              "4: a number is expected"},
        Wrong{"a negative edge", limits(R"({"key":"rate_min_hz","unit":"Hz","least":1,"soft":-1})"),
              "4: \"soft\" is a width, 0 or more"},
        Wrong{"a misspelt field", limits(R"({"key":"rate_min_hz","unit":"Hz","leest":1})"),
              "4: there is no field \"leest\" here"},
        Wrong{"a figure twice", limits(R"({"key":"gap_count","unit":"","most":1},
{"key":"gap_count","unit":"","most":2})"),
              "5: a second limit of gap_count"}));

TEST(Profiles, OfThisProjectAreGood)
{
    int count = 0;
    for (const auto &entry : std::filesystem::directory_iterator(PROFILES)) {
        const ProfileResult result = readProfile(entry.path().string());
        ASSERT_TRUE(result.profile) << result.error;
        EXPECT_EQ(result.profile->name, entry.path().stem().string());
        for (const Limit &limit : result.profile->limits) {
            EXPECT_FALSE(limit.source.empty()) << limit.key;
            EXPECT_FALSE(limit.sentence.empty()) << limit.key;
        }
        ++count;
    }
    EXPECT_EQ(count, 4);
}

struct Graded
{
    const char *name;
    double value;
    double score;
    Verdict verdict;
};

TEST(Grades, FallFromOneToZeroOverTheSoftEdge)
{
    Profile most;
    most.limits = {{"gap_worst_ratio", true, 1.8, 1.0, {}, {}}};
    for (const Graded &given : std::vector<Graded>{{"below", 1, 1, Verdict::pass},
                                                   {"at the limit", 1.8, 1, Verdict::pass},
                                                   {"half-way", 2.3, 0.5, Verdict::fail},
                                                   {"at the end", 2.8, 0, Verdict::fail},
                                                   {"beyond", 9, 0, Verdict::fail}}) {
        const Grade grade = gradeOf({{"gap_worst_ratio", given.value}}, "gap_worst_ratio", &most);
        EXPECT_NEAR(grade.score.value(), given.score, 1e-9) << given.name;
        EXPECT_EQ(grade.verdict, given.verdict) << given.name;
    }
    Profile least;
    least.limits = {{"rate_min_hz", false, 100, 0, {}, {}}};
    EXPECT_EQ(gradeOf({{"rate_min_hz", 100}}, "rate_min_hz", &least).verdict, Verdict::pass);
    EXPECT_EQ(gradeOf({{"rate_min_hz", 99.9}}, "rate_min_hz", &least).score, 0) << "a hard limit";
}

TEST(Grades, AreNotGivenForWhatWasNotMeasured)
{
    Profile profile;
    profile.limits = {{"line_rms_mm", true, 1, 0, {}, {}}};
    EXPECT_EQ(gradeOf({}, "line_rms_mm", &profile).verdict, Verdict::notGraded);
    EXPECT_EQ(gradeOf({{"gap_count", 4}}, "gap_count", &profile).verdict, Verdict::notGraded);
    EXPECT_EQ(gradeOf({{"gap_count", 4}}, "gap_count", nullptr).verdict, Verdict::notGraded);
    EXPECT_EQ(totalOf({}, &profile).verdict(), Verdict::notGraded);
}

} // namespace
