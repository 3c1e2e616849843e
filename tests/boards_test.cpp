#include "support/board_signals.h"
#include "support/boards.h"
#include "support/recording_driver.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

Device unanswered(Device device)
{
    device.answered = 0;
    return device;
}

long long address_of(const void *object)
{
    return reinterpret_cast<long long>(object);
}

const long long packet_callback = reinterpret_cast<long long>(&ZorvicHardware::processPacketCallback);
const long long pnp_callback = reinterpret_cast<long long>(&ZorvicHardware::pnpCallback);

/// Checks a call's last two arguments, its callback and context.
void expect_registration(const RecordingDriver::Call &call, long long callback, const ZorvicHardware &context)
{
    const auto &arguments = call.arguments;
    ASSERT_GE(arguments.size(), 2U);
    EXPECT_EQ(arguments[arguments.size() - 2].value, callback) << call.name;
    EXPECT_EQ(arguments.back().value, address_of(&context)) << call.name;
}

struct EnumerationRow
{
    const char *name;
    std::vector<Device> devices;
    Lines emitted;
};

class AnEnumeration : public testing::TestWithParam<EnumerationRow>
{
};

TEST_P(AnEnumeration, EmitsBoardsAndHubsInOrderAndThenTheDriversCount)
{
    RecordingDriver driver;
    driver.devices = GetParam().devices;
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);

    EXPECT_TRUE(hardware.init());

    EXPECT_EQ(emitted.texts, GetParam().emitted);
}

INSTANTIATE_TEST_SUITE_P(
    Enumerations, AnEnumeration,
    testing::Values(
        EnumerationRow{"OfNothing", {}, {"deviceEnumCount(0)"}},
        EnumerationRow{"OfABoardAHubAndAnUnknownKind",
                       {board_seven, legacy_hub, {9, 8, {}}},
                       {seven_at_0, "hubEnumerated(legacy)", "deviceEnumCount(3)"}},
        EnumerationRow{"OfEveryKind",
                       {{0, 1, {}}, {4, 2, {}}, {3, 3, {}}, {2, 4, {}}, board_seven, {5, 5, {}}, {-1, 6, {}}},
                       {"hubEnumerated(virtual)", "hubEnumerated(2.4GHz)", "hubEnumerated(legacy)",
                        seven_at_0, "deviceEnumCount(7)"}},
        EnumerationRow{"OfTwoBoards",
                       {board_seven, legacy_hub, board_three},
                       {seven_at_0, "hubEnumerated(legacy)", three_at_1, "deviceEnumCount(3)"}},
        EnumerationRow{"WithAnIndexThatTheDriverDoesNotAnswer",
                       {unanswered(board_seven), board_three, unanswered(legacy_hub)},
                       {three_at_0, "deviceEnumCount(3)"}}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(AnEnumerationOfADriverWithoutCount, FindsNothing)
{
    RecordingDriver driver;
    driver.devices = {board_seven};
    driver.missing = {"GetDeviceCount"};
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);

    EXPECT_TRUE(hardware.init());

    EXPECT_EQ(emitted.texts, Lines{"deviceEnumCount(0)"});
    EXPECT_EQ(driver.lines(), (Lines{"Attach()", "SetPnpCallback()", "Attach()"}));
}

TEST(AnEnumerationOfADriverWithoutDeviceInfo, CountsDevicesAlone)
{
    RecordingDriver driver;
    driver.devices = {board_seven, legacy_hub};
    driver.missing = {"EnumDeviceInfo"};
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);

    EXPECT_TRUE(hardware.init());

    EXPECT_EQ(emitted.texts, Lines{"deviceEnumCount(2)"});
}

TEST(AnEnumeration, HandsTheDriverAZeroedRecordOfItsFullSizeForEveryIndex)
{
    RecordingDriver driver;
    driver.devices = {board_seven, unanswered(legacy_hub), board_three};
    ZorvicHardware hardware(nullptr);

    hardware.init();

    QByteArray zeroed(4096, '\0');
    zeroed[0] = 9;
    ASSERT_EQ(driver.records.size(), 3U);
    for (const QByteArray &record : driver.records)
        EXPECT_EQ(record, zeroed);
}

TEST(AnEnumeration, ReadsAnAdditionalInfoThatFillsTheRecordWithoutANul)
{
    RecordingDriver driver;
    driver.devices = {{1, 7, QByteArray(3766, '.') + "xl<6>"}, board_three};
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);

    hardware.init();

    EXPECT_EQ(
        emitted.texts,
        (Lines{R"(boardEnumerated(0, board 7 of type "" 0 0 0 0 6))", three_at_1, "deviceEnumCount(2)"}));
}

TEST(AnEnumeration, EmitsABoardAfterItWasSetUp)
{
    RecordingDriver driver;
    driver.devices = {board_seven};
    ZorvicHardware hardware(nullptr);
    Lines before;
    QObject::connect(&hardware, &ZorvicHardware::boardEnumerated, &hardware,
                     [&] { before = driver.lines(); });

    hardware.init();

    EXPECT_EQ(before.back(), "SetXferMask(7, 255)");
}

TEST(AnEnumeration, AddsToTheBoardsThatAreKnown)
{
    RecordingDriver driver;
    driver.devices = {board_seven};
    ZorvicHardware hardware(nullptr);
    hardware.init();
    const BoardSignals emitted(hardware);
    driver.devices = {board_three};
    driver.clear();

    hardware.enumerate();
    hardware.setTouchReportMode(ZorvicHardware::TouchReportMode(1));

    EXPECT_EQ(emitted.texts, (Lines{three_at_1, "deviceEnumCount(1)"}));
    EXPECT_EQ(driver.lines(),
              (Lines{"Attach()", "GetDeviceCount()", "EnumDeviceInfo(0)", "SetCallback(3)",
                     "SetXferMask(3, 255)", "SetTouchDestination(7, 1)", "SetTouchDestination(3, 1)"}));
}

TEST(Starting, AttachesAsksForNotificationsAndSetsUpEveryBoard)
{
    RecordingDriver driver;
    driver.devices = {board_seven, legacy_hub, board_three};
    ZorvicHardware hardware(nullptr);

    EXPECT_TRUE(hardware.init());

    EXPECT_EQ(driver.lines(),
              (Lines{"Attach()", "SetPnpCallback()", "Attach()", "GetDeviceCount()", "EnumDeviceInfo(0)",
                     "SetCallback(7)", "SetXferMask(7, 255)", "EnumDeviceInfo(1)", "EnumDeviceInfo(2)",
                     "SetCallback(3)", "SetXferMask(3, 255)"}));
    expect_registration(driver.calls("SetPnpCallback")[0], pnp_callback, hardware);
    for (const auto &call : driver.calls("SetCallback"))
        expect_registration(call, packet_callback, hardware);
}

TEST(Starting, TakesNoNoticeOfADriverThatRefusesToAttach)
{
    for (const bool exported : {true, false}) {
        SCOPED_TRACE(exported);
        RecordingDriver driver;
        driver.devices = {board_seven};
        driver.answers["Attach"] = 0;
        if (!exported)
            driver.missing = {"Attach"};
        ZorvicHardware hardware(nullptr);
        const BoardSignals emitted(hardware);

        EXPECT_TRUE(hardware.init());

        EXPECT_EQ(emitted.texts, (Lines{seven_at_0, "deviceEnumCount(1)"}));
    }
}

TEST(Starting, TwiceKeepsTheLibraryAndAddsTheBoardsAgain)
{
    RecordingDriver driver;
    driver.devices = {board_three};
    ZorvicHardware hardware(nullptr);
    hardware.init();
    const BoardSignals emitted(hardware);
    driver.clear();

    EXPECT_TRUE(hardware.init());

    EXPECT_EQ(driver.loader_calls.size(), 1U);
    EXPECT_EQ(driver.lines(),
              (Lines{"SetPnpCallback()", "Attach()", "GetDeviceCount()", "EnumDeviceInfo(0)",
                     "SetCallback(3)", "SetXferMask(3, 255)"}));
    EXPECT_EQ(emitted.texts, (Lines{three_at_1, "deviceEnumCount(1)"}));
}

TEST(StartingWithoutTheLibrary, FailsWithTheLoadersWordsAndEnumeratesNothing)
{
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);

    testing::internal::CaptureStderr();
    EXPECT_FALSE(hardware.init());

    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "libzorvicboardex.so.1: cannot open shared object file: No such file or directory");
    EXPECT_EQ(emitted.texts, Lines{});
}

TEST(StartingWithoutTheLibrary, DoesNotLookForItAgainInAnotherInit)
{
    RecordingDriver driver;
    driver.opens = false;
    ZorvicHardware hardware(nullptr);
    testing::internal::CaptureStderr();

    EXPECT_FALSE(hardware.init());
    EXPECT_FALSE(hardware.init());

    EXPECT_EQ(testing::internal::GetCapturedStderr(), "the loader's own words");
    EXPECT_EQ(driver.loader_calls.size(), 1U);
}

TEST(AManagerThatFoundNoLibrary, FindsItInALaterEnumeration)
{
    RecordingDriver driver;
    driver.opens = false;
    driver.devices = {board_seven};
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);
    testing::internal::CaptureStderr();
    hardware.init();

    hardware.enumerate();
    driver.opens = true;
    hardware.enumerate();

    EXPECT_EQ(testing::internal::GetCapturedStderr(), "the loader's own wordsthe loader's own words");
    EXPECT_EQ(emitted.texts, (Lines{"deviceEnumCount(0)", seven_at_0, "deviceEnumCount(1)"}));
    EXPECT_TRUE(hardware.init()) << "the library is open now";
}

/// Everything that works without a board. The parameter is true with a library that cannot be opened, false
/// before init().
class AManagerWithoutADriver : public testing::TestWithParam<bool>
{
};

TEST_P(AManagerWithoutADriver, StaysUsable)
{
    RecordingDriver driver;
    driver.opens = false;
    driver.devices = {board_seven};
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);
    testing::internal::CaptureStderr();
    if (GetParam())
        hardware.init();

    hardware.enumerate();
    hardware.pnp();
    ZorvicHardware::pnpCallback(&hardware);
    hardware.redirectPenEvent({1, 2, 3, true, false, false});
    hardware.redirectTouchEvent({{1, 2, 3, 4, true}});
    hardware.uninit();
    hardware.processPacket(QByteArray::fromHex("0046"));
    testing::internal::GetCapturedStderr();

    EXPECT_EQ(driver.lines(), Lines{});
    EXPECT_EQ(emitted.texts,
              (Lines{"deviceEnumCount(0)", "pnpEvent()", "deviceEnumCount(0)", "pnpEvent()",
                     "deviceEnumCount(0)", "eraseEvent()"}));
}

INSTANTIATE_TEST_SUITE_P(Never, AManagerWithoutADriver, testing::Bool(), [](const auto &row) {
    return std::string(row.param ? "AfterAFailedInit" : "Initialised");
});

TEST(APlugAndPlayNotification, ForgetsAllBoardsIsEmittedAndEnumeratesAgain)
{
    RecordingDriver driver;
    driver.devices = {board_seven, legacy_hub, board_three};
    ZorvicHardware hardware(nullptr);
    hardware.init();
    const BoardSignals emitted(hardware);
    Lines before_the_signal;
    QObject::connect(&hardware, &ZorvicHardware::pnpEvent, &hardware, [&] {
        before_the_signal = driver.lines();
        hardware.setGlintray(true); // reaches no board, because the boards are forgotten by now
    });
    driver.devices = {board_three};
    driver.clear();

    hardware.pnp();

    EXPECT_EQ(before_the_signal, (Lines{"ClearCallback(7)", "ClearCallback(3)"}));
    EXPECT_EQ(driver.lines(),
              (Lines{"ClearCallback(7)", "ClearCallback(3)", "Attach()", "GetDeviceCount()",
                     "EnumDeviceInfo(0)", "SetCallback(3)", "SetXferMask(3, 255)"}));
    for (const auto &call : driver.calls("ClearCallback"))
        expect_registration(call, packet_callback, hardware);
    EXPECT_EQ(emitted.texts, (Lines{"pnpEvent()", three_at_0, "deviceEnumCount(1)"}));
}

TEST(APlugAndPlayNotification, ComesThroughTheRegisteredCallbackOnTheDriversThread)
{
    RecordingDriver driver;
    driver.devices = {board_seven};
    ZorvicHardware hardware(nullptr);
    hardware.init();
    const BoardSignals emitted(hardware);
    const auto registration = driver.calls("SetPnpCallback")[0].arguments;

    std::thread([&registration] {
        reinterpret_cast<PnpCallback>(registration[0].value)(reinterpret_cast<void *>(registration[1].value));
    }).join();

    EXPECT_EQ(emitted.texts, (Lines{"pnpEvent()", seven_at_0, "deviceEnumCount(1)"}));
}

TEST(Ending, WithdrawsTheNotificationsAndDetachesButLeavesTheBoards)
{
    RecordingDriver driver;
    driver.devices = {board_seven, board_three};
    ZorvicHardware hardware(nullptr);
    hardware.init();
    driver.clear();
    driver.loader_calls.clear();

    hardware.uninit();

    EXPECT_EQ(driver.lines(), (Lines{"ClearCallback(0)", "Detach()"}));
    expect_registration(driver.calls("ClearCallback")[0], pnp_callback, hardware);
    EXPECT_EQ(driver.loader_calls, Lines{}) << "the library stays open";
}

TEST(Ending, ByDestructionDetachesAgainAndClosesTheLibrary)
{
    RecordingDriver driver;
    driver.devices = {board_seven};
    auto hardware = std::make_unique<ZorvicHardware>(nullptr);
    hardware->init();
    hardware->uninit();
    driver.clear();
    driver.loader_calls.clear();

    hardware.reset();

    EXPECT_EQ(driver.lines(), Lines{"Detach()"});
    EXPECT_EQ(driver.loader_calls, Lines{"dlclose()"});
}

TEST(TheManager, BelongsToItsParent)
{
    QObject parent;

    EXPECT_EQ((new ZorvicHardware(&parent))->parent(), &parent);
}

} // namespace
