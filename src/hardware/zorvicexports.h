#pragma once

#include "hardware/abstracthardwarewrapper.h"

// Every function of the board driver that is resolved, in the order of resolving, with the driver's own
// parameter types: bytes and bools are widened to int. ZORVIC_EXPORTS(M) expands to M(name, signature) for
// each; the exported name has the prefix "zorvic". CMake reads the names from lines of this form, one name a
// line.
//
// Attach and EnumDeviceInfo answer with a truth value, of which the low byte is read. A driver's bool fills
// only that byte on x86-64 and may leave anything in the rest of the register, so reading a whole int would
// take some answers of false for true. As an unsigned char, every value of the byte is valid, so that an int
// such as 2 or -1 is true as well; as a bool it would be undefined behaviour. An int whose low byte is 0,
// such as 256, reads as false, because it cannot be told from a bool.
// clang-format off
#define ZORVIC_EXPORTS(EXPORT)                                                                           \
    EXPORT(Attach,                           unsigned char())                                            \
    EXPORT(Detach,                           void())                                                     \
    EXPORT(Interface,                        int())                                                      \
    EXPORT(SetCallback,                      void(int board, PacketCallback, void *context))             \
    EXPORT(ClearCallback,                    void(int board, void *callback, void *context))             \
    EXPORT(SendCommand,                      int(int board, const char *command))                        \
    EXPORT(WritePacket,                      int(int board, const void *data, int length))               \
    EXPORT(SetXferMask,                      void(int board, int mask))                                  \
    EXPORT(GetDeviceCount,                   int())                                                      \
    EXPORT(EnumDeviceInfo,                   unsigned char(int index, _ZORVIC_DEVICE_INFO *out))         \
    EXPORT(SetPnpCallback,                   void(PnpCallback, void *context))                           \
    EXPORT(SetPointingDeviceDestination,     void(int board, int pen, int flag, int mode))               \
    EXPORT(SetPointingDeviceDestinationEx,   void(int board, int pen, int flag, int mode, int extra))    \
    EXPORT(GetPointingDeviceDestination,     int(int board, int pen, int flag))                          \
    EXPORT(OpenSynchronousChannel,           int(int board, PacketCallback, void *context))              \
    EXPORT(CloseSynchronousChannel,          void(int board, int channel))                               \
    EXPORT(ReadSynchronousPacket,            int(int board, int channel, void *buffer, int size,         \
                                                 unsigned int timeout))                                  \
    EXPORT(SetCalibrationMode,               int(int board, int mode))                                   \
    EXPORT(SetCalibrationData,               void(int board, void *data))                                \
    EXPORT(SetCalibrationDataEx,             void(int board, int first, int second, void *data))         \
    EXPORT(GetCalibrationPoints,             void(int board, int *first, int *second))                   \
    EXPORT(SetWirelessCalibrationData,       void(int board, void *data))                                \
    EXPORT(LibraryVersionNumber,             void(unsigned char *major, unsigned char *minor,            \
                                                  unsigned int *revision, unsigned int *build))          \
    EXPORT(Lock,                             void())                                                     \
    EXPORT(Unlock,                           void())                                                     \
    EXPORT(SerialConnect,                    int(int port))                                              \
    EXPORT(SerialDisconnect,                 int())                                                      \
    EXPORT(SerialGetConnected,               int(int *out))                                              \
    EXPORT(SerialSetStartupMode,             void(int mode))                                             \
    EXPORT(SerialGetStartupMode,             int())                                                      \
    EXPORT(SetDoubleClickDistance,           void(int board, int distance))                              \
    EXPORT(SetDriverDebugMode,               void(int board, int mode, unsigned int mask))               \
    EXPORT(Echo,                             void(int board, int length, const unsigned char *data))     \
    EXPORT(Inject,                           void(int board, int length, const unsigned char *data))     \
    EXPORT(SendTouchPacketToSystem,          void(int board, int length, const unsigned char *data))     \
    EXPORT(SetTouchDestination,              void(int board, int destination))                           \
    EXPORT(SetTouchDestinationEx,            void(int board, int destination, int extra))                \
    EXPORT(GetTouchDestination,              int(int board))                                             \
    EXPORT(SetTouchEnabled,                  void(int board, int enabled))                               \
    EXPORT(GetTouchEnabled,                  int(int board))                                             \
    EXPORT(SetTouchSystemRedirectionEnabled, void(int board, int enabled))                               \
    EXPORT(GetTouchSystemRedirectionEnabled, int(int board))                                             \
    EXPORT(SetLATEDetection,                 void(int board, int mode))                                  \
    EXPORT(GetLATEDetection,                 int(int board))                                             \
    EXPORT(IsSomethingOnBoard,               int(int board))                                             \
    EXPORT(SetTwoFingerScroll,               void(int board, int mode))                                  \
    EXPORT(ReverseButtons,                   void(int board, int reversed))
// clang-format on
