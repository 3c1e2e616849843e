#include "commands/desk.h"

#include "commands/eventtext.h"
#include "language.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace lab {

namespace {

constexpr std::chrono::milliseconds pictureTime(20); // between two lines that a person reads

std::string lineText(const capture::Line &line)
{
    if (line.type != capture::Line::Type::report)
        return timeText(line) + "  " + eventText(line);
    capture::Report report;
    capture::decode(line.bytes.data(), line.bytes.size(), report);
    return timeText(line) + "  " + reportText(line, report);
}

} // namespace

Keys::Keys() : m_isTerminal(isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0)
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

void Keys::wait(std::chrono::nanoseconds time, int other) const
{
    // poll() passes over a descriptor below 0.
    std::array<pollfd, 2> files{pollfd{m_isTerminal ? STDIN_FILENO : -1, POLLIN, 0},
                                pollfd{other, POLLIN, 0}};
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    const timespec limit{seconds.count(), (time - seconds).count()};
    ppoll(files.data(), files.size(), &limit, nullptr);
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

Desk::Desk(int board, const Launch &program) : m_board(board), m_program(program) { }

Desk::~Desk()
{
    close(m_board);
    draw();
    if (m_keys.isTerminal())
        std::printf("\n");
}

Transport::Clock::time_point Desk::now()
{
    return Transport::Clock::now();
}

bool Desk::wait(Transport::Clock::time_point deadline)
{
    const auto left = std::max(deadline - now(), Transport::Clock::duration::zero());
    if (left >= pictureTime)
        draw();
    m_keys.wait(left, m_program.ending());
    return !m_program.hasEnded();
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

void Desk::show(const capture::Line &line, bool isPaused)
{
    if (!m_keys.isTerminal())
        return;
    m_told = std::to_string(line.number) + ": " + lineText(line);
    m_isPaused = isPaused;
    if (isPaused || now() - m_drawn >= pictureTime)
        draw();
}

void Desk::pause(bool isPaused)
{
    m_isPaused = isPaused;
    draw();
}

void Desk::draw()
{
    if (!m_keys.isTerminal())
        return;
    m_drawn = Transport::Clock::now();
    winsize size{};
    const bool isKnown = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
    // A line that fills the last column would wrap, and the next one would not replace it.
    const std::size_t width = isKnown ? size.ws_col - 1U : 79;
    // TRANSLATORS: the replay is; in capital letters.
    const std::string state = m_isPaused ? std::string(tr("PAUSED")) + "  " : "";
    std::printf("\r%s\x1b[K", beginningOf(state + m_told, width).c_str());
    std::fflush(stdout);
}

void Desk::finish() const
{
    shutdown(m_board, SHUT_WR);
    std::array<pollfd, 2> files{pollfd{m_board, POLLIN, 0}, pollfd{m_program.ending(), POLLIN, 0}};
    while (poll(files.data(), files.size(), -1) < 0 && errno == EINTR) { }
}

} // namespace lab
