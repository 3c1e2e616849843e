#include "hostile.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>
#include <tuple>

namespace boardsim {

namespace {

using Kind = Misbehaviour::Kind;

constexpr auto blockingTime = std::chrono::seconds(2);
constexpr auto repeatingPause = std::chrono::milliseconds(1);
constexpr int beyondTheScreen = 60000; // raw board units
constexpr std::size_t headerSize = reportlayout::contact::firstAt;

/// Has no zero byte before its last: code that takes the report for a text still finds a whole contact.
constexpr unsigned char shortTouchReport[] = {1, reportlayout::touch::kind, 0x81, 1, 1, 1, 1, 1, 1, 0};

/// Runs @p run on the calling thread, then on another one, and returns when both have ended.
template <typename Run> void onTwoThreads(Run run)
{
    run();
    startOnBehalf(run).join();
}

/// Runs @p run on @p count threads at the same time and returns when all have ended.
template <typename Run> void onManyThreads(int count, Run run)
{
    std::promise<void> start;
    const std::shared_future<void> started = start.get_future().share();
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        threads.push_back(startOnBehalf([&run, started] {
            started.wait();
            run();
        }));
    }
    start.set_value();
    for (std::thread &thread : threads)
        thread.join();
}

/// Writes to @p kilobytes of the calling thread's stack.
void fillStack(int kilobytes)
{
    volatile char bytes[1024];
    for (volatile char &byte : bytes)
        byte = 1;
    if (kilobytes > 1)
        fillStack(kilobytes - 1);
    bytes[0] = 0; // keeps the frame until here, so that the recursion is no loop
}

/// Repeats what follows the header until the report has @p length bytes.
Bytes repeated(const Bytes &report, int length)
{
    Bytes longer = report;
    for (std::size_t i = 0; report.size() > headerSize && longer.size() < static_cast<std::size_t>(length);
         ++i)
        longer.push_back(report[headerSize + i % (report.size() - headerSize)]);
    return longer;
}

/// Overwrites every byte except kind and board; the text fills the record to its last byte, without a NUL.
void fill(_ZORVIC_DEVICE_INFO &record)
{
    record.size = -1;
    std::memset(record.driverBytes1, 0xff, sizeof record.driverBytes1);
    std::memset(record.driverBytes2, 0xff, sizeof record.driverBytes2);
    const std::string text = *record.additionalInfo ? record.additionalInfo : "\xff";
    for (std::size_t i = 0; i < sizeof record.additionalInfo; ++i)
        record.additionalInfo[i] = text[i % text.size()];
}

/// Converts UTF-8 to Latin-1, whose characters above 127 take two bytes in UTF-8.
void toLatin1(char *text)
{
    char *end = text;
    for (; *text; ++text) {
        const auto lead = static_cast<unsigned char>(*text);
        const bool two = (lead & 0xfc) == 0xc0 && text[1];
        *end++ = two ? static_cast<char>(lead << 6 | (*++text & 0x3f)) : *text;
    }
    *end = '\0';
}

} // namespace

HostileDriver::HostileDriver(CallLog &log) : Driver(log), m_misbehaviour(readMisbehaviour()) { }

HostileDriver::~HostileDriver()
{
    Driver::detach(); // ends the thread that calls the functions of this class
    stopRepeating();
}

void HostileDriver::delayCall()
{
    if (is(Kind::slowCalls))
        std::this_thread::sleep_for(std::chrono::milliseconds(m_misbehaviour.value));
}

bool HostileDriver::attach()
{
    Driver::attach();
    if (is(Kind::callbacksInAttach))
        runAllCallbacks();
    if (is(Kind::prints) && startRepeating([] { std::printf("driver: still there\n"); }))
        std::printf("driver: attached\n");
    if (is(Kind::secondThread))
        startRepeating([this] { reportBeyondTheScreen(); });
    return !is(Kind::attachFails);
}

void HostileDriver::detach()
{
    if (is(Kind::callbacksInDetach))
        runAllCallbacks();
    if (is(Kind::callbackOutlastsDetach))
        startOutlastingCallback();
    Driver::detach();
    if (stopRepeating() && is(Kind::prints))
        std::printf("driver: detached\n");
    if (is(Kind::callbacksAfterDetach))
        startCallbacksAfterDetach();
}

void HostileDriver::setCallback(int board, PacketCallback callback, void *context)
{
    Driver::setCallback(board, callback, context);
    const PacketRegistration registration{callback, context};
    {
        const std::lock_guard lock(m_registrationMutex);
        m_packets[board] = registration;
    }
    if (is(Kind::callbacksInRegistration))
        onTwoThreads([&] { report(board, registration); });
}

void HostileDriver::setPnpCallback(PnpCallback callback, void *context)
{
    Driver::setPnpCallback(callback, context);
    {
        const std::lock_guard lock(m_registrationMutex);
        m_pnp = {callback, context};
    }
    if (is(Kind::callbacksInRegistration))
        onTwoThreads([=] { callback(context); });
}

/// Runs every callback that was ever set, withdrawn or not, on two threads. Does nothing inside such a
/// callback.
void HostileDriver::runAllCallbacks()
{
    if (m_insideCallback.exchange(true))
        return;
    onTwoThreads([this] { runAllOnce(); });
    m_insideCallback = false;
}

void HostileDriver::runAllOnce()
{
    std::map<int, PacketRegistration> packets;
    {
        const std::lock_guard lock(m_registrationMutex);
        packets = m_packets;
    }
    for (const auto &[board, registration] : packets)
        report(board, registration);
    runPnp();
}

void HostileDriver::runPnp()
{
    PnpRegistration pnp;
    {
        const std::lock_guard lock(m_registrationMutex);
        pnp = m_pnp;
    }
    if (pnp.callback)
        pnp.callback(pnp.context);
}

/// Runs a callback with the report of a pressed pen that moves on with each report.
void HostileDriver::report(int board, const PacketRegistration &registration)
{
    PenSample sample;
    sample.x = 8000 + m_reports++ % 8000;
    sample.y = 8000;
    sample.tip = true;
    Driver::call(registration.callback, board, penReport(sample), registration.context);
}

/// Runs one packet callback with the report of a touch that is nowhere near the program's window.
void HostileDriver::reportBeyondTheScreen()
{
    int board = 0;
    PacketRegistration registration;
    {
        const std::lock_guard lock(m_registrationMutex);
        if (m_packets.empty())
            return;
        std::tie(board, registration) = *m_packets.begin();
    }
    const Bytes report = touchReport({{maxContactId, beyondTheScreen, beyondTheScreen, 50, true}});
    registration.callback(board, report.data(), static_cast<unsigned int>(report.size()),
                          registration.context);
}

/// The thread outlives this object, hence has copies of all that it needs.
void HostileDriver::startCallbacksAfterDetach()
{
    std::map<int, PacketRegistration> packets;
    PnpRegistration pnp;
    {
        const std::lock_guard lock(m_registrationMutex);
        packets = m_packets;
        pnp = m_pnp;
    }
    const auto end = Clock::now() + std::chrono::milliseconds(m_misbehaviour.value);
    std::thread([=] {
        const Bytes report = touchReport({{maxContactId, beyondTheScreen, beyondTheScreen, 50, true}});
        do {
            std::this_thread::sleep_for(repeatingPause);
            for (const auto &[board, registration] : packets)
                registration.callback(board, report.data(), static_cast<unsigned int>(report.size()),
                                      registration.context);
            if (pnp.callback)
                pnp.callback(pnp.context);
        } while (Clock::now() < end);
    }).detach();
}

/// Returns once the callback is inside sendToSystem(), or has returned without getting there.
void HostileDriver::startOutlastingCallback()
{
    if (m_hasOutlasted.exchange(true))
        return;
    std::thread([this, atSystem = m_atSystem] {
        reportBeyondTheScreen();
        atSystem->tell(); // this object may be gone
    }).detach();
    m_atSystem->await();
}

int HostileDriver::deviceCount()
{
    constexpr int errors[] = {2, -1, 0};
    const int count = Driver::deviceCount();
    if (is(Kind::deviceCount))
        return m_misbehaviour.value;
    return is(Kind::wrongDeviceCounts) ? count + errors[m_counts++ % std::size(errors)] : count;
}

bool HostileDriver::deniesDevices()
{
    return is(Kind::deviceCount);
}

bool HostileDriver::sendsUnlogged()
{
    return is(Kind::secondThread) || is(Kind::callbackOutlastsDetach); // which may outlive the log
}

bool HostileDriver::deviceInfo(int index, _ZORVIC_DEVICE_INFO *out)
{
    if (is(Kind::secondThread))
        std::this_thread::sleep_for(std::chrono::milliseconds(m_misbehaviour.value));
    if (!Driver::deviceInfo(index, out))
        return false;
    if (is(Kind::sameNumber)) {
        _ZORVIC_DEVICE_INFO first{};
        first.size = _ZORVIC_DEVICE_INFO::sizeMarker;
        Driver::deviceInfo(0, &first);
        out->board = first.board;
    }
    if (is(Kind::fullRecord))
        fill(*out);
    if (is(Kind::latin1Info))
        toLatin1(out->additionalInfo);
    return true;
}

int HostileDriver::write(int board, const void *data, int length)
{
    if (is(Kind::blockingWrite) && board == m_misbehaviour.value && !m_hasBlocked.exchange(true)) {
        mark("write blocks");
        std::this_thread::sleep_for(blockingTime);
    }
    return Driver::write(board, data, length);
}

void HostileDriver::sendToSystem()
{
    const auto slowness = std::chrono::milliseconds(m_misbehaviour.value);
    if (is(Kind::secondThread))
        std::this_thread::sleep_for(slowness);
    if (is(Kind::callbackOutlastsDetach)) {
        m_atSystem->tell();
        std::this_thread::sleep_for(slowness);
        mark("callback goes on");
    }
    if (!is(Kind::pnpInReport) || m_insideCallback.exchange(true))
        return;
    runPnp();
    m_insideCallback = false;
}

void HostileDriver::call(PacketCallback callback, int board, const Bytes &report, void *context)
{
    if (is(Kind::reportLength)) {
        Driver::call(callback, board, repeated(report, m_misbehaviour.value), context);
        return;
    }
    if (is(Kind::threads)) {
        onManyThreads(m_misbehaviour.value, [&] { Driver::call(callback, board, report, context); });
        return;
    }
    if (is(Kind::badArguments)) {
        const auto length = static_cast<unsigned int>(report.size());
        callback(board, nullptr, 0, context);
        callback(board, nullptr, length, context);
        callback(board, report.data(), length, nullptr);
        callback(board, shortTouchReport, UINT_MAX, context);
        for (unsigned int size = 0; size < headerSize; ++size) {
            const Bytes shortReport(report.begin(), report.begin() + size);
            callback(board, shortReport.data(), size, context);
        }
    }
    Driver::call(callback, board, report, context);
}

void HostileDriver::call(PnpCallback callback, void *context)
{
    if (is(Kind::deepStack)) {
        startOnBehalf([=] {
            fillStack(m_misbehaviour.value);
            callback(context);
        }).join();
        return;
    }
    if (is(Kind::threads)) {
        onManyThreads(m_misbehaviour.value, [=] { callback(context); });
        return;
    }
    if (is(Kind::badArguments))
        callback(nullptr);
    Driver::call(callback, context);
}

/// Repeats @p step on a thread of its own until stopRepeating(). Does nothing and returns false if one is
/// being repeated.
template <typename Step> bool HostileDriver::startRepeating(Step step)
{
    const std::lock_guard lock(m_repeaterMutex);
    if (m_repeating.exchange(true))
        return false;
    m_repeater = std::thread([this, step] {
        while (m_repeating) {
            step();
            std::this_thread::sleep_for(repeatingPause);
        }
    });
    return true;
}

/// Returns whether a step was being repeated.
bool HostileDriver::stopRepeating()
{
    const std::lock_guard lock(m_repeaterMutex);
    if (!m_repeating.exchange(false))
        return false;
    m_repeater.join();
    return true;
}

std::unique_ptr<Driver> makeDriver(CallLog &log)
{
    return std::make_unique<HostileDriver>(log);
}

} // namespace boardsim
