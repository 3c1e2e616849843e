#pragma once

#include "boardsettings.h"
#include "calllog.h"
#include "channels.h"
#include "player.h"

#include "hardware/abstracthardwarewrapper.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <thread>

namespace boardsim {

/// The simulated driver behind the exported functions: plays a scenario on a thread of its own, which runs
/// the program's callbacks. Any thread may call any function at any time, from inside a callback too; no lock
/// is held while a callback runs. A driver that misbehaves overrides the virtual functions.
class Driver : private Stage
{
public:
    /// Keeps a reference to @p log.
    explicit Driver(CallLog &log);
    /// Detaches.
    ~Driver() override;

    /// Runs before each function that the program calls. Does nothing: this driver answers at once.
    virtual void delayCall() { }
    /// Loads the scenario that BOARDSIM_SCENARIO names and starts to play it, unless one is being played. If
    /// it cannot be loaded, a line on standard error says so, and there are no devices. Always returns true.
    virtual bool attach();
    /// Forgets every callback and stops the play. No callback runs after it has returned, except one that has
    /// called it.
    virtual void detach();
    /// Does the same as detach(), but gives up on a callback that does not return in time. It then returns
    /// false, and this object must not be deleted.
    bool detachForUnloading();

    virtual void setCallback(int board, PacketCallback callback, void *context);
    virtual void setPnpCallback(PnpCallback callback, void *context);
    /// Withdraws the packet callback of @p board or, with board 0 and its function, the plug-and-play
    /// callback. Waits for that callback to return unless it is called from inside a callback.
    void clearCallback(int board, void *callback, void *context);

    virtual int deviceCount();
    virtual bool deviceInfo(int index, _ZORVIC_DEVICE_INFO *out);
    /// Returns true if EnumDeviceInfo is to fail without a log line, for drivers that claim billions of
    /// devices.
    virtual bool deniesDevices() { return false; }
    /// Returns the number of bytes taken, -1 if no such board is plugged in. A board that is asked for its
    /// touch status answers with a report.
    virtual int write(int board, const void *data, int length);
    /// True: SendTouchPacketToSystem leaves no log line. The log's mutex would put the threads that send in
    /// an order, which hides data races of the program from ThreadSanitizer.
    virtual bool sendsUnlogged() { return false; }
    /// Takes a report for the operating system. Does nothing: there is no system pointer to move.
    virtual void sendToSystem() { }
    /// Copies @p data; the driver's thread delivers it as a report of @p board.
    void sendBack(int board, const unsigned char *data, int length);
    bool isPlugged(int board);
    bool isSomethingOnBoard(int board);

    /// Runs @p operation on one board's settings with the mutex held and returns its result.
    template <typename Operation> auto withSettings(int board, Operation operation)
    {
        const std::lock_guard lock(m_mutex);
        return operation(m_settings[board]);
    }

    /// Returns the channel's number, or -1 if no such board is plugged in.
    int openChannel(int board);
    void closeChannel(int board, int channel);
    /// Returns the length of the next report of the board, of which @p buffer gets what fits; 0 if none has
    /// come within @p timeout milliseconds, -1 if there is no such channel. Never waits on the driver's
    /// thread.
    int readChannel(int board, int channel, void *buffer, int size, unsigned int timeout);

    /// While a thread holds this lock no callback runs, except those that this thread runs itself.
    void lock();
    void unlock();

protected:
    // Each runs one callback; a report is logged. Called on the driver's thread.
    virtual void call(PacketCallback callback, int board, const Bytes &report, void *context);
    virtual void call(PnpCallback callback, void *context);

    void mark(const std::string &text) override;

private:
    /// A callback that the program has set; without a function there is none. Board 0 for plug-and-play.
    struct Registration
    {
        int board = 0;
        void *function = nullptr;
        void *context = nullptr;

        bool operator==(const Registration &other) const
        {
            return board == other.board && function == other.function && context == other.context;
        }
    };

    using Lock = std::unique_lock<std::mutex>;

    Clock::time_point now() override;
    bool waitUntil(Clock::time_point deadline) override;
    void deliver(int board, const Bytes &report) override;
    void plug(int board, bool plugged) override;

    /// Whether the caller is the driver's own thread, or one that runs callbacks on its behalf.
    bool isDriverThread() const;
    void load();
    void stop();
    void run();
    bool play(const Scenario &scenario);
    bool isInterrupted() const;
    bool awaitTurn(Lock &lock);
    template <typename Run> void runCallback(Lock &lock, const Registration &registration, Run run);
    Device *findPlugged(int board);
    void queueReport(int board, Bytes report);
    Bytes touchStatus(int board);

    CallLog &m_log;
    /// Held while the thread is started or joined. Never taken where isDriverThread() is true: the holder may
    /// be waiting for that thread to end.
    std::mutex m_lifecycle;
    std::thread m_thread;

    std::mutex m_mutex; ///< guards all below; never held while a callback runs
    std::condition_variable m_changed;
    bool m_stopping = true;
    bool m_stoppedInside = false; ///< by a callback, which may attach again before it returns
    bool m_restarted = false;     ///< the play that runs now is out of date
    bool m_finished = false;      ///< the thread has left its loop
    std::shared_ptr<const Scenario> m_scenario;
    std::vector<Device> m_devices; ///< in the scenario's order, including unplugged ones
    std::map<int, BoardSettings> m_settings;
    std::map<int, std::set<int>> m_contactsDown;   ///< per board
    std::map<int, Registration> m_packetCallbacks; ///< per board
    Registration m_pnpCallback;
    Registration m_running;          ///< the callback that runs now; no function: none
    unsigned long m_runs = 0;        ///< callbacks started so far
    std::deque<SendReport> m_queued; ///< due to calls of the program, oldest first
    Channels m_channels;
    std::thread::id m_lockOwner;
    int m_lockDepth = 0;
};

/// Starts a thread that runs callbacks for the caller, which must wait for its end. Calls of the driver there
/// count as the caller's: if that is the driver's own thread, they wait for nothing that waits for it.
std::thread startOnBehalf(std::function<void()> run);

/// Makes the driver of this library, which keeps a reference to @p log. Each kind of driver defines this
/// function in its own source file; a library links one of them.
std::unique_ptr<Driver> makeDriver(CallLog &log);

} // namespace boardsim
