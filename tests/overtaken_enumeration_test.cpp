#include "support/board_signals.h"
#include "support/boards.h"
#include "support/recording_driver.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <utility>
#include <vector>

namespace {

/// A driver whose calls that set and clear the callback of a board take effect when they return, as those of
/// a driver with a lock may. Changes can come while such a call runs.
class DriverWithSlowRegistration
{
public:
    DriverWithSlowRegistration()
    {
        driver.hooks["SetCallback"] = [this] {
            const long long board = board_of_the_last_call();
            run(during_set);
            registered.insert(board);
        };
        driver.hooks["ClearCallback"] = [this] {
            const long long board = board_of_the_last_call();
            run(during_clear);
            registered.erase(board);
        };
        driver.hooks["SetXferMask"] = [this] { run(after_set); };
    }

    RecordingDriver driver;
    std::set<long long> registered;   ///< numbers of the boards that have a callback
    std::function<void()> during_set; ///< runs in the next call, as do the two below
    std::function<void()> during_clear;
    std::function<void()> after_set;

private:
    long long board_of_the_last_call() const { return driver.calls().back().arguments[0].value; }
    static void run(std::function<void()> &once)
    {
        if (const auto change = std::exchange(once, nullptr))
            change();
    }
};

class AnOvertakenEnumeration : public testing::Test, protected DriverWithSlowRegistration
{
protected:
    /// A plug-and-play change that leaves @p devices plugged in.
    void change_to(const std::vector<Device> &devices)
    {
        driver.devices = devices;
        hardware.pnp();
    }
    Lines listed_boards()
    {
        driver.clear();
        hardware.setTouchReportMode(ZorvicHardware::TouchReportMode(1));
        return driver.lines();
    }

    ZorvicHardware hardware{nullptr};
};

TEST_F(AnOvertakenEnumeration, LeavesNoCallbackOfABoardThatIsGone)
{
    driver.devices = {board_seven};
    during_set = [this] { change_to({board_three}); };

    hardware.init();

    EXPECT_EQ(registered, std::set<long long>{3});
    EXPECT_EQ(listed_boards(), Lines{"SetTouchDestination(3, 1)"});
}

TEST_F(AnOvertakenEnumeration, LeavesTheCallbackThatTheNewerOneHasRegistered)
{
    driver.devices = {board_seven};
    during_set = [this] { change_to({board_three, board_seven}); };

    hardware.init();

    EXPECT_EQ(registered, (std::set<long long>{3, 7}));
    EXPECT_EQ(listed_boards(), (Lines{"SetTouchDestination(3, 1)", "SetTouchDestination(7, 1)"}));
}

TEST_F(AnOvertakenEnumeration, LeavesTheCallbackOfABoardThatReturnsWhileItIsWithdrawn)
{
    driver.devices = {board_seven};
    during_set = [this] {
        during_clear = [this] { change_to({board_seven}); };
        change_to({});
    };

    hardware.init();

    EXPECT_EQ(registered, std::set<long long>{7});
    EXPECT_EQ(listed_boards(), Lines{"SetTouchDestination(7, 1)"});
}

TEST_F(AnOvertakenEnumeration, RegistersNothingFurther)
{
    driver.devices = {board_seven, board_three};
    after_set = [this] { change_to({}); };

    hardware.init();

    EXPECT_EQ(driver.calls("SetCallback").size(), 1U);
    EXPECT_EQ(registered, std::set<long long>{});
    EXPECT_EQ(listed_boards(), Lines{});
}

TEST_F(AnOvertakenEnumeration, EmitsNoCountAfterThatOfTheNewerOne)
{
    driver.devices = {board_seven, legacy_hub};
    after_set = [this] { change_to({board_three}); };
    const BoardSignals emitted(hardware);

    hardware.init();

    EXPECT_EQ(emitted.texts, (Lines{"pnpEvent()", three_at_0, "deviceEnumCount(1)"}));
}

TEST_F(AnOvertakenEnumeration, EmitsTheNewestCountOnceMoreIfItsOwnCameBetween)
{
    driver.devices = {board_seven, legacy_hub};
    bool has_changed = false;
    QObject::connect(&hardware, &ZorvicHardware::deviceEnumCount, &hardware, [&] {
        if (!std::exchange(has_changed, true))
            change_to({board_three});
    });
    const BoardSignals emitted(hardware); // receives each count after the change that it brings about

    hardware.init();

    EXPECT_EQ(emitted.texts,
              (Lines{seven_at_0, "hubEnumerated(legacy)", "pnpEvent()", three_at_0, "deviceEnumCount(1)",
                     "deviceEnumCount(2)", "deviceEnumCount(1)"}));
}

TEST(AnEnumerationWhileABoardIsWithdrawn, IsThatOfTheNewList)
{
    RecordingDriver driver;
    driver.devices = {board_seven};
    ZorvicHardware hardware(nullptr);
    hardware.init();
    bool is_first = true;
    driver.hooks["ClearCallback"] = [&] {
        if (!std::exchange(is_first, false))
            return;
        driver.devices = {board_three};
        hardware.enumerate();
        driver.devices = {};
    };

    hardware.pnp();

    driver.clear();
    hardware.pnp();
    EXPECT_EQ(driver.lines(), (Lines{"ClearCallback(3)", "Attach()", "GetDeviceCount()"}));
}

} // namespace
