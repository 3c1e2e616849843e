#pragma once

#include <cstddef>
#include <cstdint>

/// What the driver tells about one device (x86-64 layout of the driver's record, little-endian).
/// The driver may fill it to its last byte; the caller zeroes it and sets size before each call.
// The driver's own name, kept although it is one that C++ reserves.
struct _ZORVIC_DEVICE_INFO // NOLINT(bugprone-reserved-identifier)
{
    static constexpr std::int32_t sizeMarker = 9;   ///< the value of size that the driver expects
    static constexpr std::size_t recordSize = 4096; ///< ample: drivers differ in how much they fill
    static constexpr std::size_t infoAt = 325;      ///< where additionalInfo starts
    static constexpr std::size_t longestInfo = recordSize - infoAt - 1; ///< bytes, without the NUL

    std::int32_t size; ///< record size or version marker: sizeMarker before every call
    std::int32_t kind; ///< 1 board, 2 legacy hub, 3 2.4 GHz hub, 4 virtual hub
    std::uint8_t driverBytes1[12];
    std::int32_t board; ///< board number, the first argument of every per-board call
    std::uint8_t driverBytes2[infoAt - 24];
    char additionalInfo[longestInfo + 1]; ///< key<value> items; the driver should end them with a NUL
};

static_assert(offsetof(_ZORVIC_DEVICE_INFO, size) == 0);
static_assert(offsetof(_ZORVIC_DEVICE_INFO, kind) == 4);
static_assert(offsetof(_ZORVIC_DEVICE_INFO, board) == 20);
static_assert(offsetof(_ZORVIC_DEVICE_INFO, additionalInfo) == _ZORVIC_DEVICE_INFO::infoAt);
static_assert(sizeof(_ZORVIC_DEVICE_INFO) == _ZORVIC_DEVICE_INFO::recordSize);

/// Called by the driver, on its own thread, for each report of a board. The bytes belong to the driver
/// and are valid during the call only.
using PacketCallback = void (*)(int board, const unsigned char *data, unsigned int length, void *context);

/// Called by the driver, on its own thread, when a board or hub has come or gone.
using PnpCallback = void (*)(void *context);

/// The functions of the board driver. Arguments are handed to it as they are, what they mean is its business;
/// a callback's context must live until the callback is withdrawn. No operation fails loudly: if the
/// driver lacks a function, the call returns the value named here, or does nothing.
/// Of a truth value that the driver returns the low byte counts, be it a bool or an int.
class AbstractHardwareWrapper
{
public:
    AbstractHardwareWrapper() = default;
    AbstractHardwareWrapper(const AbstractHardwareWrapper &) = delete;
    AbstractHardwareWrapper &operator=(const AbstractHardwareWrapper &) = delete;
    virtual ~AbstractHardwareWrapper() = default;

    /// Opens the driver and attaches to it; false when it cannot be opened or attached, or lacks the
    /// function.
    virtual bool Attach() = 0;
    /// Ends the driver's work. That no callback runs afterwards is up to the driver; one without this
    /// function goes on.
    virtual void Detach() = 0;
    virtual int Interface() = 0; ///< missing: 0

    virtual void SetCallback(int board, PacketCallback callback, void *context) = 0;
    virtual void ClearCallback(int board, PacketCallback callback, void *context) = 0;
    virtual void SetPnpCallback(PnpCallback callback, void *context) = 0;
    virtual void ClearPnpCallback(PnpCallback callback, void *context) = 0;

    virtual int SendCommand(int board, const char *command) = 0;          ///< missing: -1
    virtual int WritePacket(int board, const void *data, int length) = 0; ///< missing: -1
    virtual void SetXferMask(int board, unsigned char mask) = 0;
    virtual int GetDeviceCount() = 0;                                     ///< missing: 0
    virtual bool EnumDeviceInfo(int index, _ZORVIC_DEVICE_INFO *out) = 0; ///< missing: false

    virtual void SetPointingDeviceDestination(int board, unsigned char pen, bool flag,
                                              unsigned char mode) = 0;
    /// Without this function in the driver: SetPointingDeviceDestination with the first four arguments.
    virtual void SetPointingDeviceDestinationEx(int board, unsigned char pen, bool flag, unsigned char mode,
                                                bool extra) = 0;
    virtual int GetPointingDeviceDestination(int board, unsigned char pen, bool flag) = 0; ///< missing: -1
    virtual void SetTouchDestination(int board, unsigned char destination) = 0;
    /// Without this function in the driver: SetTouchDestination with the first two arguments.
    virtual void SetTouchDestinationEx(int board, unsigned char destination, bool extra) = 0;
    virtual int GetTouchDestination(int board) = 0; ///< missing: -1
    virtual void SetTouchEnabled(int board, bool enabled) = 0;
    virtual int GetTouchEnabled(int board) = 0; ///< missing: 0
    virtual void SetTouchSystemRedirectionEnabled(int board, bool enabled) = 0;
    virtual int GetTouchSystemRedirectionEnabled(int board) = 0; ///< missing: 0
    /// Eraser detection; @p mode is an ASCII digit.
    virtual void SetLATEDetection(int board, unsigned char mode) = 0;
    virtual int GetLATEDetection(int board) = 0;   ///< missing: -1
    virtual int IsSomethingOnBoard(int board) = 0; ///< missing: 0
    virtual void SetTwoFingerScroll(int board, unsigned char mode) = 0;

    virtual int OpenSynchronousChannel(int board, PacketCallback callback,
                                       void *context) = 0; ///< missing: -1
    virtual void CloseSynchronousChannel(int board, int channel) = 0;
    virtual int ReadSynchronousPacket(int board, int channel, void *buffer, int size,
                                      unsigned int timeout) = 0; ///< missing: -1

    virtual int SetCalibrationMode(int board, unsigned char mode) = 0; ///< missing: 0
    virtual void SetCalibrationData(int board, void *data) = 0;
    virtual void SetCalibrationDataEx(int board, unsigned char first, unsigned char second, void *data) = 0;
    virtual void SetWirelessCalibrationData(int board, void *data) = 0;
    virtual void GetCalibrationPoints(int board, int *first, int *second) = 0;

    virtual int GetHIDCoordinateReportMode(int board) = 0; ///< always 0, see ZorvicWrapper
    virtual void SetHIDCoordinateReportMode(int board, unsigned char mode) = 0; ///< never reaches the driver

    virtual void LibraryVersionNumber(unsigned char *major, unsigned char *minor, unsigned int *revision,
                                      unsigned int *build) = 0;
    /// The driver's own lock against its callback thread; nothing in this program takes it.
    virtual void Lock() = 0;
    virtual void Unlock() = 0;

    virtual int SerialConnect(int port) = 0;      ///< missing: 0
    virtual int SerialDisconnect() = 0;           ///< missing: 0
    virtual int SerialGetConnected(int &out) = 0; ///< missing: 0, out untouched
    virtual void SerialSetStartupMode(int mode) = 0;
    virtual int SerialGetStartupMode() = 0; ///< missing: 0

    virtual void SetDoubleClickDistance(int board, unsigned short distance) = 0;
    virtual void SetDriverDebugMode(int board, unsigned char mode, unsigned int mask) = 0;
    virtual void Echo(int board, unsigned char length, const unsigned char *data) = 0;
    virtual void Inject(int board, unsigned char length, const unsigned char *data) = 0;
    virtual void SendTouchPacketToSystem(int board, unsigned char length, const unsigned char *data) = 0;
    virtual void ReverseButtons(int board, bool reversed) = 0;
};
