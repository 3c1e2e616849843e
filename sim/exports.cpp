#include "calllog.h"
#include "driver.h"
#include "hex.h"

#include "hardware/abstracthardwarewrapper.h"

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

struct Session
{
    CallLog log;
    const std::unique_ptr<Driver> driver = boardsim::makeDriver(log);
};

/// Lives from the program's first call until the library is closed.
class SessionHolder
{
public:
    SessionHolder() = default;
    SessionHolder(const SessionHolder &) = delete;
    SessionHolder &operator=(const SessionHolder &) = delete;
    ~SessionHolder()
    {
        // A callback that never returns keeps using the session; better to lose it than to hang here.
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

/// Runs @p call and writes the line of the log that tells of it.
template <typename Call> auto logged(const char *name, const CallLog::Record &arguments, Call call)
{
    CallLog &log = session().log;
    log.openOnce();
    if constexpr (std::is_void_v<decltype(call())>) {
        call();
        log.addCall(name, arguments, nullptr);
    } else {
        const auto result = call();
        log.addCall(name, arguments, result);
        return result;
    }
}

/// A setter that only stores.
void setLogged(const char *name, const CallLog::Record &arguments, int board, int BoardSettings::*setting,
               int value)
{
    logged(name, arguments, [=] {
        driver().withSettings(board, [=](BoardSettings &settings) { settings.*setting = value; });
    });
}

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

/// The driver knows one serial port; nothing is ever connected to it but what the program says.
struct SerialPort
{
    std::atomic<bool> connected = false;
    std::atomic<int> startupMode = 0;
} serialPort;

} // namespace

#define EXPORT extern "C" __attribute__((visibility("default")))

EXPORT bool zorvicAttach()
{
    return logged("zorvicAttach", CallLog::Record::object(), [] { return driver().attach(); });
}

EXPORT void zorvicDetach()
{
    logged("zorvicDetach", CallLog::Record::object(), [] { driver().detach(); });
}

EXPORT int zorvicInterface()
{
    return logged("zorvicInterface", CallLog::Record::object(), [] { return 1; });
}

EXPORT void zorvicSetCallback(int board, PacketCallback callback, void *context)
{
    logged("zorvicSetCallback",
           {{"board", board}, {"callback", pointerText(callback)}, {"context", pointerText(context)}},
           [=] { driver().setCallback(board, callback, context); });
}

EXPORT void zorvicClearCallback(int board, void *callback, void *context)
{
    logged("zorvicClearCallback",
           {{"board", board}, {"callback", pointerText(callback)}, {"context", pointerText(context)}},
           [=] { driver().clearCallback(board, callback, context); });
}

EXPORT int zorvicSendCommand(int board, const char *command)
{
    return logged("zorvicSendCommand", {{"board", board}, {"command", command ? command : ""}}, [=] {
        return driver().write(board, command, command ? static_cast<int>(std::strlen(command)) : 0);
    });
}

EXPORT int zorvicWritePacket(int board, const void *data, int length)
{
    return logged("zorvicWritePacket",
                  {{"board", board}, {"data", hexText(data, length)}, {"length", length}},
                  [=] { return driver().write(board, data, length); });
}

EXPORT void zorvicSetXferMask(int board, int mask)
{
    setLogged("zorvicSetXferMask", {{"board", board}, {"mask", mask}}, board, &BoardSettings::transferMask,
              mask);
}

EXPORT int zorvicGetDeviceCount()
{
    return logged("zorvicGetDeviceCount", CallLog::Record::object(), [] { return driver().deviceCount(); });
}

EXPORT bool zorvicEnumDeviceInfo(int index, _ZORVIC_DEVICE_INFO *out)
{
    if (driver().deniesDevices())
        return false;
    return logged("zorvicEnumDeviceInfo", {{"index", index}, {"out", pointerText(out)}},
                  [=] { return driver().deviceInfo(index, out); });
}

EXPORT void zorvicSetPnpCallback(PnpCallback callback, void *context)
{
    logged("zorvicSetPnpCallback", {{"callback", pointerText(callback)}, {"context", pointerText(context)}},
           [=] { driver().setPnpCallback(callback, context); });
}

EXPORT void zorvicSetPointingDeviceDestination(int board, int pen, int flag, int mode)
{
    logged("zorvicSetPointingDeviceDestination",
           {{"board", board}, {"pen", pen}, {"flag", flag}, {"mode", mode}},
           [=] { setPointingDeviceDestination(board, pen, flag, mode); });
}

EXPORT void zorvicSetPointingDeviceDestinationEx(int board, int pen, int flag, int mode, int extra)
{
    logged("zorvicSetPointingDeviceDestinationEx",
           {{"board", board}, {"pen", pen}, {"flag", flag}, {"mode", mode}, {"extra", extra}},
           [=] { setPointingDeviceDestination(board, pen, flag, mode); });
}

EXPORT int zorvicGetPointingDeviceDestination(int board, int pen, int flag)
{
    return logged("zorvicGetPointingDeviceDestination", {{"board", board}, {"pen", pen}, {"flag", flag}},
                  [=] {
                      return driver().withSettings(board, [=](const BoardSettings &settings) {
                          const auto found = settings.pointingDeviceDestinations.find({pen, flag});
                          return found == settings.pointingDeviceDestinations.end() ? 0 : found->second;
                      });
                  });
}

EXPORT int zorvicOpenSynchronousChannel(int board, PacketCallback callback, void *context)
{
    return logged("zorvicOpenSynchronousChannel",
                  {{"board", board}, {"callback", pointerText(callback)}, {"context", pointerText(context)}},
                  [=] { return driver().openChannel(board); });
}

EXPORT void zorvicCloseSynchronousChannel(int board, int channel)
{
    logged("zorvicCloseSynchronousChannel", {{"board", board}, {"channel", channel}},
           [=] { driver().closeChannel(board, channel); });
}

EXPORT int zorvicReadSynchronousPacket(int board, int channel, void *buffer, int size, unsigned int timeout)
{
    return logged("zorvicReadSynchronousPacket",
                  {{"board", board},
                   {"channel", channel},
                   {"buffer", pointerText(buffer)},
                   {"size", size},
                   {"timeout", timeout}},
                  [=] { return driver().readChannel(board, channel, buffer, size, timeout); });
}

EXPORT int zorvicSetCalibrationMode(int board, int mode)
{
    return logged("zorvicSetCalibrationMode", {{"board", board}, {"mode", mode}}, [=] {
        driver().withSettings(board, [=](BoardSettings &settings) { settings.calibrationMode = mode; });
        return driver().isPlugged(board) ? 1 : 0;
    });
}

// What calibration data holds is the real driver's secret: the simulated boards are always calibrated.
EXPORT void zorvicSetCalibrationData(int board, void *data)
{
    logged("zorvicSetCalibrationData", {{"board", board}, {"data", pointerText(data)}}, [] {});
}

EXPORT void zorvicSetCalibrationDataEx(int board, int first, int second, void *data)
{
    logged("zorvicSetCalibrationDataEx",
           {{"board", board}, {"first", first}, {"second", second}, {"data", pointerText(data)}}, [] {});
}

EXPORT void zorvicGetCalibrationPoints(int board, int *columns, int *rows)
{
    constexpr int points = 3;
    logged("zorvicGetCalibrationPoints",
           {{"board", board}, {"columns", pointerText(columns)}, {"rows", pointerText(rows)}}, [=] {
               if (columns)
                   *columns = points;
               if (rows)
                   *rows = points;
           });
}

EXPORT void zorvicSetWirelessCalibrationData(int board, void *data)
{
    logged("zorvicSetWirelessCalibrationData", {{"board", board}, {"data", pointerText(data)}}, [] {});
}

EXPORT void zorvicLibraryVersionNumber(unsigned char *major, unsigned char *minor, unsigned int *revision,
                                       unsigned int *build)
{
    logged("zorvicLibraryVersionNumber",
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
    logged("zorvicLock", CallLog::Record::object(), [] { driver().lock(); });
}

EXPORT void zorvicUnlock()
{
    logged("zorvicUnlock", CallLog::Record::object(), [] { driver().unlock(); });
}

EXPORT int zorvicSerialConnect(int port)
{
    return logged("zorvicSerialConnect", {{"port", port}}, [] {
        serialPort.connected = true;
        return 1;
    });
}

EXPORT int zorvicSerialDisconnect()
{
    return logged("zorvicSerialDisconnect", CallLog::Record::object(),
                  [] { return serialPort.connected.exchange(false) ? 1 : 0; });
}

EXPORT int zorvicSerialGetConnected(int *out)
{
    return logged("zorvicSerialGetConnected", {{"out", pointerText(out)}}, [=] {
        if (!out)
            return 0;
        *out = serialPort.connected ? 1 : 0;
        return 1;
    });
}

EXPORT void zorvicSerialSetStartupMode(int mode)
{
    logged("zorvicSerialSetStartupMode", {{"mode", mode}}, [=] { serialPort.startupMode = mode; });
}

EXPORT int zorvicSerialGetStartupMode()
{
    return logged("zorvicSerialGetStartupMode", CallLog::Record::object(),
                  [] { return serialPort.startupMode.load(); });
}

EXPORT void zorvicSetDoubleClickDistance(int board, int distance)
{
    setLogged("zorvicSetDoubleClickDistance", {{"board", board}, {"distance", distance}}, board,
              &BoardSettings::doubleClickDistance, distance);
}

EXPORT void zorvicSetDriverDebugMode(int board, int mode, unsigned int mask)
{
    setLogged("zorvicSetDriverDebugMode", {{"board", board}, {"mode", mode}, {"mask", mask}}, board,
              &BoardSettings::debugMode, mode);
}

EXPORT void zorvicEcho(int board, int length, const unsigned char *data)
{
    logged("zorvicEcho", {{"board", board}, {"length", length}, {"data", hexText(data, length)}},
           [=] { driver().sendBack(board, data, length); });
}

EXPORT void zorvicInject(int board, int length, const unsigned char *data)
{
    logged("zorvicInject", {{"board", board}, {"length", length}, {"data", hexText(data, length)}},
           [=] { driver().sendBack(board, data, length); });
}

EXPORT void zorvicSendTouchPacketToSystem(int board, int length, const unsigned char *data)
{
    logged("zorvicSendTouchPacketToSystem",
           {{"board", board}, {"length", length}, {"data", hexText(data, length)}},
           [] { driver().sendToSystem(); });
}

EXPORT void zorvicSetTouchDestination(int board, int destination)
{
    setLogged("zorvicSetTouchDestination", {{"board", board}, {"destination", destination}}, board,
              &BoardSettings::touchDestination, destination);
}

EXPORT void zorvicSetTouchDestinationEx(int board, int destination, int extra)
{
    setLogged("zorvicSetTouchDestinationEx",
              {{"board", board}, {"destination", destination}, {"extra", extra}}, board,
              &BoardSettings::touchDestination, destination);
}

EXPORT int zorvicGetTouchDestination(int board)
{
    return getLogged("zorvicGetTouchDestination", board, &BoardSettings::touchDestination);
}

EXPORT void zorvicSetTouchEnabled(int board, int enabled)
{
    setLogged("zorvicSetTouchEnabled", {{"board", board}, {"enabled", enabled}}, board,
              &BoardSettings::touchEnabled, enabled);
}

EXPORT int zorvicGetTouchEnabled(int board)
{
    return getLogged("zorvicGetTouchEnabled", board, &BoardSettings::touchEnabled);
}

EXPORT void zorvicSetTouchSystemRedirectionEnabled(int board, int enabled)
{
    setLogged("zorvicSetTouchSystemRedirectionEnabled", {{"board", board}, {"enabled", enabled}}, board,
              &BoardSettings::touchSystemRedirectionEnabled, enabled);
}

EXPORT int zorvicGetTouchSystemRedirectionEnabled(int board)
{
    return getLogged("zorvicGetTouchSystemRedirectionEnabled", board,
                     &BoardSettings::touchSystemRedirectionEnabled);
}

EXPORT void zorvicSetLATEDetection(int board, int mode)
{
    setLogged("zorvicSetLATEDetection", {{"board", board}, {"mode", mode}}, board,
              &BoardSettings::lateDetection, mode);
}

EXPORT int zorvicGetLATEDetection(int board)
{
    return getLogged("zorvicGetLATEDetection", board, &BoardSettings::lateDetection);
}

EXPORT int zorvicIsSomethingOnBoard(int board)
{
    return logged("zorvicIsSomethingOnBoard", {{"board", board}},
                  [=] { return driver().isSomethingOnBoard(board) ? 1 : 0; });
}

EXPORT void zorvicSetTwoFingerScroll(int board, int mode)
{
    setLogged("zorvicSetTwoFingerScroll", {{"board", board}, {"mode", mode}}, board,
              &BoardSettings::twoFingerScroll, mode);
}

EXPORT void zorvicReverseButtons(int board, int reversed)
{
    setLogged("zorvicReverseButtons", {{"board", board}, {"reversed", reversed}}, board,
              &BoardSettings::buttonsReversed, reversed);
}
