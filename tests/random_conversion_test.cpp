#include "korvane.h"
#include "support/contact_receiver.h"
#include "support/simulated_driver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <vector>

// Tests the input model against a small model of its rules, with random samples and a receiver that takes
// contacts, gives them up and changes records at random.

namespace {

constexpr int rounds = 12000;

using Controls = Korvane::Controls;

bool tell_the_same(const Controls &a, const Controls &b)
{
    return a.id == b.id && a.buttons == b.buttons && a.pos == b.pos && a.radius == b.radius;
}

/// Every field of a record, exactly.
auto fields(const Controls &c)
{
    return std::tuple(c.id, c.flags, c.buttons, c.radius.x(), c.radius.y(), c.pos.x(), c.pos.y(),
                      c.view_pos.x(), c.view_pos.y());
}

testing::AssertionResult same_records(const std::vector<Controls> &actual,
                                      const std::vector<Controls> &expected)
{
    const bool same = std::equal(actual.begin(), actual.end(), expected.begin(), expected.end(),
                                 [](const Controls &a, const Controls &b) { return fields(a) == fields(b); });
    if (same)
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
        << actual.size() << " records instead of " << expected.size() << ", or different ones";
}

double normalised(int raw)
{
    return raw / 32768.0;
}

Controls record_of(int id, int buttons, int width, int height, int x, int y)
{
    Controls record;
    record.id = id;
    record.buttons = buttons;
    record.radius = {normalised(width), normalised(height)};
    record.pos = record.view_pos = {normalised(x), normalised(y)};
    return record;
}

/// What the receiver does to a record in one round, the same for the program and for the model.
void answer(Controls &record, int round)
{
    switch ((static_cast<unsigned int>(record.id) * 2654435761U + static_cast<unsigned int>(round) * 40503U)
                >> 7
            & 7U) {
    case 0:
        record.flags &= ~1U;
        break;
    case 1:
        record.flags = 6;
        break;
    case 2:
        record.flags = 7;
        break;
    case 3:
        break;
    default:
        record.flags |= 1U;
        break;
    }
}

std::string hexadecimal(const std::vector<int> &bytes)
{
    constexpr const char *digits = "0123456789abcdef";
    std::string text;
    for (const int byte : bytes) {
        text += digits[byte / 16];
        text += digits[byte % 16];
    }
    return text;
}

/// Random samples. Many values come from a small set, so that samples repeat.
class RandomSamples
{
public:
    explicit RandomSamples(unsigned int seed) : m_random(seed) { }

    int number(int below) { return std::uniform_int_distribution<int>(0, below - 1)(m_random); }
    bool once_in(int times) { return number(times) == 0; }
    int raw() { return once_in(2) ? number(65536) : 1000 * number(2); }

    ZorvicHardware::PenEvent pen()
    {
        return {static_cast<quint8>(once_in(9) ? 15 : number(3)),
                raw(),
                1000 * number(2),
                !once_in(3),
                once_in(4),
                once_in(2)};
    }
    ZorvicHardware::TouchContact touch()
    {
        return {static_cast<quint8>(once_in(9) ? 127 : number(4)), raw(), 1000 * number(2), 500 * number(2),
                !once_in(3)};
    }
    ZorvicHardware::EraseContact eraser()
    {
        return {static_cast<quint8>(once_in(9) ? 127 : number(4)),
                raw(),
                1000 * number(2),
                500 * number(2),
                700 * number(2),
                !once_in(3)};
    }

private:
    std::mt19937 m_random;
};

// Tests of pens.

struct PenModel
{
    std::vector<Controls> emitted;
    std::vector<std::string> returned;

    void sample(const ZorvicHardware::PenEvent &event, int round)
    {
        const Controls record =
            record_of(-1 - event.pen, event.tip + 2 * event.button, 0, 0, event.x, event.y);
        const auto previous = last.find(record.id);
        if (previous != last.end() && tell_the_same(previous->second, record))
            return;
        last[record.id] = record;
        if (redirected[record.id]) {
            redirected[record.id] = event.tip;
            give_back(event);
            return;
        }
        emitted.push_back(record);
        Controls answered = record;
        answer(answered, round);
        if (answered.flags % 2 == 1)
            return;
        redirected[record.id] = true;
        give_back(event);
    }

private:
    void give_back(const ZorvicHardware::PenEvent &event)
    {
        returned.push_back(hexadecimal({9, 0x21, event.pen + (event.tip ? 128 : 0), event.x % 256,
                                        event.x / 256, event.y % 256, event.y / 256, 0, 0}));
    }

    std::map<int, Controls> last;
    std::map<int, bool> redirected;
};

class RandomConversion : public testing::TestWithParam<unsigned int>
{
protected:
    SimulatedDriver driver;
    Korvane korvane{nullptr, nullptr};
    ContactReceiver receiver{korvane};
    RandomSamples random{GetParam()};
};

TEST_P(RandomConversion, OfPensObeysTheModel)
{
    PenModel model;
    ZorvicHardware::PenEvent sample;
    for (int round = 0; round < rounds; ++round) {
        receiver.answer = [round](Controls &record) { answer(record, round); };
        if (!random.once_in(4))
            sample = random.pen();

        korvane.in_pen_event(sample);
        model.sample(sample, round);

        ASSERT_EQ(receiver.pens.size(), model.emitted.size()) << "round " << round;
    }
    EXPECT_TRUE(same_records(receiver.pens, model.emitted));
    EXPECT_TRUE(handed_back(driver) == model.returned);
    EXPECT_GT(model.emitted.size(), 1000U);
    EXPECT_GT(model.returned.size(), 1000U);
}

// Tests of touches and erasers.

struct RawContact
{
    int id = 0;
    int x = 0;
    int y = 0;
    bool down = false;
    Controls record;
};

struct ListModel
{
    std::vector<std::vector<Controls>> emitted;
    std::vector<std::string> returned;

    void report(const std::vector<RawContact> &contacts, int round)
    {
        std::vector<RawContact> left = contacts;
        for (const RawContact &contact : contacts)
            merge(contact.record);
        if (std::equal(known.begin(), known.end(), last.begin(), last.end(), tell_the_same))
            return;
        last = known;
        keep([this](const Controls &c) { return !redirected[c.id]; });
        if (!known.empty())
            emitted.push_back(known);
        for (Controls &record : known)
            answer(record, round);
        keep([](const Controls &c) { return c.flags % 2 == 1; });
        for (const Controls &record : known)
            left.erase(std::remove_if(left.begin(), left.end(),
                                      [&record](const RawContact &c) { return c.record.id == record.id; }),
                       left.end());
        for (const RawContact &contact : left)
            redirected[contact.record.id] = contact.down;
        if (!left.empty())
            give_back(left);
    }

private:
    void merge(const Controls &record)
    {
        for (Controls &other : known) {
            if (other.id == record.id) {
                other = record;
                return;
            }
        }
        known.push_back(record);
    }

    template <typename Predicate> void keep(Predicate wanted)
    {
        std::vector<Controls> kept;
        std::copy_if(known.begin(), known.end(), std::back_inserter(kept), wanted);
        known = kept;
    }

    void give_back(const std::vector<RawContact> &contacts)
    {
        std::vector<int> bytes = {7 * static_cast<int>(contacts.size()) + 2, 0x45};
        for (const RawContact &c : contacts) {
            const std::array<int, 7> contact = {
                c.id + (c.down ? 128 : 0), c.x % 256, c.x / 256, c.y % 256, c.y / 256, 0, 0};
            bytes.insert(bytes.end(), contact.begin(), contact.end());
        }
        returned.push_back(hexadecimal(bytes));
    }

    std::vector<Controls> known;
    std::vector<Controls> last;
    std::map<int, bool> redirected;
};

void expect_same(const std::vector<std::vector<Controls>> &actual,
                 const std::vector<std::vector<Controls>> &expected)
{
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i)
        ASSERT_TRUE(same_records(actual[i], expected[i])) << "emission " << i;
}

TEST_P(RandomConversion, OfTouchesObeysTheModel)
{
    ListModel model;
    ZorvicHardware::TouchEvent report;
    for (int round = 0; round < rounds; ++round) {
        receiver.answer = [round](Controls &record) { answer(record, round); };
        if (!random.once_in(4)) {
            report.clear();
            for (int count = random.number(5); count > 0; --count)
                report.append(random.touch());
        }
        std::vector<RawContact> contacts;
        for (const auto &c : report)
            contacts.push_back(
                {c.id, c.x, c.y, c.down, record_of(256 + c.id, c.down, c.extent, c.extent, c.x, c.y)});

        korvane.in_touch_event(report);
        model.report(contacts, round);

        ASSERT_EQ(receiver.touches.size(), model.emitted.size()) << "round " << round;
    }
    expect_same(receiver.touches, model.emitted);
    EXPECT_TRUE(handed_back(driver) == model.returned);
    EXPECT_GT(model.emitted.size(), 1000U);
    EXPECT_GT(model.returned.size(), 1000U);
}

TEST_P(RandomConversion, OfErasersObeysTheModelAndNothingGoesBack)
{
    ListModel model;
    ZorvicHardware::EraseEvent report;
    for (int round = 0; round < rounds; ++round) {
        receiver.answer = [round](Controls &record) { answer(record, round); };
        if (!random.once_in(4)) {
            report.clear();
            for (int count = random.number(5); count > 0; --count)
                report.append(random.eraser());
        }
        std::vector<RawContact> contacts;
        for (const auto &c : report)
            contacts.push_back(
                {c.id, c.x, c.y, c.down, record_of(512 + c.id, c.down, c.width, c.height, c.x, c.y)});

        korvane.in_erase_event(report);
        model.report(contacts, round);

        ASSERT_EQ(receiver.erasers.size(), model.emitted.size()) << "round " << round;
    }
    expect_same(receiver.erasers, model.emitted);
    EXPECT_TRUE(handed_back(driver).empty());
    EXPECT_GT(model.emitted.size(), 1000U);
}

INSTANTIATE_TEST_SUITE_P(Seed, RandomConversion, testing::Values(1U, 20240613U, 4294967295U));

} // namespace
