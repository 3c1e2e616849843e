#include "probe/child.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace probe {

namespace {

/// @p command with the number of a descriptor behind the program's name.
std::vector<std::string> withDescriptor(std::vector<std::string> command, int file)
{
    command.insert(command.begin() + 1, std::to_string(file));
    return command;
}

/// A pipe; the end to read from is the command's own.
std::array<int, 2> makePipe()
{
    std::array<int, 2> ends{-1, -1};
    if (pipe(ends.data()) == 0)
        fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    return ends;
}

} // namespace

Child::Child(std::vector<std::string> command, double patience)
    : Child(std::move(command), patience, makePipe())
{
}

Child::Child(std::vector<std::string> command, double patience, std::array<int, 2> ends)
    : m_patience(patience), m_answers(ends[0]), m_end(ends[1]),
      m_launch(withDescriptor(std::move(command), ends[1]))
{
    m_launch.keepOffOutput();
}

Child::~Child()
{
    for (const int file : {m_answers, m_end}) {
        if (file >= 0)
            close(file);
    }
}

Ending Child::run(const std::function<void(const Json &)> &take)
{
    m_take = take;
    // The process has to start before it can begin a step.
    m_deadline = Clock::now() + std::chrono::seconds(30);
    m_ending.kind = Ending::Kind::exited;
    if (!m_launch.start())
        return m_ending;
    close(std::exchange(m_end, -1));
    while (waitForMore()) { }
    finish();
    return m_ending;
}

/// False when there is nothing to wait for any more.
bool Child::waitForMore()
{
    // poll() looks at them in this order: if the child has ended, its last line is there at the second look.
    std::array<pollfd, 2> files{pollfd{m_launch.ending(), POLLIN, 0}, pollfd{m_answers, POLLIN, 0}};
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_deadline - Clock::now()).count();
    const int ready = left > 0 ? poll(files.data(), files.size(), static_cast<int>(left)) : 0;
    if (ready < 0)
        return errno == EINTR;
    if (ready == 0) {
        m_launch.kill();
        m_ending.kind = Ending::Kind::hung;
        return false;
    }
    if (files[1].revents != 0)
        return receive();
    return false; // it has ended, and another process may still have its end of the pipe
}

/// Reads what is there. False at its end, when only the child's own end is left to come.
bool Child::receive()
{
    std::array<char, 65536> block{};
    const ssize_t count = read(m_answers, block.data(), block.size());
    if (count < 0)
        return errno == EINTR;
    if (count == 0) {
        close(std::exchange(m_answers, -1));
        return true;
    }
    m_received.append(block.data(), static_cast<std::size_t>(count));
    for (std::size_t end = 0; (end = m_received.find('\n')) != std::string::npos;
         m_received.erase(0, end + 1))
        takeLine(m_received.substr(0, end));
    return true;
}

void Child::takeLine(const std::string &text)
{
    const Json line = Json::parse(text, nullptr, false);
    if (!line.is_object())
        return;
    if (line.contains("begin")) {
        m_ending.step = line.value("begin", "");
        const std::chrono::duration<double> time(m_patience + line.value("seconds", 0.0));
        m_deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(time);
    }
    if (line.contains("end") && m_ending.kind != Ending::Kind::refused)
        m_ending.kind = Ending::Kind::whole;
    if (line.contains("refused")) {
        m_ending.kind = Ending::Kind::refused;
        m_ending.cause = line.value("refused", "");
    }
    m_take(line);
}

void Child::finish()
{
    constexpr int signalled = 128; // see Launch::wait
    const int status = m_launch.wait();
    if (m_ending.kind != Ending::Kind::exited)
        return;
    m_ending.status = status;
    if (status <= signalled)
        return;
    m_ending.kind = Ending::Kind::crashed;
    m_ending.cause = sigdescr_np(status - signalled);
}

} // namespace probe
