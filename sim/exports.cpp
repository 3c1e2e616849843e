#include "calllog.h"
#include "driver.h"
#include "hex.h"

#include "hardware/zorvicexports.h"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>

namespace {

using boardsim::BoardSettings;
using boardsim::CallLog;
using boardsim::Driver;
using boardsim::hexText;

/// The driver of this library with its log.
struct Session
{
    CallLog log;
    const std::unique_ptr<Driver> driver = boardsim::makeDriver(log);
};

/// Owns the session from the program's first call until the library is closed.
class SessionHolder
{
public:
    SessionHolder() = default;
    SessionHolder(const SessionHolder &) = delete;
    SessionHolder &operator=(const SessionHolder &) = delete;
    ~SessionHolder()
    {
        // Deliberate: a callback that never returns still uses the session, so the session leaks. Waiting for
        // that callback would block dlclose for ever.
        if (m_session->driver->detachForUnloading())
            delete m_session;
    }

    Session &session() { return *m_session; }

private:
    Session *const m_session = new Session;
};

Session &session()
{
    static SessionHolder holder;
    return holder.session();
}

Driver &driver()
{
    return *session().driver;
}

std::string pointerText(const void *pointer)
{
    char text[2 + 2 * sizeof pointer + 1];
    std::snprintf(text, sizeof text, "0x%jx",
                  static_cast<std::uintmax_t>(reinterpret_cast<std::uintptr_t>(pointer)));
    return text;
}

std::string pointerText(PacketCallback callback)
{
    return pointerText(reinterpret_cast<void *>(callback));
}

std::string pointerText(PnpCallback callback)
{
    return pointerText(reinterpret_cast<void *>(callback));
}

/// Runs @p call and logs it. @p name is the __func__ of the exported function.
template <typename Call> auto logged(const char *name, const CallLog::Record &arguments, Call call)
{
    CallLog &log = session().log;
    log.openOnce();
    driver().delayCall();
    if constexpr (std::is_void_v<decltype(call())>) {
        call();
        log.addCall(name, arguments, nullptr);
    } else {
        const auto result = call();
        log.addCall(name, arguments, result);
        return result;
    }
}

/// Stores @p value as one of the settings of @p board and logs the call.
void setLogged(const char *name, const CallLog::Record &arguments, int board, int BoardSettings::*setting,
               int value)
{
    logged(name, arguments, [=] {
        driver().withSettings(board, [=](BoardSettings &settings) { settings.*setting = value; });
    });
}

/// Returns one of the settings of @p board and logs the call.
int getLogged(const char *name, int board, int BoardSettings::*setting)
{
    return logged(name, {{"board", board}}, [=] {
        return driver().withSettings(board, [=](BoardSettings &settings) { return settings.*setting; });
    });
}

void setPointingDeviceDestination(int board, int pen, int flag, int mode)
{
    driver().withSettings(board, [=](BoardSettings &settings) {
        settings.pointingDeviceDestinations[{pen, flag}] = mode;
    });
}

/// The driver's one serial port: connected as soon as the program asks for it. Shared by all threads.
struct SerialPort
{
    std::atomic<bool> connected = false;
    std::atomic<int> startupMode = 0;
} serialPort;

} // namespace

#define EXPORT extern "C" __attribute__((visibility("default")))

EXPORT unsigned char zorvicAttach()
{
    return logged(__func__, CallLog::Record::object(), [] { return driver().attach(); });
}

EXPORT void zorvicDetach()
{
    logged(__func__, CallLog::Record::object(), [] { driver().detach(); });
}

EXPORT int zorvicInterface()
{
    return logged(__func__, CallLog::Record::object(), [] { return 1; });
}

EXPORT void zorvicSetCallback(int board, PacketCallback callback, void *context)
{
    logged(__func__,
           {{"board", board}, {"callback", pointerText(callback)}, {"context", pointerText(context)}},
           [=] { driver().setCallback(board, callback, context); });
}

EXPORT void zorvicClearCallback(int board, void *callback, void *context)
{
    logged(__func__,
           {{"board", board}, {"callback", pointerText(callback)}, {"context", pointerText(context)}},
           [=] { driver().clearCallback(board, callback, context); });
}

EXPORT int zorvicSendCommand(int board, const char *command)
{
    return logged(__func__, {{"board", board}, {"command", command ? command : ""}}, [=] {
        return driver().write(board, command, command ? static_cast<int>(std::strlen(command)) : 0);
    });
}

EXPORT int zorvicWritePacket(int board, const void *data, int length)
{
    return logged(__func__, {{"board", board}, {"data", hexText(data, length)}, {"length", length}},
                  [=] { return driver().write(board, data, length); });
}

EXPORT void zorvicSetXferMask(int board, int mask)
{
    setLogged(__func__, {{"board", board}, {"mask", mask}}, board, &BoardSettings::transferMask, mask);
}

EXPORT int zorvicGetDeviceCount()
{
    return logged(__func__, CallLog::Record::object(), [] { return driver().deviceCount(); });
}

EXPORT unsigned char zorvicEnumDeviceInfo(int index, _ZORVIC_DEVICE_INFO *out)
{
    if (driver().deniesDevices())
        return false;
    return logged(__func__, {{"index", index}, {"out", pointerText(out)}},
                  [=] { return driver().deviceInfo(index, out); });
}

EXPORT void zorvicSetPnpCallback(PnpCallback callback, void *context)
{
    logged(__func__, {{"callback", pointerText(callback)}, {"context", pointerText(context)}},
           [=] { driver().setPnpCallback(callback, context); });
}

EXPORT void zorvicSetPointingDeviceDestination(int board, int pen, int flag, int mode)
{
    logged(__func__, {{"board", board}, {"pen", pen}, {"flag", flag}, {"mode", mode}},
           [=] { setPointingDeviceDestination(board, pen, flag, mode); });
}

EXPORT void zorvicSetPointingDeviceDestinationEx(int board, int pen, int flag, int mode, int extra)
{
    logged(__func__, {{"board", board}, {"pen", pen}, {"flag", flag}, {"mode", mode}, {"extra", extra}},
           [=] { setPointingDeviceDestination(board, pen, flag, mode); });
}

EXPORT int zorvicGetPointingDeviceDestination(int board, int pen, int flag)
{
    return logged(__func__, {{"board", board}, {"pen", pen}, {"flag", flag}}, [=] {
        return driver().withSettings(board, [=](const BoardSettings &settings) {
            const auto found = settings.pointingDeviceDestinations.find({pen, flag});
            return found == settings.pointingDeviceDestinations.end() ? 0 : found->second;
        });
    });
}

EXPORT int zorvicOpenSynchronousChannel(int board, PacketCallback callback, void *context)
{
    return logged(__func__,
                  {{"board", board}, {"callback", pointerText(callback)}, {"context", pointerText(context)}},
                  [=] { return driver().openChannel(board); });
}

EXPORT void zorvicCloseSynchronousChannel(int board, int channel)
{
    logged(__func__, {{"board", board}, {"channel", channel}},
           [=] { driver().closeChannel(board, channel); });
}

EXPORT int zorvicReadSynchronousPacket(int board, int channel, void *buffer, int size, unsigned int timeout)
{
    return logged(__func__,
                  {{"board", board},
                   {"channel", channel},
                   {"buffer", pointerText(buffer)},
                   {"size", size},
                   {"timeout", timeout}},
                  [=] { return driver().readChannel(board, channel, buffer, size, timeout); });
}

EXPORT int zorvicSetCalibrationMode(int board, int mode)
{
    return logged(__func__, {{"board", board}, {"mode", mode}}, [=] {
        driver().withSettings(board, [=](BoardSettings &settings) { settings.calibrationMode = mode; });
        return driver().isPlugged(board) ? 1 : 0;
    });
}

// Deliberate: the data is ignored, because its format is not known; simulated boards are always calibrated.
EXPORT void zorvicSetCalibrationData(int board, void *data)
{
    logged(__func__, {{"board", board}, {"data", pointerText(data)}}, [] {});
}

EXPORT void zorvicSetCalibrationDataEx(int board, int first, int second, void *data)
{
    logged(__func__, {{"board", board}, {"first", first}, {"second", second}, {"data", pointerText(data)}},
           [] {});
}

EXPORT void zorvicGetCalibrationPoints(int board, int *columns, int *rows)
{
    constexpr int points = 3;
    logged(__func__, {{"board", board}, {"columns", pointerText(columns)}, {"rows", pointerText(rows)}}, [=] {
        if (columns)
            *columns = points;
        if (rows)
            *rows = points;
    });
}

EXPORT void zorvicSetWirelessCalibrationData(int board, void *data)
{
    logged(__func__, {{"board", board}, {"data", pointerText(data)}}, [] {});
}

EXPORT void zorvicLibraryVersionNumber(unsigned char *major, unsigned char *minor, unsigned int *revision,
                                       unsigned int *build)
{
    logged(__func__,
           {{"major", pointerText(major)},
            {"minor", pointerText(minor)},
            {"revision", pointerText(revision)},
            {"build", pointerText(build)}},
           [=] {
               if (major)
                   *major = 1;
               if (minor)
                   *minor = 0;
               if (revision)
                   *revision = 0;
               if (build)
                   *build = 1;
           });
}

EXPORT void zorvicLock()
{
    logged(__func__, CallLog::Record::object(), [] { driver().lock(); });
}

EXPORT void zorvicUnlock()
{
    logged(__func__, CallLog::Record::object(), [] { driver().unlock(); });
}

EXPORT int zorvicSerialConnect(int port)
{
    return logged(__func__, {{"port", port}}, [] {
        serialPort.connected = true;
        return 1;
    });
}

EXPORT int zorvicSerialDisconnect()
{
    return logged(__func__, CallLog::Record::object(),
                  [] { return serialPort.connected.exchange(false) ? 1 : 0; });
}

EXPORT int zorvicSerialGetConnected(int *out)
{
    return logged(__func__, {{"out", pointerText(out)}}, [=] {
        if (!out)
            return 0;
        *out = serialPort.connected ? 1 : 0;
        return 1;
    });
}

EXPORT void zorvicSerialSetStartupMode(int mode)
{
    logged(__func__, {{"mode", mode}}, [=] { serialPort.startupMode = mode; });
}

EXPORT int zorvicSerialGetStartupMode()
{
    return logged(__func__, CallLog::Record::object(), [] { return serialPort.startupMode.load(); });
}

EXPORT void zorvicSetDoubleClickDistance(int board, int distance)
{
    setLogged(__func__, {{"board", board}, {"distance", distance}}, board,
              &BoardSettings::doubleClickDistance, distance);
}

EXPORT void zorvicSetDriverDebugMode(int board, int mode, unsigned int mask)
{
    setLogged(__func__, {{"board", board}, {"mode", mode}, {"mask", mask}}, board, &BoardSettings::debugMode,
              mode);
}

EXPORT void zorvicEcho(int board, int length, const unsigned char *data)
{
    logged(__func__, {{"board", board}, {"length", length}, {"data", hexText(data, length)}},
           [=] { driver().sendBack(board, data, length); });
}

EXPORT void zorvicInject(int board, int length, const unsigned char *data)
{
    logged(__func__, {{"board", board}, {"length", length}, {"data", hexText(data, length)}},
           [=] { driver().sendBack(board, data, length); });
}

EXPORT void zorvicSendTouchPacketToSystem(int board, int length, const unsigned char *data)
{
    if (driver().sendsUnlogged()) {
        driver().sendToSystem();
        return;
    }
    logged(__func__, {{"board", board}, {"length", length}, {"data", hexText(data, length)}},
           [] { driver().sendToSystem(); });
}

EXPORT void zorvicSetTouchDestination(int board, int destination)
{
    setLogged(__func__, {{"board", board}, {"destination", destination}}, board,
              &BoardSettings::touchDestination, destination);
}

EXPORT void zorvicSetTouchDestinationEx(int board, int destination, int extra)
{
    setLogged(__func__, {{"board", board}, {"destination", destination}, {"extra", extra}}, board,
              &BoardSettings::touchDestination, destination);
}

EXPORT int zorvicGetTouchDestination(int board)
{
    return getLogged(__func__, board, &BoardSettings::touchDestination);
}

EXPORT void zorvicSetTouchEnabled(int board, int enabled)
{
    setLogged(__func__, {{"board", board}, {"enabled", enabled}}, board, &BoardSettings::touchEnabled,
              enabled);
}

EXPORT int zorvicGetTouchEnabled(int board)
{
    return getLogged(__func__, board, &BoardSettings::touchEnabled);
}

EXPORT void zorvicSetTouchSystemRedirectionEnabled(int board, int enabled)
{
    setLogged(__func__, {{"board", board}, {"enabled", enabled}}, board,
              &BoardSettings::touchSystemRedirectionEnabled, enabled);
}

EXPORT int zorvicGetTouchSystemRedirectionEnabled(int board)
{
    return getLogged(__func__, board, &BoardSettings::touchSystemRedirectionEnabled);
}

EXPORT void zorvicSetLATEDetection(int board, int mode)
{
    setLogged(__func__, {{"board", board}, {"mode", mode}}, board, &BoardSettings::lateDetection, mode);
}

EXPORT int zorvicGetLATEDetection(int board)
{
    return getLogged(__func__, board, &BoardSettings::lateDetection);
}

EXPORT int zorvicIsSomethingOnBoard(int board)
{
    return logged(__func__, {{"board", board}}, [=] { return driver().isSomethingOnBoard(board) ? 1 : 0; });
}

EXPORT void zorvicSetTwoFingerScroll(int board, int mode)
{
    setLogged(__func__, {{"board", board}, {"mode", mode}}, board, &BoardSettings::twoFingerScroll, mode);
}

EXPORT void zorvicReverseButtons(int board, int reversed)
{
    setLogged(__func__, {{"board", board}, {"reversed", reversed}}, board, &BoardSettings::buttonsReversed,
              reversed);
}

// The definitions above and the table of the program must agree.
#define HAS_ITS_SIGNATURE(name, ...)                                                                         \
    static_assert(std::is_same_v<decltype(zorvic##name), __VA_ARGS__>, "zorvic" #name " has another type");
ZORVIC_EXPORTS(HAS_ITS_SIGNATURE)
#undef HAS_ITS_SIGNATURE
