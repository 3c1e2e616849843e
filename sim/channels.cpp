#include "channels.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace boardsim {

namespace {

constexpr std::size_t longestChannel = 64; // reports

} // namespace

int Channels::open(int board)
{
    m_channels[++m_last].board = board;
    return m_last;
}

bool Channels::close(int board, int channel)
{
    if (!find(board, channel))
        return false;
    m_channels.erase(channel);
    return true;
}

void Channels::clear()
{
    m_channels.clear();
}

bool Channels::deliver(int board, const Bytes &report)
{
    bool delivered = false;
    for (auto &[number, channel] : m_channels) {
        if (channel.board != board)
            continue;
        if (channel.reports.size() == longestChannel)
            channel.reports.pop_front();
        channel.reports.push_back(report);
        delivered = true;
    }
    return delivered;
}

bool Channels::hasAnswer(int board, int channel)
{
    const Channel *const open = find(board, channel);
    return !open || !open->reports.empty();
}

int Channels::take(int board, int channel, void *buffer, int size)
{
    Channel *const open = find(board, channel);
    if (!open)
        return -1;
    if (open->reports.empty())
        return 0;
    const Bytes report = std::move(open->reports.front());
    open->reports.pop_front();
    std::copy_n(report.begin(), std::min(report.size(), static_cast<std::size_t>(size)),
                static_cast<std::uint8_t *>(buffer));
    return static_cast<int>(report.size());
}

Channels::Channel *Channels::find(int board, int channel)
{
    const auto found = m_channels.find(channel);
    return found == m_channels.end() || found->second.board != board ? nullptr : &found->second;
}

} // namespace boardsim
