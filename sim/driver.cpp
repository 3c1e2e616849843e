#include "driver.h"

#include "demonstration.h"
#include "remote.h"
#include "scenarioreader.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string_view>
#include <utility>

namespace boardsim {

namespace {

constexpr const char *scenarioVariable = "BOARDSIM_SCENARIO";
constexpr std::size_t longestQueue = 1024; // reports; more are lost, as in a driver whose buffer is full
constexpr auto idleWait = std::chrono::hours(1);
constexpr const char *endMark = "scenario ends"; // in the log: nothing more will come
constexpr std::string_view statusRequest = ":QT\r";
constexpr auto unloadPatience = std::chrono::seconds(2);

/// The driver whose own thread this is, or on behalf of whose own thread it runs.
thread_local const Driver *ownDriver = nullptr;

std::shared_ptr<const Scenario> loadScenario()
{
    std::optional<Scenario> scenario;
    std::string error;
    const char *const name = std::getenv(scenarioVariable);
    if (name && *name) {
        scenario = readScenarioFile(name, error);
    } else {
        std::istringstream text(demonstration);
        scenario = readScenario(text, "demonstration.jsonl", error);
    }
    if (!error.empty())
        std::fprintf(stderr, "%s\n", error.c_str());
    return std::make_shared<const Scenario>(scenario ? *std::move(scenario) : Scenario());
}

} // namespace

Driver::Driver(CallLog &log) : m_log(log) { }

Driver::~Driver()
{
    Driver::detach();
}

bool Driver::attach()
{
    if (isDriverThread()) {
        const Lock lock(m_mutex);
        if (m_stopping && m_stoppedInside)
            load();
        return true;
    }
    const std::lock_guard lifecycle(m_lifecycle);
    {
        const Lock lock(m_mutex);
        if (!m_stopping)
            return true;
    }
    if (m_thread.joinable())
        m_thread.join();
    {
        const Lock lock(m_mutex);
        load();
        m_finished = false;
    }
    m_thread = std::thread(&Driver::run, this);
    return true;
}

/// Reads the environment and sets up the play from its beginning. The mutex is held.
void Driver::load()
{
    m_log.open();
    m_scenario = loadScenario();
    m_devices = m_scenario->devices;
    m_stopping = false;
    m_stoppedInside = false;
    m_restarted = true;
}

void Driver::detach()
{
    if (isDriverThread()) {
        const Lock lock(m_mutex);
        if (!m_stopping)
            m_stoppedInside = true;
        stop();
        return;
    }
    const std::lock_guard lifecycle(m_lifecycle);
    {
        const Lock lock(m_mutex);
        m_stoppedInside = false;
        stop();
    }
    if (m_thread.joinable())
        m_thread.join();
}

bool Driver::detachForUnloading()
{
    Lock lock(m_mutex);
    m_stoppedInside = false;
    stop();
    if (!m_thread.joinable())
        return true;
    const bool finished =
        !isDriverThread() && m_changed.wait_for(lock, unloadPatience, [this] { return m_finished; });
    lock.unlock();
    if (finished)
        m_thread.join();
    else
        m_thread.detach();
    return finished;
}

/// The mutex is held.
void Driver::stop()
{
    m_stopping = true;
    m_packetCallbacks.clear();
    m_pnpCallback = {};
    m_queued.clear();
    m_channels.clear();
    m_contactsDown.clear();
    m_devices.clear();
    m_changed.notify_all();
}

void Driver::run()
{
    ownDriver = this;
    for (;;) {
        Lock lock(m_mutex);
        if (m_stopping)
            break;
        m_restarted = false;
        const std::shared_ptr<const Scenario> scenario = m_scenario;
        lock.unlock();
        if (!play(*scenario))
            continue;
        mark(endMark);
        while (waitUntil(now() + idleWait)) { }
    }
    const Lock lock(m_mutex);
    m_finished = true;
    m_changed.notify_all();
}

/// Returns false as soon as the play has been stopped.
bool Driver::play(const Scenario &scenario)
{
    Remote remote(scenario);
    return remote.isConnected() ? remote.play(*this) : Player(scenario, *this).play();
}

void Driver::setCallback(int board, PacketCallback callback, void *context)
{
    const Lock lock(m_mutex);
    m_packetCallbacks[board] = {board, reinterpret_cast<void *>(callback), context};
}

void Driver::setPnpCallback(PnpCallback callback, void *context)
{
    const Lock lock(m_mutex);
    m_pnpCallback = {0, reinterpret_cast<void *>(callback), context};
}

void Driver::clearCallback(int board, void *callback, void *context)
{
    const Registration withdrawn{board, callback, context};
    Lock lock(m_mutex);
    const auto found = m_packetCallbacks.find(board);
    if (found != m_packetCallbacks.end() && found->second == withdrawn)
        m_packetCallbacks.erase(found);
    if (m_pnpCallback == withdrawn)
        m_pnpCallback = {};
    if (isDriverThread())
        return;
    const unsigned long run = m_runs;
    m_changed.wait(lock, [&] { return !(m_running == withdrawn) || m_runs != run; });
}

int Driver::deviceCount()
{
    const Lock lock(m_mutex);
    return static_cast<int>(std::count_if(m_devices.begin(), m_devices.end(),
                                          [](const Device &device) { return device.plugged; }));
}

bool Driver::deviceInfo(int index, _ZORVIC_DEVICE_INFO *out)
{
    if (!out || out->size != _ZORVIC_DEVICE_INFO::sizeMarker)
        return false;
    const Lock lock(m_mutex);
    for (const Device &device : m_devices) {
        if (!device.plugged || index-- != 0)
            continue;
        out->kind = device.kind;
        out->board = device.board;
        const std::size_t length = std::min(device.info.size(), sizeof out->additionalInfo - 1);
        std::memcpy(out->additionalInfo, device.info.data(), length);
        out->additionalInfo[length] = '\0';
        return true;
    }
    return false;
}

int Driver::write(int board, const void *data, int length)
{
    const Lock lock(m_mutex);
    if (!findPlugged(board) || !data || length < 0)
        return -1;
    if (std::string_view(static_cast<const char *>(data), static_cast<std::size_t>(length)) == statusRequest)
        queueReport(board, touchStatus(board));
    return length;
}

void Driver::sendBack(int board, const unsigned char *data, int length)
{
    const Lock lock(m_mutex);
    if (data && length > 0 && findPlugged(board))
        queueReport(board, Bytes(data, data + length));
}

bool Driver::isPlugged(int board)
{
    const Lock lock(m_mutex);
    return findPlugged(board) != nullptr;
}

bool Driver::isSomethingOnBoard(int board)
{
    const Lock lock(m_mutex);
    const auto contacts = m_contactsDown.find(board);
    return contacts != m_contactsDown.end() && !contacts->second.empty();
}

int Driver::openChannel(int board)
{
    const Lock lock(m_mutex);
    return findPlugged(board) ? m_channels.open(board) : -1;
}

void Driver::closeChannel(int board, int channel)
{
    const Lock lock(m_mutex);
    if (m_channels.close(board, channel))
        m_changed.notify_all();
}

int Driver::readChannel(int board, int channel, void *buffer, int size, unsigned int timeout)
{
    if (!buffer || size < 0)
        return -1;
    const auto deadline = now() + std::chrono::milliseconds(timeout);
    Lock lock(m_mutex);
    // The driver's own thread must not wait: it alone delivers reports.
    if (!isDriverThread())
        m_changed.wait_until(lock, deadline, [&] { return m_channels.hasAnswer(board, channel); });
    return m_channels.take(board, channel, buffer, size);
}

void Driver::lock()
{
    Lock lock(m_mutex);
    const std::thread::id caller = std::this_thread::get_id();
    const bool inside = isDriverThread();
    m_changed.wait(lock, [&] {
        const bool isFree = m_lockDepth == 0 && (inside || !m_running.function);
        return isFree || (m_lockDepth > 0 && m_lockOwner == caller);
    });
    m_lockOwner = caller;
    ++m_lockDepth;
}

void Driver::unlock()
{
    const Lock lock(m_mutex);
    if (m_lockDepth == 0 || m_lockOwner != std::this_thread::get_id())
        return;
    --m_lockDepth;
    m_changed.notify_all();
}

Clock::time_point Driver::now()
{
    return Clock::now();
}

bool Driver::waitUntil(Clock::time_point deadline)
{
    Lock lock(m_mutex);
    while (!isInterrupted()) {
        if (!m_queued.empty()) {
            const SendReport next = std::move(m_queued.front());
            m_queued.pop_front();
            lock.unlock();
            deliver(next.board, next.report);
            lock.lock();
        } else if (Clock::now() >= deadline) {
            return true;
        } else {
            m_changed.wait_until(lock, deadline);
        }
    }
    return false;
}

void Driver::deliver(int board, const Bytes &report)
{
    Lock lock(m_mutex);
    if (!awaitTurn(lock) || !findPlugged(board))
        return;
    trackContacts(report, m_contactsDown[board]);
    const bool hasChannel = m_channels.deliver(board, report);
    if (hasChannel)
        m_changed.notify_all();
    const auto found = m_packetCallbacks.find(board);
    if (found == m_packetCallbacks.end()) {
        lock.unlock();
        if (hasChannel)
            m_log.addReport(board, report);
        return;
    }
    runCallback(lock, found->second, [&](const Registration &callback) {
        call(reinterpret_cast<PacketCallback>(callback.function), board, report, callback.context);
    });
}

void Driver::call(PacketCallback callback, int board, const Bytes &report, void *context)
{
    m_log.addReport(board, report); // before it runs: the callback may crash
    callback(board, report.data(), static_cast<unsigned int>(report.size()), context);
}

void Driver::call(PnpCallback callback, void *context)
{
    callback(context);
}

void Driver::plug(int board, bool plugged)
{
    Lock lock(m_mutex);
    if (!awaitTurn(lock))
        return;
    for (Device &device : m_devices) {
        if (device.board == board)
            device.plugged = plugged;
    }
    if (!plugged)
        m_contactsDown.erase(board);
    runCallback(lock, m_pnpCallback, [this](const Registration &callback) {
        call(reinterpret_cast<PnpCallback>(callback.function), callback.context);
    });
}

void Driver::mark(const std::string &text)
{
    m_log.addMark(text);
}

bool Driver::isDriverThread() const
{
    return ownDriver == this;
}

/// Returns whether the play that runs now must end. The mutex is held.
bool Driver::isInterrupted() const
{
    return m_stopping || m_restarted;
}

/// Waits while the program holds the driver's lock; returns false if the play must end.
bool Driver::awaitTurn(Lock &lock)
{
    m_changed.wait(lock, [this] {
        return isInterrupted() || m_lockDepth == 0 || m_lockOwner == std::this_thread::get_id();
    });
    return !isInterrupted();
}

/// Calls @p run with a copy of @p registration while the mutex is released; does nothing if that has no
/// function.
template <typename Run> void Driver::runCallback(Lock &lock, const Registration &registration, Run run)
{
    if (!registration.function)
        return;
    const Registration callback = registration;
    m_running = callback;
    ++m_runs;
    lock.unlock();
    run(callback);
    lock.lock();
    m_running = {};
    m_changed.notify_all();
}

Device *Driver::findPlugged(int board)
{
    const auto found = std::find_if(m_devices.begin(), m_devices.end(), [board](const Device &device) {
        return device.board == board && device.plugged;
    });
    return found == m_devices.end() ? nullptr : &*found;
}

void Driver::queueReport(int board, Bytes report)
{
    if (m_queued.size() == longestQueue)
        return;
    m_queued.push_back({board, std::move(report)});
    m_changed.notify_all();
}

/// Returns the board's state as a touch-status report.
Bytes Driver::touchStatus(int board)
{
    const BoardSettings &settings = m_settings[board];
    const auto byte = [](int value) { return static_cast<std::uint8_t>(value & 0xff); };
    return touchStatusReport({byte(settings.touchDestination), byte(settings.lateDetection),
                              byte(settings.touchEnabled), byte(settings.touchSystemRedirectionEnabled),
                              byte(settings.twoFingerScroll),
                              byte(static_cast<int>(m_contactsDown[board].size()))});
}

std::thread startOnBehalf(std::function<void()> run)
{
    return std::thread([run = std::move(run), driver = ownDriver] {
        ownDriver = driver;
        run();
    });
}

} // namespace boardsim
