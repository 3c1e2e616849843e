#pragma once

#include "commands/transport.h"

#include <atomic>
#include <string>
#include <vector>

#include <termios.h>

namespace lab {

/// The keys of a terminal, one by one, as long as it lives; none if standard input is no terminal.
class Keys
{
public:
    Keys();
    ~Keys();
    Keys(const Keys &) = delete;
    Keys &operator=(const Keys &) = delete;

    bool isTerminal() const { return m_isTerminal; }
    /// Waits at most @p time for a key.
    void wait(std::chrono::milliseconds time) const;
    /// The next key, or 0.
    int next() const;
    /// The number that a person types, with what is typed shown.
    double askForNumber(const char *question) const;

private:
    void setEach() const;

    const bool m_isTerminal;
    termios m_former{};
};

/// The world of a replay: the keys of the terminal, and a program whose board does what it is sent.
class Desk : public Transport::World
{
public:
    /// @p board is a connection, which it takes over; @p lines are those of the scenario's steps. Keeps
    /// references to the other two.
    Desk(int board, const std::atomic<bool> &programHasEnded, const std::vector<int> &lines);
    ~Desk() override;
    Desk(const Desk &) = delete;
    Desk &operator=(const Desk &) = delete;

    Transport::Clock::time_point now() override;
    bool wait(Transport::Clock::time_point deadline) override;
    int key() override { return m_keys.next(); }
    double askForSeconds() override { return m_keys.askForNumber("go to which second? "); }
    void send(const std::string &line) override;
    void show(std::size_t step, std::chrono::microseconds time, bool isPaused) override;

private:
    const int m_board;
    const std::atomic<bool> &m_programHasEnded;
    const std::vector<int> &m_lines;
    const Keys m_keys;
};

} // namespace lab
