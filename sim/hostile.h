#pragma once

#include "driver.h"
#include "misbehaviour.h"

#include <vector>

namespace boardsim {

/// A driver that breaks the rules in the one way that BOARDSIM_MISBEHAVIOUR asks for at the program's first
/// call, and behaves in everything else.
class HostileDriver : public Driver
{
public:
    explicit HostileDriver(CallLog &log);
    ~HostileDriver() override;

    bool attach() override;
    void detach() override;
    void setCallback(int board, PacketCallback callback, void *context) override;
    void setPnpCallback(PnpCallback callback, void *context) override;
    int deviceCount() override;
    bool deviceInfo(int index, _ZORVIC_DEVICE_INFO *out) override;
    bool deniesDevices() override;
    int write(int board, const void *data, int length) override;
    void sendToSystem() override;

protected:
    void call(PacketCallback callback, int board, const Bytes &report, void *context) override;
    void call(PnpCallback callback, void *context) override;

private:
    struct PacketRegistration
    {
        PacketCallback callback = nullptr;
        void *context = nullptr;
    };

    struct PnpRegistration
    {
        PnpCallback callback = nullptr;
        void *context = nullptr;
    };

    bool is(Misbehaviour::Kind kind) const { return m_misbehaviour.kind == kind; }
    void runAllCallbacks();
    void runAllOnce();
    void runPnp();
    void report(int board, const PacketRegistration &registration);
    void startPrinting();
    void stopPrinting();

    const Misbehaviour m_misbehaviour;
    std::atomic<bool> m_insideCallback = false; ///< of those that this class adds
    std::atomic<bool> m_hasBlocked = false;
    std::atomic<int> m_reports = 0; ///< made here so far

    std::mutex m_registrationMutex;              ///< guards the next two
    std::map<int, PacketRegistration> m_packets; ///< per board; all that ever came, withdrawn or not
    PnpRegistration m_pnp;

    std::mutex m_printerMutex; ///< guards the printing thread's start and end
    std::thread m_printer;
    std::atomic<bool> m_printing = false;
};

} // namespace boardsim
