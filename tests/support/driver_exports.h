#pragma once

#include "hardware/abstracthardwarewrapper.h"

#include <array>

// The board driver's functions without the prefix "zorvic", with the driver's parameter types, in the order
// of resolving. Truth values are ints, so that a test can also fill the bytes of the register that a bool
// leaves alone. Deliberate: the tests' own list, so that a slip in the program's table does not go unnoticed.
// clang-format off
#define DRIVER_EXPORTS(EXPORT)                                                                           \
    EXPORT(Attach, int())                                                                                \
    EXPORT(Detach, void())                                                                               \
    EXPORT(Interface, int())                                                                             \
    EXPORT(SetCallback, void(int, PacketCallback, void *))                                               \
    EXPORT(ClearCallback, void(int, void *, void *))                                                     \
    EXPORT(SendCommand, int(int, const char *))                                                          \
    EXPORT(WritePacket, int(int, const void *, int))                                                     \
    EXPORT(SetXferMask, void(int, int))                                                                  \
    EXPORT(GetDeviceCount, int())                                                                        \
    EXPORT(EnumDeviceInfo, int(int, _ZORVIC_DEVICE_INFO *))                                              \
    EXPORT(SetPnpCallback, void(PnpCallback, void *))                                                    \
    EXPORT(SetPointingDeviceDestination, void(int, int, int, int))                                       \
    EXPORT(SetPointingDeviceDestinationEx, void(int, int, int, int, int))                                \
    EXPORT(GetPointingDeviceDestination, int(int, int, int))                                             \
    EXPORT(OpenSynchronousChannel, int(int, PacketCallback, void *))                                     \
    EXPORT(CloseSynchronousChannel, void(int, int))                                                      \
    EXPORT(ReadSynchronousPacket, int(int, int, void *, int, unsigned int))                              \
    EXPORT(SetCalibrationMode, int(int, int))                                                            \
    EXPORT(SetCalibrationData, void(int, void *))                                                        \
    EXPORT(SetCalibrationDataEx, void(int, int, int, void *))                                            \
    EXPORT(GetCalibrationPoints, void(int, int *, int *))                                                \
    EXPORT(SetWirelessCalibrationData, void(int, void *))                                                \
    EXPORT(LibraryVersionNumber, void(unsigned char *, unsigned char *, unsigned int *, unsigned int *)) \
    EXPORT(Lock, void())                                                                                 \
    EXPORT(Unlock, void())                                                                               \
    EXPORT(SerialConnect, int(int))                                                                      \
    EXPORT(SerialDisconnect, int())                                                                      \
    EXPORT(SerialGetConnected, int(int *))                                                               \
    EXPORT(SerialSetStartupMode, void(int))                                                              \
    EXPORT(SerialGetStartupMode, int())                                                                  \
    EXPORT(SetDoubleClickDistance, void(int, int))                                                       \
    EXPORT(SetDriverDebugMode, void(int, int, unsigned int))                                             \
    EXPORT(Echo, void(int, int, const unsigned char *))                                                  \
    EXPORT(Inject, void(int, int, const unsigned char *))                                                \
    EXPORT(SendTouchPacketToSystem, void(int, int, const unsigned char *))                               \
    EXPORT(SetTouchDestination, void(int, int))                                                          \
    EXPORT(SetTouchDestinationEx, void(int, int, int))                                                   \
    EXPORT(GetTouchDestination, int(int))                                                                \
    EXPORT(SetTouchEnabled, void(int, int))                                                              \
    EXPORT(GetTouchEnabled, int(int))                                                                    \
    EXPORT(SetTouchSystemRedirectionEnabled, void(int, int))                                             \
    EXPORT(GetTouchSystemRedirectionEnabled, int(int))                                                   \
    EXPORT(SetLATEDetection, void(int, int))                                                             \
    EXPORT(GetLATEDetection, int(int))                                                                   \
    EXPORT(IsSomethingOnBoard, int(int))                                                                 \
    EXPORT(SetTwoFingerScroll, void(int, int))                                                           \
    EXPORT(ReverseButtons, void(int, int))
// clang-format on

#define NAME_OF(name, ...) #name,
inline constexpr std::array driver_exports{DRIVER_EXPORTS(NAME_OF)};
#undef NAME_OF
