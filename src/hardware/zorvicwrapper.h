#pragma once

#include "hardware/abstracthardwarewrapper.h"

#include <atomic>
#include <memory>

/// Opens the board maker's driver library at run time and forwards each operation to its export.
/// Owns the library handle. Takes no lock of its own; Attach may run on one thread while operations are
/// forwarded on another, because each export's pointer is replaced as a whole. Destruction must overlap no
/// other call.
class ZorvicWrapper : public AbstractHardwareWrapper
{
public:
    ZorvicWrapper();
    /// Detaches if a library is open and has that function, then closes the library.
    ~ZorvicWrapper() override;

    /// Opens the library unless it is open already, resolves every export again, then calls the driver's own
    /// Attach and returns its answer. Writes the loader's message to standard error and returns false when
    /// the library cannot be opened; a missing export is not reported.
    bool Attach() override;
    void Detach() override;
    int Interface() override;
    void SetCallback(int board, PacketCallback callback, void *context) override;
    void ClearCallback(int board, PacketCallback callback, void *context) override;
    void SetPnpCallback(PnpCallback callback, void *context) override;
    void ClearPnpCallback(PnpCallback callback, void *context) override;
    int SendCommand(int board, const char *command) override;
    int WritePacket(int board, const void *data, int length) override;
    void SetXferMask(int board, unsigned char mask) override;
    int GetDeviceCount() override;
    bool EnumDeviceInfo(int index, _ZORVIC_DEVICE_INFO *out) override;
    void SetPointingDeviceDestination(int board, unsigned char pen, bool flag, unsigned char mode) override;
    void SetPointingDeviceDestinationEx(int board, unsigned char pen, bool flag, unsigned char mode,
                                        bool extra) override;
    int GetPointingDeviceDestination(int board, unsigned char pen, bool flag) override;
    void SetTouchDestination(int board, unsigned char destination) override;
    void SetTouchDestinationEx(int board, unsigned char destination, bool extra) override;
    int GetTouchDestination(int board) override;
    void SetTouchEnabled(int board, bool enabled) override;
    int GetTouchEnabled(int board) override;
    void SetTouchSystemRedirectionEnabled(int board, bool enabled) override;
    int GetTouchSystemRedirectionEnabled(int board) override;
    void SetLATEDetection(int board, unsigned char mode) override;
    int GetLATEDetection(int board) override;
    int IsSomethingOnBoard(int board) override;
    void SetTwoFingerScroll(int board, unsigned char mode) override;
    int OpenSynchronousChannel(int board, PacketCallback callback, void *context) override;
    void CloseSynchronousChannel(int board, int channel) override;
    int ReadSynchronousPacket(int board, int channel, void *buffer, int size, unsigned int timeout) override;
    int SetCalibrationMode(int board, unsigned char mode) override;
    void SetCalibrationData(int board, void *data) override;
    void SetCalibrationDataEx(int board, unsigned char first, unsigned char second, void *data) override;
    void SetWirelessCalibrationData(int board, void *data) override;
    void GetCalibrationPoints(int board, int *first, int *second) override;
    int GetHIDCoordinateReportMode(int board) override;
    void SetHIDCoordinateReportMode(int board, unsigned char mode) override;
    void LibraryVersionNumber(unsigned char *major, unsigned char *minor, unsigned int *revision,
                              unsigned int *build) override;
    void Lock() override;
    void Unlock() override;
    int SerialConnect(int port) override;
    int SerialDisconnect() override;
    int SerialGetConnected(int &out) override;
    void SerialSetStartupMode(int mode) override;
    int SerialGetStartupMode() override;
    void SetDoubleClickDistance(int board, unsigned short distance) override;
    void SetDriverDebugMode(int board, unsigned char mode, unsigned int mask) override;
    void Echo(int board, unsigned char length, const unsigned char *data) override;
    void Inject(int board, unsigned char length, const unsigned char *data) override;
    void SendTouchPacketToSystem(int board, unsigned char length, const unsigned char *data) override;
    void ReverseButtons(int board, bool reversed) override;

    /// Keeps the library's code in memory until the process ends, even if it is closed: a driver whose Detach
    /// does not end its threads would otherwise lose the code that they run. Does nothing before the library
    /// is open.
    static void keepLoaded();
    /// Whether the library has been opened. May be called on any thread.
    bool isOpen() const;

private:
    struct Exports;

    bool open();

    std::atomic<void *> m_library = nullptr; ///< handle of dlopen; null until the first successful open
    std::unique_ptr<Exports> m_exports;
};
