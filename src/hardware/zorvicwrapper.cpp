#include "hardware/zorvicwrapper.h"

#include "hardware/zorvicexports.h"

#include <cstdio>
#include <type_traits>

#include <dlfcn.h>

namespace {

constexpr const char *libraryName = "libzorvicboardex.so.1";

} // namespace

/// One pointer per export, null while the export is missing or nothing was attached yet. Atomic, because a
/// plug-and-play notification resolves them again on the driver's thread while the GUI thread calls through.
struct ZorvicWrapper::Exports
{
    template <typename Signature> using Pointer = std::atomic<std::add_pointer_t<Signature>>;

#define DECLARE(name, ...) Pointer<__VA_ARGS__> name = nullptr;
    ZORVIC_EXPORTS(DECLARE)
#undef DECLARE

    // Deliberate: these two are never resolved, so their operations always behave as without the export.
    Pointer<int(int board)> GetHIDCoordinateReportMode = nullptr;
    Pointer<void(int board, int mode)> SetHIDCoordinateReportMode = nullptr;

    void resolve(void *library)
    {
#define RESOLVE(name, ...) fill(name, dlsym(library, "zorvic" #name));
        ZORVIC_EXPORTS(RESOLVE)
#undef RESOLVE
    }

private:
    template <typename Function> static void fill(std::atomic<Function> &pointer, void *symbol)
    {
        pointer = reinterpret_cast<Function>(symbol);
    }
};

namespace {

/// Calls @p pointer with @p arguments, or returns @p missing if the driver lacks the function.
template <typename Result, typename Function, typename... Arguments>
Result callOr(Result missing, const std::atomic<Function> &pointer, Arguments... arguments)
{
    const Function function = pointer;
    return function ? function(arguments...) : missing;
}

/// The same for a function without a result; tells whether the driver has it.
template <typename Function, typename... Arguments>
bool call(const std::atomic<Function> &pointer, Arguments... arguments)
{
    const Function function = pointer;
    if (!function)
        return false;
    function(arguments...);
    return true;
}

} // namespace

ZorvicWrapper::ZorvicWrapper() : m_exports(std::make_unique<Exports>()) { }

ZorvicWrapper::~ZorvicWrapper()
{
    if (!m_library)
        return;
    call(m_exports->Detach);
    dlclose(m_library);
}

bool ZorvicWrapper::open()
{
    if (isOpen())
        return true;
    m_library = dlopen(libraryName, RTLD_NOW);
    if (isOpen())
        return true;
    const char *const message = dlerror();
    std::fputs(message ? message : "", stderr);
    return false;
}

void ZorvicWrapper::keepLoaded()
{
    dlopen(libraryName, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

bool ZorvicWrapper::isOpen() const
{
    return m_library != nullptr;
}

bool ZorvicWrapper::Attach()
{
    if (!open())
        return false;
    m_exports->resolve(m_library);
    return callOr(false, m_exports->Attach);
}

// clang-format off
void ZorvicWrapper::Detach() { call(m_exports->Detach); }
int ZorvicWrapper::Interface() { return callOr(0, m_exports->Interface); }

void ZorvicWrapper::SetCallback(int board, PacketCallback callback, void *context)
{
    call(m_exports->SetCallback, board, callback, context);
}
void ZorvicWrapper::ClearCallback(int board, PacketCallback callback, void *context)
{
    call(m_exports->ClearCallback, board, reinterpret_cast<void *>(callback), context);
}
void ZorvicWrapper::SetPnpCallback(PnpCallback callback, void *context)
{
    call(m_exports->SetPnpCallback, callback, context);
}
// Deliberate: the driver withdraws both kinds of callback with one function; board 0 stands for plug-and-play.
void ZorvicWrapper::ClearPnpCallback(PnpCallback callback, void *context)
{
    call(m_exports->ClearCallback, 0, reinterpret_cast<void *>(callback), context);
}

int ZorvicWrapper::SendCommand(int board, const char *command)
{
    return callOr(-1, m_exports->SendCommand, board, command);
}
int ZorvicWrapper::WritePacket(int board, const void *data, int length)
{
    return callOr(-1, m_exports->WritePacket, board, data, length);
}
void ZorvicWrapper::SetXferMask(int board, unsigned char mask) { call(m_exports->SetXferMask, board, mask); }
int ZorvicWrapper::GetDeviceCount() { return callOr(0, m_exports->GetDeviceCount); }
bool ZorvicWrapper::EnumDeviceInfo(int index, _ZORVIC_DEVICE_INFO *out)
{
    return callOr(false, m_exports->EnumDeviceInfo, index, out);
}

void ZorvicWrapper::SetPointingDeviceDestination(int board, unsigned char pen, bool flag, unsigned char mode)
{
    call(m_exports->SetPointingDeviceDestination, board, pen, flag, mode);
}

void ZorvicWrapper::SetPointingDeviceDestinationEx(int board, unsigned char pen, bool flag, unsigned char mode, bool extra)
{
    // Deliberate: an older driver knows the call without its last argument.
    if (!call(m_exports->SetPointingDeviceDestinationEx, board, pen, flag, mode, extra))
        SetPointingDeviceDestination(board, pen, flag, mode);
}

int ZorvicWrapper::GetPointingDeviceDestination(int board, unsigned char pen, bool flag)
{
    return callOr(-1, m_exports->GetPointingDeviceDestination, board, pen, flag);
}
void ZorvicWrapper::SetTouchDestination(int board, unsigned char destination)
{
    call(m_exports->SetTouchDestination, board, destination);
}

void ZorvicWrapper::SetTouchDestinationEx(int board, unsigned char destination, bool extra)
{
    // Deliberate: an older driver knows the call without its last argument.
    if (!call(m_exports->SetTouchDestinationEx, board, destination, extra))
        SetTouchDestination(board, destination);
}

int ZorvicWrapper::GetTouchDestination(int board)
{
    return callOr(-1, m_exports->GetTouchDestination, board);
}
void ZorvicWrapper::SetTouchEnabled(int board, bool enabled)
{
    call(m_exports->SetTouchEnabled, board, enabled);
}
int ZorvicWrapper::GetTouchEnabled(int board) { return callOr(0, m_exports->GetTouchEnabled, board); }
void ZorvicWrapper::SetTouchSystemRedirectionEnabled(int board, bool enabled)
{
    call(m_exports->SetTouchSystemRedirectionEnabled, board, enabled);
}
int ZorvicWrapper::GetTouchSystemRedirectionEnabled(int board)
{
    return callOr(0, m_exports->GetTouchSystemRedirectionEnabled, board);
}
void ZorvicWrapper::SetLATEDetection(int board, unsigned char mode)
{
    call(m_exports->SetLATEDetection, board, mode);
}
int ZorvicWrapper::GetLATEDetection(int board) { return callOr(-1, m_exports->GetLATEDetection, board); }
int ZorvicWrapper::IsSomethingOnBoard(int board) { return callOr(0, m_exports->IsSomethingOnBoard, board); }
void ZorvicWrapper::SetTwoFingerScroll(int board, unsigned char mode)
{
    call(m_exports->SetTwoFingerScroll, board, mode);
}

int ZorvicWrapper::OpenSynchronousChannel(int board, PacketCallback callback, void *context)
{
    return callOr(-1, m_exports->OpenSynchronousChannel, board, callback, context);
}
void ZorvicWrapper::CloseSynchronousChannel(int board, int channel)
{
    call(m_exports->CloseSynchronousChannel, board, channel);
}
int ZorvicWrapper::ReadSynchronousPacket(int board, int channel, void *buffer, int size, unsigned int timeout)
{
    return callOr(-1, m_exports->ReadSynchronousPacket, board, channel, buffer, size, timeout);
}

int ZorvicWrapper::SetCalibrationMode(int board, unsigned char mode)
{
    return callOr(0, m_exports->SetCalibrationMode, board, mode);
}
void ZorvicWrapper::SetCalibrationData(int board, void *data)
{
    call(m_exports->SetCalibrationData, board, data);
}
void ZorvicWrapper::SetCalibrationDataEx(int board, unsigned char first, unsigned char second, void *data)
{
    call(m_exports->SetCalibrationDataEx, board, first, second, data);
}
void ZorvicWrapper::SetWirelessCalibrationData(int board, void *data)
{
    call(m_exports->SetWirelessCalibrationData, board, data);
}
void ZorvicWrapper::GetCalibrationPoints(int board, int *first, int *second)
{
    call(m_exports->GetCalibrationPoints, board, first, second);
}

int ZorvicWrapper::GetHIDCoordinateReportMode(int board)
{
    return callOr(0, m_exports->GetHIDCoordinateReportMode, board);
}
void ZorvicWrapper::SetHIDCoordinateReportMode(int board, unsigned char mode)
{
    call(m_exports->SetHIDCoordinateReportMode, board, mode);
}

void ZorvicWrapper::LibraryVersionNumber(unsigned char *major, unsigned char *minor, unsigned int *revision, unsigned int *build)
{
    call(m_exports->LibraryVersionNumber, major, minor, revision, build);
}
void ZorvicWrapper::Lock() { call(m_exports->Lock); }
void ZorvicWrapper::Unlock() { call(m_exports->Unlock); }

int ZorvicWrapper::SerialConnect(int port) { return callOr(0, m_exports->SerialConnect, port); }
int ZorvicWrapper::SerialDisconnect() { return callOr(0, m_exports->SerialDisconnect); }
int ZorvicWrapper::SerialGetConnected(int &out) { return callOr(0, m_exports->SerialGetConnected, &out); }
void ZorvicWrapper::SerialSetStartupMode(int mode) { call(m_exports->SerialSetStartupMode, mode); }
int ZorvicWrapper::SerialGetStartupMode() { return callOr(0, m_exports->SerialGetStartupMode); }

void ZorvicWrapper::SetDoubleClickDistance(int board, unsigned short distance)
{
    call(m_exports->SetDoubleClickDistance, board, distance);
}
void ZorvicWrapper::SetDriverDebugMode(int board, unsigned char mode, unsigned int mask)
{
    call(m_exports->SetDriverDebugMode, board, mode, mask);
}
void ZorvicWrapper::Echo(int board, unsigned char length, const unsigned char *data)
{
    call(m_exports->Echo, board, length, data);
}
void ZorvicWrapper::Inject(int board, unsigned char length, const unsigned char *data)
{
    call(m_exports->Inject, board, length, data);
}
void ZorvicWrapper::SendTouchPacketToSystem(int board, unsigned char length, const unsigned char *data)
{
    call(m_exports->SendTouchPacketToSystem, board, length, data);
}
void ZorvicWrapper::ReverseButtons(int board, bool reversed)
{
    call(m_exports->ReverseButtons, board, reversed);
}
// clang-format on
