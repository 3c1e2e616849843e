#include "recorder/trace.h"

#include "capture/signals.h"
#include "recorder/clock.h"
#include "recorder/traceclock.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <utility>

namespace recorder {

namespace {

constexpr std::int64_t second = 1'000'000'000; // nanoseconds

std::string nameOf(int board, const char *value)
{
    return "board" + std::to_string(board) + "_" + value;
}

/// Whether a signal has only the values 0 and 1.
bool isBit(const std::string &name)
{
    const std::string value = name.substr(name.rfind('_') + 1);
    return value == "tip" || value == "button" || value == "down";
}

} // namespace

Trace::Trace(std::string file, std::size_t most)
    : m_file(std::move(file)), m_most(most), m_begin(now()), m_beginOfClock(std::chrono::system_clock::now())
{
    errno = 0;
    m_isOpen = std::ofstream(m_file, std::ios::trunc).is_open();
    if (!m_isOpen)
        std::fprintf(stderr, "%s:0: cannot be opened: %s; there is no waveform\n", m_file.c_str(),
                     std::strerror(errno));
}

void Trace::addReport(int board, const std::uint8_t *bytes, std::size_t size, std::int64_t begin)
{
    Rate &rate = m_rates[board];
    follow(board, rate, begin);
    ++rate.reports;
    capture::decode(bytes, size, m_report);
    for (const capture::Contact &contact : m_report.contacts) {
        for (const capture::SignalValue &value : capture::valuesOf(m_report.kind, contact))
            change(capture::signalName(board, m_report.kind, contact.id, value.name), value.value, begin);
    }
}

void Trace::addReturn(int board, std::int64_t begin, std::int64_t end)
{
    change(nameOf(board, "inside_us"), static_cast<double>(end - begin) / 1000, end);
}

void Trace::write(std::int64_t time)
{
    if (!m_isOpen)
        return;
    for (auto &[board, rate] : m_rates)
        follow(board, rate, time);
    if (m_changes == m_written)
        return;
    m_written = m_changes;
    Vcd::write_vcd(m_file);
    writeView(time - m_begin);
}

void Trace::follow(int board, Rate &rate, std::int64_t time)
{
    const std::int64_t current = secondOf(time);
    if (current <= rate.second)
        return;
    const std::string name = nameOf(board, "reports_per_second");
    change(name, rate.reports, m_begin + (rate.second + 1) * second);
    if (current > rate.second + 1)
        change(name, 0, m_begin + (rate.second + 2) * second);
    rate = {current, 0};
}

void Trace::change(const std::string &name, double value, std::int64_t time)
{
    if (!m_isOpen || m_changes == m_most)
        return;
    const TraceClock clock(m_beginOfClock
                           + std::chrono::duration_cast<std::chrono::system_clock::duration>(
                               std::chrono::nanoseconds(time - m_begin)));
    const auto signal = m_signals.find(name);
    if (signal != m_signals.end() && signal->second.last == value)
        return;
    if (signal == m_signals.end())
        m_signals.insert({name, {Vcd(name, value), value}});
    else
        signal->second.vcd.update(signal->second.last = value);
    if (++m_changes == m_most)
        std::fprintf(stderr, "%s:0: has %zu changes, which is all it may have; it ends here\n",
                     m_file.c_str(), m_most);
}

void Trace::writeView(std::int64_t length) const
{
    constexpr double ticks = 4; // of 200 pixels, over which the viewer spreads the session
    const std::string name = std::filesystem::path(m_file).replace_extension(".gtkw").string();
    std::ofstream file(name, std::ios::trunc);
    file << "[dumpfile] \"" << std::filesystem::absolute(m_file).string() << "\"\n"
         << "[timestart] 0\n[size] 1200 800\n[pos] -1 -1\n"
         << '*' << -std::log2(std::max(1.0, static_cast<double>(length) / ticks)) << " 0\n"
         << "[sst_expanded] 0\n";
    for (const auto &[signal, handle] : m_signals) {
        // A real number as an analog curve of steps, over its full range, and a second row for it to use.
        file << "@c8420\nlogic." << signal << '\n';
        if (!isBit(signal))
            file << "@20000\n-\n";
    }
}

} // namespace recorder
