#pragma once

#include "driver.h"
#include "misbehaviour.h"

#include <atomic>
#include <future>
#include <vector>

namespace boardsim {

/// A driver that breaks the rules in the one way that BOARDSIM_MISBEHAVIOUR asks for and otherwise behaves.
/// The variable is read at the program's first call. Any thread may call any function.
class HostileDriver : public Driver
{
public:
    explicit HostileDriver(CallLog &log);
    ~HostileDriver() override;

    void delayCall() override;
    bool attach() override;
    void detach() override;
    void setCallback(int board, PacketCallback callback, void *context) override;
    void setPnpCallback(PnpCallback callback, void *context) override;
    int deviceCount() override;
    bool deviceInfo(int index, _ZORVIC_DEVICE_INFO *out) override;
    bool deniesDevices() override;
    int write(int board, const void *data, int length) override;
    bool sendsUnlogged() override;
    void sendToSystem() override;

protected:
    void call(PacketCallback callback, int board, const Bytes &report, void *context) override;
    void call(PnpCallback callback, void *context) override;

private:
    /// Something that happens once and that another thread waits for.
    class Arrival
    {
    public:
        void tell()
        {
            if (!m_told.exchange(true))
                m_promise.set_value();
        }
        void await() { m_promise.get_future().wait(); } ///< once only

    private:
        std::atomic<bool> m_told = false;
        std::promise<void> m_promise;
    };

    /// A packet callback as the program has set it.
    struct PacketRegistration
    {
        PacketCallback callback = nullptr;
        void *context = nullptr;
    };

    /// A plug-and-play callback as the program has set it.
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
    void reportBeyondTheScreen();
    void startCallbacksAfterDetach();
    void startOutlastingCallback();
    template <typename Step> bool startRepeating(Step step);
    bool stopRepeating();

    const Misbehaviour m_misbehaviour;
    std::atomic<bool> m_insideCallback = false; ///< one that this class has added
    std::atomic<bool> m_hasBlocked = false;
    std::atomic<int> m_reports = 0;     ///< made by this class so far
    std::atomic<unsigned> m_counts = 0; ///< of devices, told so far

    std::mutex m_registrationMutex;              ///< guards the next two; never held while a callback runs
    std::map<int, PacketRegistration> m_packets; ///< per board; stay when withdrawn
    PnpRegistration m_pnp;

    std::atomic<bool> m_hasOutlasted = false;
    const std::shared_ptr<Arrival> m_atSystem = std::make_shared<Arrival>(); ///< of the outlasting callback

    std::mutex m_repeaterMutex; ///< guards the start and end of the thread that repeats a step
    std::thread m_repeater;
    std::atomic<bool> m_repeating = false;
};

} // namespace boardsim
