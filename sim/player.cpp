#include "player.h"

#include "move.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace boardsim {

namespace {

constexpr auto filePoll = std::chrono::milliseconds(2);

// A round of an endless block takes at least this long: a body that takes no time would flood the program
// with reports.
constexpr auto shortestRound = std::chrono::milliseconds(1);

bool exists(const std::string &path)
{
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

} // namespace

Player::Player(const Scenario &scenario, Stage &stage) : m_scenario(scenario), m_stage(stage) { }

bool Player::play()
{
    m_begin = m_due = m_stage.now();
    m_next = 0;
    m_blocks.clear();
    while (m_next < m_scenario.steps.size()) {
        const Step &step = m_scenario.steps[m_next++];
        if (!m_stage.waitUntil(m_due))
            return false;
        m_stage.begins(m_next - 1);
        if (!std::visit([this](const auto &kind) { return play(kind); }, step))
            return false;
    }
    return m_stage.waitUntil(m_due);
}

bool Player::play(const SendReport &step)
{
    m_stage.deliver(step.board, step.report);
    return true;
}

bool Player::play(const Move &step)
{
    const std::int64_t count = sampleCount(step);
    for (std::int64_t sample = 0; sample < count; ++sample) {
        if (!m_stage.waitUntil(m_due + sampleTime(step, sample)))
            return false;
        deliverAll(step.board, sampleReports(step, sample));
    }
    m_due += std::chrono::microseconds(step.time);
    if (!step.lift)
        return true;
    if (!m_stage.waitUntil(m_due))
        return false;
    deliverAll(step.board, liftReports(step));
    return true;
}

bool Player::play(const WaitForTime &step)
{
    m_due += std::chrono::microseconds(step.time);
    return true;
}

bool Player::play(const WaitUntilTime &step)
{
    m_due = std::max(m_due, m_begin + std::chrono::microseconds(step.time));
    return true;
}

bool Player::play(const WaitForFile &step)
{
    while (!exists(step.path)) {
        if (!m_stage.waitUntil(m_stage.now() + filePoll))
            return false;
    }
    m_due = std::max(m_due, m_stage.now());
    return true;
}

bool Player::play(const Repeat &step)
{
    m_blocks.push_back({step.count, m_due});
    return true;
}

bool Player::play(const End &step)
{
    Block &block = m_blocks.back();
    if (block.roundsLeft && --*block.roundsLeft == 0) {
        m_blocks.pop_back();
        return true;
    }
    if (!block.roundsLeft)
        m_due = std::max(m_due, block.roundStart + shortestRound);
    block.roundStart = m_due;
    m_next = step.repeat + 1;
    return true;
}

bool Player::play(const Plug &step)
{
    m_stage.plug(step.board, step.plugged);
    return true;
}

bool Player::play(const Mark &step)
{
    m_stage.mark(step.text);
    return true;
}

void Player::deliverAll(int board, const std::vector<Bytes> &reports)
{
    for (const Bytes &report : reports)
        m_stage.deliver(board, report);
}

} // namespace boardsim
