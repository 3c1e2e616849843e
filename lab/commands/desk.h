#pragma once

#include "commands/launch.h"
#include "commands/transport.h"
#include "language.h"

#include <chrono>
#include <string>

#include <termios.h>

namespace lab {

/// The keys of a terminal, one by one, as long as it lives; none if standard input or output is no terminal.
class Keys
{
public:
    Keys();
    ~Keys();
    Keys(const Keys &) = delete;
    Keys &operator=(const Keys &) = delete;

    bool isTerminal() const { return m_isTerminal; }
    /// Waits at most @p time for a key, or until @p other, a descriptor, can be read.
    void wait(std::chrono::nanoseconds time, int other) const;
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
    /// @p board is a connection, which it takes over. Keeps a reference to @p program, which calls that
    /// board.
    Desk(int board, const Launch &program);
    ~Desk() override;
    Desk(const Desk &) = delete;
    Desk &operator=(const Desk &) = delete;

    bool hasKeys() const { return m_keys.isTerminal(); }
    Transport::Clock::time_point now() override;
    bool wait(Transport::Clock::time_point deadline) override;
    int key() override { return m_keys.next(); }
    double askForSeconds() override { return m_keys.askForNumber(tr("go to which second? ")); }
    void send(const std::string &line) override;
    /// Shows the line in the place of the one before, but no more lines than a person can read.
    void show(const capture::Line &line, bool isPaused) override;
    void pause(bool isPaused) override;

    /// Nothing more will be sent. Waits until the board has done what it was sent, or the program has ended.
    void finish() const;

private:
    void draw();

    const int m_board;
    const Launch &m_program;
    const Keys m_keys;
    std::string m_told; ///< of the line that was played last
    bool m_isPaused = false;
    Transport::Clock::time_point m_drawn;
};

} // namespace lab
