#include "hardware/zorvicwrapper.h"
#include "support/driver_exports.h"
#include "support/recording_driver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using Names = std::vector<std::string>;

// Bytes above 127 and numbers below 0 reveal a wrong sign. Every address differs.
constexpr int board = -7;
constexpr unsigned char byte = 0xC8;
constexpr unsigned char other_byte = 0xFE;
constexpr unsigned int wide = 0xFEDCBA98;
unsigned char bytes[4];
unsigned char system_report[256];
unsigned int numbers[2];
int integers[3];
char context[1];
char command[] = ":VL1\r";
_ZORVIC_DEVICE_INFO record;

void on_packet(int, const unsigned char *, unsigned int, void *) { }
void on_pnp(void *) { }

template <typename Value> long long number_of(Value value)
{
    if constexpr (std::is_pointer_v<Value>)
        return reinterpret_cast<long long>(value);
    else
        return static_cast<long long>(value);
}

long long number_of(std::reference_wrapper<int> value)
{
    return number_of(&value.get());
}

enum class Answer { none, truth, number };

/// One operation with arguments for it.
struct Operation
{
    const char *name;
    std::function<long long(AbstractHardwareWrapper &)> run; ///< returns the result; 0 if there is none
    std::vector<long long> arguments;
    Answer answer;
    long long without_export; ///< the result if the driver lacks the export
    std::ptrdiff_t slot;      ///< index in the table of virtual functions
};

constexpr long long nothing = 0;

/// A member pointer to a virtual function holds one more than the function's offset in that table.
template <typename Member> std::ptrdiff_t slot_of(Member member)
{
    std::ptrdiff_t offset = 0;
    std::memcpy(&offset, &member, sizeof offset);
    return (offset - 1) / static_cast<std::ptrdiff_t>(sizeof(void *));
}

template <typename Result, typename... Parameters, typename... Arguments>
Operation operation(const char *name, Result (AbstractHardwareWrapper::*member)(Parameters...),
                    long long without_export, Arguments... arguments)
{
    const auto run = [=](AbstractHardwareWrapper &wrapper) -> long long {
        if constexpr (std::is_void_v<Result>) {
            (wrapper.*member)(arguments...);
            return nothing;
        } else {
            return (wrapper.*member)(arguments...);
        }
    };
    const Answer answer = std::is_void_v<Result> ? Answer::none
        : std::is_same_v<Result, bool>           ? Answer::truth
                                                 : Answer::number;
    return {name, run, {number_of(arguments)...}, answer, without_export, slot_of(member)};
}

#define OPERATION(name, ...) operation(#name, &AbstractHardwareWrapper::name, __VA_ARGS__)

/// All operations, in the order of the driver's manual.
std::vector<Operation> operations()
{
    return {
        OPERATION(Attach, 0),
        OPERATION(Detach, nothing),
        OPERATION(Interface, 0),
        OPERATION(SetCallback, nothing, board, &on_packet, context),
        OPERATION(ClearCallback, nothing, board, &on_packet, context),
        OPERATION(SetPnpCallback, nothing, &on_pnp, context),
        OPERATION(ClearPnpCallback, nothing, &on_pnp, context),
        OPERATION(SendCommand, -1, board, command),
        OPERATION(WritePacket, -1, board, command, 5),
        OPERATION(SetXferMask, nothing, board, byte),
        OPERATION(GetDeviceCount, 0),
        OPERATION(EnumDeviceInfo, 0, 0, &record),
        OPERATION(SetPointingDeviceDestination, nothing, board, byte, true, other_byte),
        OPERATION(SetPointingDeviceDestinationEx, nothing, board, byte, false, other_byte, true),
        OPERATION(GetPointingDeviceDestination, -1, board, byte, true),
        OPERATION(SetTouchDestination, nothing, board, byte),
        OPERATION(SetTouchDestinationEx, nothing, board, byte, true),
        OPERATION(GetTouchDestination, -1, board),
        OPERATION(SetTouchEnabled, nothing, board, true),
        OPERATION(GetTouchEnabled, 0, board),
        OPERATION(SetTouchSystemRedirectionEnabled, nothing, board, true),
        OPERATION(GetTouchSystemRedirectionEnabled, 0, board),
        OPERATION(SetLATEDetection, nothing, board, byte),
        OPERATION(GetLATEDetection, -1, board),
        OPERATION(IsSomethingOnBoard, 0, board),
        OPERATION(SetTwoFingerScroll, nothing, board, byte),
        OPERATION(OpenSynchronousChannel, -1, board, &on_packet, context),
        OPERATION(CloseSynchronousChannel, nothing, board, -5),
        OPERATION(ReadSynchronousPacket, -1, board, -5, context, 1, wide),
        OPERATION(SetCalibrationMode, 0, board, byte),
        OPERATION(SetCalibrationData, nothing, board, context),
        OPERATION(SetCalibrationDataEx, nothing, board, byte, other_byte, context),
        OPERATION(SetWirelessCalibrationData, nothing, board, context),
        OPERATION(GetCalibrationPoints, nothing, board, &integers[0], &integers[1]),
        OPERATION(GetHIDCoordinateReportMode, 0, board),
        OPERATION(SetHIDCoordinateReportMode, nothing, board, byte),
        OPERATION(LibraryVersionNumber, nothing, &bytes[0], &bytes[1], &numbers[0], &numbers[1]),
        OPERATION(Lock, nothing),
        OPERATION(Unlock, nothing),
        OPERATION(SerialConnect, 0, -3),
        OPERATION(SerialDisconnect, 0),
        OPERATION(SerialGetConnected, 0, std::ref(integers[2])),
        OPERATION(SerialSetStartupMode, nothing, -4),
        OPERATION(SerialGetStartupMode, 0),
        OPERATION(SetDoubleClickDistance, nothing, board, static_cast<unsigned short>(0xFFFE)),
        OPERATION(SetDriverDebugMode, nothing, board, byte, wide),
        OPERATION(Echo, nothing, board, byte, &bytes[2]),
        OPERATION(Inject, nothing, board, byte, &bytes[2]),
        OPERATION(SendTouchPacketToSystem, nothing, board, byte, &system_report[0]),
        OPERATION(ReverseButtons, nothing, board, true),
    };
}

/// The operations that call the export of their own name.
std::vector<Operation> forwarded_operations()
{
    std::vector<Operation> forwarded;
    for (const Operation &each : operations()) {
        const auto is_named = [&](const std::string &name) { return name == each.name; };
        if (std::any_of(driver_exports.begin(), driver_exports.end(), is_named))
            forwarded.push_back(each);
    }
    return forwarded;
}

/// The exports that must all be missing for an operation to answer as if it had none.
std::set<std::string> exports_of(const std::string &name)
{
    if (name == "ClearPnpCallback")
        return {"ClearCallback"};
    if (name == "SetTouchDestinationEx")
        return {"SetTouchDestinationEx", "SetTouchDestination"};
    if (name == "SetPointingDeviceDestinationEx")
        return {"SetPointingDeviceDestinationEx", "SetPointingDeviceDestination"};
    return {name};
}

std::vector<long long> values_of(const RecordingDriver::Call &call)
{
    std::vector<long long> values;
    for (const auto &argument : call.arguments)
        values.push_back(argument.value);
    return values;
}

std::string name_of(const testing::TestParamInfo<Operation> &info)
{
    return info.param.name;
}

class AForwardedOperation : public testing::TestWithParam<Operation>
{
};

TEST_P(AForwardedOperation, ForwardsItsArgumentsAndTheResultUnchanged)
{
    const Operation &wanted = GetParam();
    for (const long long answer : {-77LL, 1LL, 0LL}) {
        SCOPED_TRACE(answer);
        RecordingDriver driver;
        driver.devices = {{}};
        ZorvicWrapper wrapper;
        wrapper.Attach();
        driver.clear();
        driver.answers[wanted.name] = answer;
        driver.devices[0].answered = static_cast<int>(answer);

        const long long result = wanted.run(wrapper);

        ASSERT_EQ(driver.calls().size(), 1U);
        EXPECT_EQ(driver.calls()[0].name, wanted.name);
        EXPECT_EQ(values_of(driver.calls()[0]), wanted.arguments);
        EXPECT_EQ(result,
                  wanted.answer == Answer::none        ? nothing
                      : wanted.answer == Answer::truth ? answer != 0
                                                       : answer);
    }
}

INSTANTIATE_TEST_SUITE_P(Every, AForwardedOperation, testing::ValuesIn(forwarded_operations()), name_of);

struct Register
{
    const char *name;
    unsigned int value; ///< what the driver leaves in the 32 bits of an int
    bool truth;
};

class ATruthValueOfTheDriver : public testing::TestWithParam<Register>
{
};

TEST_P(ATruthValueOfTheDriver, IsReadFromItsLowByte)
{
    RecordingDriver driver;
    driver.devices = {{}};
    driver.devices[0].answered = static_cast<int>(GetParam().value);
    driver.answers["Attach"] = static_cast<int>(GetParam().value);
    ZorvicWrapper wrapper;

    EXPECT_EQ(number_of(wrapper.Attach()), GetParam().truth);
    EXPECT_EQ(number_of(wrapper.EnumDeviceInfo(0, &record)), GetParam().truth);
}

INSTANTIATE_TEST_SUITE_P(Is, ATruthValueOfTheDriver,
                         testing::Values(Register{"AFalseBoolUnderGarbage", 0xABCDEF00, false},
                                         Register{"ATrueBoolUnderGarbage", 0xABCDEF01, true},
                                         Register{"AnIntOf0", 0, false}, Register{"AnIntOf1", 1, true},
                                         Register{"AnIntOf2", 2, true},
                                         Register{"AnIntOfMinus1", 0xFFFFFFFF, true},
                                         Register{"AnIntOf256WhichMightBeAFalseBool", 0x100, false}),
                         [](const auto &row) { return std::string(row.param.name); });

class AnOperation : public testing::TestWithParam<Operation>
{
};

TEST_P(AnOperation, HasAFixedAnswerWhereTheDriverLacksTheExport)
{
    integers[2] = 123;
    RecordingDriver driver;
    driver.missing = exports_of(GetParam().name);
    ZorvicWrapper wrapper;
    wrapper.Attach();
    driver.clear();

    const long long result = GetParam().run(wrapper);

    EXPECT_EQ(result, GetParam().without_export);
    EXPECT_EQ(driver.lines(), Names{});
    EXPECT_EQ(integers[2], 123) << "what is passed by reference";
}

TEST_P(AnOperation, HasTheSameAnswerBeforeTheLibraryWasOpened)
{
    RecordingDriver driver;
    driver.opens = false;
    ZorvicWrapper wrapper;

    testing::internal::CaptureStderr();
    const long long result = GetParam().run(wrapper);
    const std::string message = testing::internal::GetCapturedStderr();

    EXPECT_EQ(result, GetParam().without_export);
    EXPECT_EQ(driver.lines(), Names{});
    const bool opens = GetParam().name == std::string("Attach");
    EXPECT_EQ(message, opens ? "the loader's own words" : "") << "no newline, and no message of others";
}

INSTANTIATE_TEST_SUITE_P(Every, AnOperation, testing::ValuesIn(operations()), name_of);

TEST(TheInterface, HasFiftyOperationsInTheManualsOrder)
{
    const auto all = operations();

    ASSERT_EQ(all.size(), 50U);
    constexpr std::ptrdiff_t destructors = 2;
    for (std::size_t i = 0; i < all.size(); ++i)
        EXPECT_EQ(all[i].slot, destructors + static_cast<std::ptrdiff_t>(i)) << all[i].name;
}

TEST(WithdrawingThePnpCallback, WithdrawsACallbackOfBoardZero)
{
    RecordingDriver driver;
    ZorvicWrapper wrapper;
    wrapper.Attach();
    driver.clear();

    wrapper.ClearPnpCallback(on_pnp, context);

    ASSERT_EQ(driver.lines(), Names{"ClearCallback(0)"});
    EXPECT_EQ(values_of(driver.calls()[0]),
              (std::vector<long long>{0, number_of(&on_pnp), number_of(&context[0])}));
}

TEST(TheReportModeOfHidCoordinates, NeverReachesADriverThatHasIt)
{
    RecordingDriver driver;
    driver.answers["GetHIDCoordinateReportMode"] = 5;
    ZorvicWrapper wrapper;
    wrapper.Attach();
    driver.clear();

    wrapper.SetHIDCoordinateReportMode(board, byte);

    EXPECT_EQ(wrapper.GetHIDCoordinateReportMode(board), 0);
    EXPECT_EQ(driver.lines(), Names{});
}

TEST(AnOlderDriver, GetsTheCallsWithoutTheirLastArgument)
{
    RecordingDriver driver;
    driver.missing = {"SetTouchDestinationEx", "SetPointingDeviceDestinationEx"};
    ZorvicWrapper wrapper;
    wrapper.Attach();
    driver.clear();

    wrapper.SetTouchDestinationEx(board, byte, true);
    wrapper.SetPointingDeviceDestinationEx(board, byte, true, other_byte, true);

    EXPECT_EQ(driver.lines(),
              (Names{"SetTouchDestination(-7, 200)", "SetPointingDeviceDestination(-7, 200, 1, 254)"}));
}

TEST(ANewerDriver, DoesNotNeedTheCallsOfAnOlderOne)
{
    RecordingDriver driver;
    driver.missing = {"SetTouchDestination", "SetPointingDeviceDestination"};
    ZorvicWrapper wrapper;
    wrapper.Attach();
    driver.clear();

    wrapper.SetTouchDestinationEx(board, byte, true);
    wrapper.SetPointingDeviceDestinationEx(board, byte, false, other_byte, true);

    EXPECT_EQ(
        driver.lines(),
        (Names{"SetTouchDestinationEx(-7, 200, 1)", "SetPointingDeviceDestinationEx(-7, 200, 0, 254, 1)"}));
}

} // namespace
