#include "commands/livelines.h"

#include "commands/json.h"

#include "capture/lines.h"

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace lab {

LiveLines::LiveLines(int connection) : m_connection(connection)
{
    if (m_connection >= 0)
        fcntl(m_connection, F_SETFL, fcntl(m_connection, F_GETFL) | O_NONBLOCK);
}

LiveLines::~LiveLines()
{
    if (m_connection >= 0)
        close(m_connection);
}

void LiveLines::receive(const Follower &follow)
{
    std::array<char, 1 << 16> block{};
    for (;;) {
        const ssize_t count = read(m_connection, block.data(), block.size());
        if (count < 0 && errno == EINTR)
            continue;
        m_hasEnded = m_hasEnded || count == 0 || (count < 0 && errno != EAGAIN);
        if (count <= 0)
            return;
        m_received.append(block.data(), static_cast<std::size_t>(count));
        followLines(follow);
    }
}

void LiveLines::sendNote(const std::string &text) const
{
    const std::string line =
        Json{{"type", "note"}, {"text", text}}.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
    [[maybe_unused]] const ssize_t sent = send(m_connection, line.data(), line.size(), MSG_NOSIGNAL);
}

void LiveLines::followLines(const Follower &follow)
{
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = m_received.find('\n', begin)) != std::string::npos; begin = end + 1) {
        m_line.assign(m_received, begin, end - begin);
        m_line.reserve(m_line.size() + capture::padding);
        if (m_parser.parse(m_line, ++m_number, true) != capture::LineParser::Result::line)
            continue;
        follow(m_parser.line());
        m_hasEnded = m_hasEnded || m_parser.line().type == capture::Line::Type::end;
    }
    m_received.erase(0, begin);
}

} // namespace lab
