#include "support/board_signals.h"
#include "support/event_counts.h"
#include "support/recording_driver.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace {

using Lines = std::vector<std::string>;
using Device = RecordingDriver::Device;

const Device board_seven{1, 7, "hid<true>vid<04d8>"};
const Device board_three{1, 3, "hid<serial>xp<4>"};
const Device legacy_hub{2, 50, {}};

constexpr const char *seven_at_0 = "boardEnumerated(0, board 7 of type \"HID\" 1240 0 0 0 0)";
constexpr const char *three_at_0 = "boardEnumerated(0, board 3 of type \"serial\" 0 0 4 0 0)";
constexpr const char *three_at_1 = "boardEnumerated(1, board 3 of type \"serial\" 0 0 4 0 0)";

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

TEST(TheDriversCallbacks, IgnoreWhatHasNoContextOrNoReport)
{
    ZorvicHardware hardware(nullptr);
    const BoardSignals emitted(hardware);
    const unsigned char erase[] = {0x00, 0x46};

    ZorvicHardware::pnpCallback(nullptr);
    ZorvicHardware::processPacketCallback(7, erase, 2, nullptr);
    ZorvicHardware::processPacketCallback(7, nullptr, 2, &hardware);
    ZorvicHardware::processPacketCallback(7, nullptr, 0, &hardware);
    ZorvicHardware::processPacketCallback(7, erase, 1, &hardware);
    ZorvicHardware::processPacketCallback(7, erase, 0, &hardware);
    ZorvicHardware::processPacketCallback(7, erase, 0x80000000U, &hardware);
    EXPECT_EQ(emitted.texts, Lines{});

    ZorvicHardware::processPacketCallback(-1, erase, 2, &hardware);
    EXPECT_EQ(emitted.texts, Lines{"eraseEvent()"}) << "whichever board it came from";
}

/// Memory whose last byte is the last one that may be read.
class EndOfAPage
{
public:
    EndOfAPage()
    {
        m_pages = mmap(nullptr, 2 * m_page_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (m_pages == MAP_FAILED || mprotect(end(), m_page_size, PROT_NONE) != 0)
            throw std::runtime_error("no memory that may not be read");
    }
    ~EndOfAPage() { munmap(m_pages, 2 * m_page_size); }
    EndOfAPage(const EndOfAPage &) = delete;
    EndOfAPage &operator=(const EndOfAPage &) = delete;

    /// A copy of @p bytes up to the end.
    const unsigned char *holding(const QByteArray &bytes)
    {
        unsigned char *const start = end() - bytes.size();
        std::copy(bytes.begin(), bytes.end(), start);
        return start;
    }

private:
    unsigned char *end() const { return static_cast<unsigned char *>(m_pages) + m_page_size; }

    const std::size_t m_page_size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void *m_pages = nullptr;
};

TEST(ReportsOfAnyKindAndLength, AreReadToTheirEndAndNoFurther)
{
    ZorvicHardware hardware(nullptr);
    const EventCounts emitted(hardware);
    EndOfAPage page;
    const QByteArray whole[] = {
        reports::pen({1, 2, 3, true, false, false}),
        reports::touch({{1, 2, 3, 4, true}, {5, 6, 7, 8, true}}),
        reports::erase({{1, 2, 3, 4, 5, true}}),
        reports::status({1, 2, 3, 4, 5, 6}),
    };

    for (const QByteArray &plain : whole) {
        for (const QByteArray &report : {plain, reports::prefixed(plain)}) {
            for (int length = 0; length <= report.size(); ++length)
                ZorvicHardware::processPacketCallback(7, page.holding(report.left(length)),
                                                      static_cast<unsigned int>(length), &hardware);
        }
    }

    EXPECT_EQ(emitted.pens, 2) << "those of full length, plain and prefixed";
    EXPECT_EQ(emitted.statuses, 2);
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
