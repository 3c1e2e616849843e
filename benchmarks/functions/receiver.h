#pragma once

#include "timing.h"

#include <QObject>
#include <QThread>

#include <atomic>
#include <thread>

/// An object on its own thread, which runs an event loop as the GUI thread does.
class Receiver : public QObject
{
public:
    Receiver()
    {
        m_thread.start();
        moveToThread(&m_thread);
    }

    ~Receiver() override
    {
        m_thread.quit();
        m_thread.wait();
    }

    void take() { ++m_taken; }
    int taken() const { return m_taken; }

private:
    std::atomic<int> m_taken = 0;
    QThread m_thread;
};

/// Measures how long @p send keeps the calling thread, call by call. Each call makes @p receiver take one.
/// If @p asleep, the receiver's thread has nothing left to do before each call and has to be woken.
template <typename Send>
void measure_sending(benchmark::State &state, const Receiver &receiver, bool asleep, Send send)
{
    constexpr int at_once = 100;
    std::vector<double> times;
    int sent = receiver.taken();
    for (auto _ : state) {
        double sum = 0;
        for (int i = 0; i < at_once; ++i) {
            times.push_back(nanoseconds(send));
            sum += times.back();
            ++sent;
            if (asleep) {
                while (receiver.taken() != sent)
                    std::this_thread::yield();
                std::this_thread::sleep_for(std::chrono::microseconds(200)); // until its loop waits again
            }
        }
        while (receiver.taken() != sent)
            std::this_thread::yield();
        state.SetIterationTime(sum * 1e-9 / at_once);
    }
    state.counters["median_us"] = median(times) / 1000;
    state.counters["p99_us"] = quantile(times, 0.99) / 1000;
}
