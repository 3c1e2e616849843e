#include "commands/desk.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <thread>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace lab {

using std::chrono::milliseconds;

Keys::Keys() : m_isTerminal(isatty(STDIN_FILENO) != 0)
{
    if (!m_isTerminal)
        return;
    tcgetattr(STDIN_FILENO, &m_former);
    setEach();
}

Keys::~Keys()
{
    if (m_isTerminal)
        tcsetattr(STDIN_FILENO, TCSANOW, &m_former);
}

void Keys::setEach() const
{
    termios each = m_former;
    each.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    tcsetattr(STDIN_FILENO, TCSANOW, &each);
}

void Keys::wait(milliseconds time) const
{
    if (!m_isTerminal) {
        std::this_thread::sleep_for(time);
        return;
    }
    pollfd input{STDIN_FILENO, POLLIN, 0};
    poll(&input, 1, static_cast<int>(time.count()));
}

int Keys::next() const
{
    pollfd input{STDIN_FILENO, POLLIN, 0};
    char key = 0;
    const bool hasCome = m_isTerminal && poll(&input, 1, 0) > 0 && read(STDIN_FILENO, &key, 1) == 1;
    return hasCome ? key : 0;
}

double Keys::askForNumber(const char *question) const
{
    tcsetattr(STDIN_FILENO, TCSANOW, &m_former);
    std::printf("\r\x1b[K%s", question);
    std::fflush(stdout);
    std::array<char, 40> typed{};
    const ssize_t count = read(STDIN_FILENO, typed.data(), typed.size() - 1); // a line
    setEach();
    return count > 0 ? std::strtod(typed.data(), nullptr) : 0;
}

Desk::Desk(int board, const std::atomic<bool> &programHasEnded, const std::vector<int> &lines)
    : m_board(board), m_programHasEnded(programHasEnded), m_lines(lines)
{
}

Desk::~Desk()
{
    close(m_board);
    if (m_keys.isTerminal())
        std::printf("\n");
}

Transport::Clock::time_point Desk::now()
{
    return Transport::Clock::now();
}

bool Desk::wait(Transport::Clock::time_point deadline)
{
    constexpr milliseconds longest(50); // until it looks whether the program has ended
    // Keys come between milliseconds at best; what is left of one is slept.
    const auto left = deadline - now();
    if (left < milliseconds(1))
        std::this_thread::sleep_for(std::max(left, Transport::Clock::duration::zero()));
    else
        m_keys.wait(std::min(longest, std::chrono::floor<milliseconds>(left)));
    return !m_programHasEnded;
}

void Desk::send(const std::string &line)
{
    std::string_view rest = line;
    while (!rest.empty()) {
        const ssize_t sent = ::send(m_board, rest.data(), rest.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR)
            return; // the program has ended, which wait() tells
        rest.remove_prefix(sent < 0 ? 0 : static_cast<std::size_t>(sent));
    }
}

void Desk::show(std::size_t step, std::chrono::microseconds time, bool isPaused)
{
    if (!m_keys.isTerminal())
        return;
    std::printf("\r%12.6f s  line %d%s\x1b[K", static_cast<double>(time.count()) / 1e6, m_lines.at(step),
                isPaused ? "  PAUSED" : "");
    std::fflush(stdout);
}

} // namespace lab
