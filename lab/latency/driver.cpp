// The driver with which the program is measured. It has one board, whose reports are delivered on their
// own thread when the measurement asks for them.

#include "latency/deliveries.h"

#include "hardware/abstracthardwarewrapper.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace latency {

namespace {

constexpr int boardNumber = 1;

/// The processor time that reading a thread's processor time takes, which is more than some callbacks take.
Nanoseconds costOfReading()
{
    Nanoseconds least = 1'000'000;
    for (int i = 0; i < 100; ++i) {
        const Nanoseconds before = readClock(CLOCK_THREAD_CPUTIME_ID);
        least = std::min(least, readClock(CLOCK_THREAD_CPUTIME_ID) - before);
    }
    return least;
}

class Driver
{
public:
    ~Driver() { detach(); }

    bool attach()
    {
        if (m_room)
            return true;
        const char *const path = std::getenv(DeliveryRoom::variable);
        const int file = path ? open(path, O_RDWR | O_CLOEXEC) : -1;
        if (file < 0) {
            std::fprintf(stderr, "latency driver: cannot open the file that %s names\n",
                         DeliveryRoom::variable);
            return false;
        }
        void *const memory = mmap(nullptr, sizeof(DeliveryRoom), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        close(file);
        if (memory == MAP_FAILED) {
            std::perror("latency driver: mmap");
            return false;
        }
        m_room = static_cast<DeliveryRoom *>(memory);
        m_thread = std::thread([this] { run(); });
        return true;
    }

    void detach()
    {
        if (!m_thread.joinable())
            return;
        m_ending = true;
        sem_post(&m_room->requested);
        m_thread.join();
    }

    void setCallback(PacketCallback callback, void *context)
    {
        const std::lock_guard lock(m_mutex);
        m_callback = callback;
        m_context = context;
        if (m_room)
            m_room->registered = callback != nullptr;
    }

private:
    void run()
    {
        prctl(PR_SET_TIMERSLACK, 1); // reports come when they are due, not up to 50 microseconds later
        for (;;) {
            while (sem_wait(&m_room->requested) != 0) { }
            if (m_ending)
                return;
            const Nanoseconds start = readClock(CLOCK_THREAD_CPUTIME_ID);
            Nanoseconds inside = 0;
            for (int i = 0; i < m_room->count && !m_ending; ++i) {
                waitUntil(m_room->deliveries[i].due);
                inside += deliver(m_room->deliveries[i]);
            }
            m_room->driverShare += readClock(CLOCK_THREAD_CPUTIME_ID) - start - inside;
            sem_post(&m_room->delivered);
        }
    }

    static void waitUntil(Nanoseconds due)
    {
        const timespec time{due / 1'000'000'000, due % 1'000'000'000};
        if (due > now())
            clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &time, nullptr);
    }

    /// Returns the processor time that the callback took.
    Nanoseconds deliver(Delivery &delivery)
    {
        const std::lock_guard lock(m_mutex);
        if (!m_callback)
            return 0;
        const Nanoseconds processor = readClock(CLOCK_THREAD_CPUTIME_ID);
        delivery.called = now();
        m_callback(boardNumber, delivery.report, delivery.length, m_context);
        delivery.inside = static_cast<std::int32_t>(now() - delivery.called);
        delivery.processor =
            static_cast<std::int32_t>(readClock(CLOCK_THREAD_CPUTIME_ID) - processor - m_costOfReading);
        return delivery.processor;
    }

    DeliveryRoom *m_room = nullptr; ///< null until attached; stays mapped
    std::thread m_thread;
    std::atomic<bool> m_ending = false;
    std::mutex m_mutex; ///< guards the callback
    PacketCallback m_callback = nullptr;
    void *m_context = nullptr;
    const Nanoseconds m_costOfReading = costOfReading();
};

Driver driver;

} // namespace

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED bool zorvicAttach()
{
    return driver.attach();
}

EXPORTED void zorvicDetach()
{
    driver.detach();
}

EXPORTED void zorvicSetCallback(int, PacketCallback callback, void *context)
{
    driver.setCallback(callback, context);
}

EXPORTED void zorvicClearCallback(int, void *, void *)
{
    driver.setCallback(nullptr, nullptr);
}

EXPORTED int zorvicGetDeviceCount()
{
    return 1;
}

EXPORTED bool zorvicEnumDeviceInfo(int, _ZORVIC_DEVICE_INFO *info)
{
    info->kind = 1;
    info->board = boardNumber;
    std::strcpy(info->additionalInfo, "hid<true>");
    return true;
}

} // namespace latency
