#include "korvane.h"
#include "support/contact_receiver.h"
#include "support/simulated_driver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

// Tests of the rules that touches and erasers share. A list of contacts is written as text: "5+a 6-b" is
// contact 5 down at place a and contact 6 lifted at place b. In an emission, "*" after a contact says that
// its record arrived marked as taken.

namespace {

struct Contact
{
    int id = 0;
    bool down = false;
    int place = 0; ///< 1 is place a
};

int x_of(int place)
{
    return 1000 * place;
}

int y_of(int place)
{
    return 0x300 + place;
}

std::vector<Contact> parse(const std::string &text)
{
    std::vector<Contact> contacts;
    std::istringstream words(text);
    int id = 0;
    char state = 0;
    char place = 0;
    while (words >> id >> state >> place)
        contacts.push_back({id, state == '+', place - 'a' + 1});
    return contacts;
}

void deliver_touches(Korvane &korvane, const std::vector<Contact> &contacts)
{
    ZorvicHardware::TouchEvent report;
    for (const Contact &contact : contacts)
        report.append(
            {static_cast<quint8>(contact.id), x_of(contact.place), y_of(contact.place), 640, contact.down});
    korvane.in_touch_event(report);
}

void deliver_erasers(Korvane &korvane, const std::vector<Contact> &contacts)
{
    ZorvicHardware::EraseEvent report;
    for (const Contact &contact : contacts)
        report.append({static_cast<quint8>(contact.id), x_of(contact.place), y_of(contact.place), 640, 320,
                       contact.down});
    korvane.in_erase_event(report);
}

using Emissions = std::vector<std::vector<Korvane::Controls>>;

struct Kind
{
    const char *name;
    int first_id; ///< id of the record of contact 0
    void (*deliver)(Korvane &korvane, const std::vector<Contact> &contacts);
    Emissions ContactReceiver::*emissions;
    bool goes_back; ///< whether unclaimed contacts go back to the driver
};

const Kind touch{"Touch", 256, deliver_touches, &ContactReceiver::touches, true};
const Kind eraser{"Eraser", 512, deliver_erasers, &ContactReceiver::erasers, false};

std::string text_of(const std::vector<Korvane::Controls> &records, int first_id)
{
    std::string text;
    for (const Korvane::Controls &record : records) {
        const int place = static_cast<int>(record.pos.x() * 32768) / 1000;
        text += (text.empty() ? "" : " ") + std::to_string(record.id - first_id)
            + (record.buttons == 0 ? '-' : '+') + static_cast<char>('a' + place - 1)
            + (record.flags & 1U ? "*" : "");
    }
    return text;
}

/// The report with which @p contacts go back to the operating system.
std::string report_of(const std::vector<Contact> &contacts)
{
    const auto byte = [](int value) {
        char text[3];
        std::snprintf(text, sizeof text, "%02x", static_cast<unsigned int>(value) & 0xFFU);
        return std::string(text);
    };
    std::string report = byte(7 * static_cast<int>(contacts.size()) + 2) + "45";
    for (const Contact &contact : contacts) {
        const int x = x_of(contact.place);
        const int y = y_of(contact.place);
        report += byte(contact.id + (contact.down ? 128 : 0)) + byte(x % 256) + byte(x / 256) + byte(y % 256)
            + byte(y / 256) + "0000";
    }
    return report;
}

constexpr const char *none = nullptr;

struct Step
{
    const char *report;
    std::vector<int> taken; ///< ids of the contacts that widgets take if they are emitted
    const char *emitted;    ///< none: no emission
    const char *returned;   ///< none: nothing goes back, as always for erasers
};

struct Course
{
    const char *name;
    std::vector<Step> steps;
};

class ContactsTakeTheirCourse : public testing::TestWithParam<std::tuple<Kind, Course>>
{
protected:
    SimulatedDriver driver;
    Korvane korvane{nullptr, nullptr};
    ContactReceiver receiver{korvane};
};

TEST_P(ContactsTakeTheirCourse, StepByStep)
{
    const auto &[kind, course] = GetParam();
    const Emissions &emissions = receiver.*kind.emissions;
    const int first_id = kind.first_id;
    std::vector<std::string> expected_emissions;
    std::vector<std::string> expected_returns;
    int number = 0;
    for (const Step &step : course.steps) {
        SCOPED_TRACE("step " + std::to_string(++number) + ": " + step.report);
        receiver.answer = [&step, first_id](Korvane::Controls &record) {
            if (std::count(step.taken.begin(), step.taken.end(), record.id - first_id) != 0)
                take(record);
        };

        kind.deliver(korvane, parse(step.report));

        if (step.emitted != none)
            expected_emissions.emplace_back(step.emitted);
        if (step.returned != none && kind.goes_back)
            expected_returns.push_back(report_of(parse(step.returned)));
        std::vector<std::string> actual_emissions;
        for (const auto &emission : emissions)
            actual_emissions.push_back(text_of(emission, first_id));
        ASSERT_EQ(actual_emissions, expected_emissions);
        ASSERT_EQ(handed_back(driver), expected_returns);
    }
}

const std::vector<Course> courses = {
    {"UnclaimedContactIsEmittedOnceAndGoesBackUntilItLifts",
     {{"5+a", {}, "5+a", "5+a"},
      {"5+b", {5}, none, "5+b"},
      {"5-b", {5}, none, "5-b"},
      {"5+a", {5}, "5+a", none}}},
    {"TakenContactNeverGoesBack",
     {{"5+a", {5}, "5+a", none}, {"5+b", {5}, "5+b", none}, {"5-b", {5}, "5-b", none}}},
    {"TakenContactThatHasLiftedIsEmittedAgainWithEveryChange",
     {{"5+a", {5}, "5+a", none},
      {"5-a", {5}, "5-a", none},
      {"6+a", {6}, "5-a* 6+a", none},
      {"6+b", {6}, "5-a* 6+b", none},
      {"6-b", {6}, "5-a* 6-b", none},
      {"5+c", {5}, "5+c 6-b*", none}}},
    {"TakenContactKeepsItsMarkUntilAReportCarriesIt",
     {{"5+a 6+a", {5, 6}, "5+a 6+a", none},
      {"6+b", {6}, "5+a* 6+b", none},
      {"5+b", {5}, "5+b 6+b*", none},
      {"5+c 6+c", {5, 6}, "5+c 6+c", none}}},
    {"ContactThatIsNoLongerTakenGoesBack",
     {{"5+a", {5}, "5+a", none}, {"5+b", {}, "5+b", "5+b"}, {"5+c", {5}, none, "5+c"}}},
    {"RepeatedReportOfATakenContactIsDropped",
     {{"5+a", {5}, "5+a", none}, {"5+a", {}, none, none}, {"5+a", {5}, none, none}}},
    {"RepeatedReportIsDroppedTogetherWithItsReturn",
     {{"5+a", {}, "5+a", "5+a"},
      {"5+a", {}, none, none},
      {"5+b", {}, none, "5+b"},
      {"5+b", {}, none, none},
      {"5-b", {}, none, "5-b"},
      {"5-b", {}, none, none}}},
    {"RepeatedReportIsDroppedWholeThoughOnlyOneContactIsTaken",
     {{"5+a 6+a", {5}, "5+a 6+a", "6+a"}, {"5+a 6+a", {5}, none, none}, {"5+a 6+b", {5}, "5+a", "6+b"}}},
    {"FirstReportOfAllIsDroppedWhenEmpty", {{"", {}, none, none}, {"5+a", {5}, "5+a", none}}},
    {"EmptyReportIsDroppedWhileNothingHasChanged",
     {{"5+a 6+a", {5, 6}, "5+a 6+a", none}, {"", {}, none, none}, {"5+a 6+a", {5, 6}, none, none}}},
    {"EmptyReportLetsTheSameReportGoBackAgain",
     {{"5+a", {}, "5+a", "5+a"}, {"", {}, none, none}, {"5+a", {5}, none, "5+a"}}},
    {"EmptyReportEmitsWhatIsLeftAfterAContactWentUnclaimed",
     {{"5+a 6+a", {5}, "5+a 6+a", "6+a"}, {"", {}, "5+a*", none}, {"", {}, none, none}}},
    {"EmptyReportEmitsWhatIsLeftAfterARedirectedContactWasRemoved",
     {{"5+a 6+a", {5}, "5+a 6+a", "6+a"},
      {"5+b 6+b", {5}, "5+b", "6+b"},
      {"", {}, "5+b*", none},
      {"", {}, none, none}}},
    {"ContactsKeepTheOrderOfTheirFirstAppearance",
     {{"7+a 5+a", {5, 7}, "7+a 5+a", none},
      {"5+b 6+a", {5, 6}, "7+a* 5+b 6+a", none},
      {"6+b 7+b", {6, 7}, "7+b 5+b* 6+b", none}}},
    {"OrderStaysWhenContactsLeave",
     {{"8+a 7+a 6+a 5+a", {8, 6, 5}, "8+a 7+a 6+a 5+a", "7+a"},
      {"5+b 7+b 8+b", {8, 5}, "8+b 6+a* 5+b", "7+b"},
      {"7-b 9+a", {9}, "8+b* 6+a* 5+b* 9+a", "7-b"},
      {"7+a", {7}, "8+b* 6+a* 5+b* 9+a* 7+a", none}}},
    {"SecondContactWithTheSameIdOverwritesTheFirst",
     {{"5+a 5+b", {5}, "5+b", none}, {"5+b", {5}, none, none}, {"5+c 5+b", {5}, none, none}}},
    {"BothContactsWithTheSameIdGoBack", {{"5+a 6+a 5+b", {6}, "5+b 6+a", "5+a 5+b"}}},
    {"LastContactWithTheSameIdEndsTheRedirection",
     {{"5+a 5-b", {}, "5-b", "5+a 5-b"}, {"5+c", {5}, "5+c", none}}},
    {"LastContactWithTheSameIdStartsTheRedirection",
     {{"5-a 5+b", {}, "5+b", "5-a 5+b"}, {"5+c", {5}, none, "5+c"}}},
    {"ContactFirstSeenLiftedIsNotRedirectedLater", {{"5-a", {}, "5-a", "5-a"}, {"5+a", {5}, "5+a", none}}},
    {"UnclaimedContactsGoBackTogetherInTheOrderOfTheirReport",
     {{"5+a 6+a 7+a", {6}, "5+a 6+a 7+a", "5+a 7+a"}, {"7+b 6+b 5+b", {6}, "6+b", "7+b 5+b"}}},
    {"RedirectedContactStaysSoWhileAbsent",
     {{"5+a 6+a", {6}, "5+a 6+a", "5+a"}, {"6+b", {6}, "6+b", none}, {"5+b", {5}, "6+b*", "5+b"}}},
    {"RepeatedLiftOfARedirectedContactIsEmittedWithTheNextChange",
     {{"5+a", {}, "5+a", "5+a"},
      {"5-a", {}, none, "5-a"},
      {"5-a", {}, none, none},
      {"6+a", {6}, "5-a 6+a", none},
      {"6+b", {6}, "6+b", none}}},
    {"ContactsAreRedirectedOneByOne",
     {{"5+a", {}, "5+a", "5+a"},
      {"6+a", {6}, "6+a", none},
      {"5+b 6+b", {5, 6}, "6+b", "5+b"},
      {"5-b 6+b", {5, 6}, "6+b", "5-b"},
      {"5+b 6+b", {5, 6}, "6+b 5+b", none}}},
};

INSTANTIATE_TEST_SUITE_P(OfEveryKind, ContactsTakeTheirCourse,
                         testing::Combine(testing::Values(touch, eraser), testing::ValuesIn(courses)),
                         [](const auto &row) {
                             return std::string(std::get<0>(row.param).name) + std::get<1>(row.param).name;
                         });

} // namespace
