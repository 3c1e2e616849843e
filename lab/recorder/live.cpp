#include "recorder/live.h"

#include "capture/validtext.h"

#include "fields.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <nlohmann/json.hpp>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace recorder {

namespace {

constexpr std::size_t longestLine = 1 << 16; // bytes from a reader

/// The text under @p key; empty if there is none.
std::string textIn(const nlohmann::json &line, const char *key)
{
    if (!line.is_object())
        return {};
    const auto field = line.find(key);
    return field != line.end() && field->is_string() ? field->get<std::string>() : std::string();
}

/// An address for @p name; of length 0 if that is too long for one.
socklen_t addressOf(const std::string &name, sockaddr_un &address)
{
    address = {};
    address.sun_family = AF_UNIX;
    if (name.empty() || name.size() >= sizeof address.sun_path)
        return 0;
    std::memcpy(address.sun_path, name.data(), name.size());
    return static_cast<socklen_t>(sizeof address);
}

bool isListenedAt(const sockaddr_un &address, socklen_t length)
{
    const int caller = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool answers = connect(caller, reinterpret_cast<const sockaddr *>(&address), length) == 0;
    close(caller);
    return answers;
}

/// A socket that listens, or -1 with errno.
int listenAt(const std::string &name)
{
    sockaddr_un address{};
    const socklen_t length = addressOf(name, address);
    if (length == 0) {
        errno = ENAMETOOLONG;
        return -1;
    }
    if (!isListenedAt(address, length))
        unlink(name.c_str());
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    // The mode of a socket is set before it is bound, so that nobody else can come in between.
    fchmod(listener, 0600);
    if (bind(listener, reinterpret_cast<const sockaddr *>(&address), length) == 0
        && chmod(name.c_str(), 0600) == 0 && listen(listener, 8) == 0)
        return listener;
    const int error = errno;
    close(listener);
    errno = error;
    return -1;
}

bool wouldBlock()
{
    return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
}

} // namespace

Live::Live(const std::string &name) : m_name(name)
{
    if (name.empty())
        return;
    m_listener = listenAt(name);
    if (m_listener < 0)
        std::fprintf(stderr, "%s:0: no socket for live readers: %s\n", name.c_str(), std::strerror(errno));
}

Live::~Live()
{
    for (Reader &reader : m_readers) {
        send(reader);
        close(reader.socket);
    }
    if (m_listener < 0)
        return;
    close(m_listener);
    unlink(m_name.c_str());
}

Live::Received Live::serve()
{
    Received received;
    accept();
    const auto hasGone = [&received](Reader &reader) {
        if (receive(reader, received) && send(reader))
            return false;
        close(reader.socket);
        return true;
    };
    m_readers.erase(std::remove_if(m_readers.begin(), m_readers.end(), hasGone), m_readers.end());
    return received;
}

void Live::add(std::string_view lines, bool isKnowledge)
{
    if (m_listener < 0)
        return;
    if (isKnowledge && m_knowledge.size() + lines.size() <= mostKnowledge)
        m_knowledge += lines;
    for (Reader &reader : m_readers)
        add(reader, lines);
}

void Live::answer(int reader, std::string_view line)
{
    for (Reader &candidate : m_readers) {
        if (candidate.number == reader)
            candidate.waiting += line;
    }
}

void Live::accept()
{
    if (m_listener < 0)
        return;
    for (int socket = -1;
         (socket = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK)) >= 0;) {
        if (m_readers.size() == mostReaders)
            close(socket);
        else
            m_readers.push_back({m_accepted++, socket, m_knowledge});
    }
}

void Live::add(Reader &reader, std::string_view lines)
{
    if (reader.waiting.size() + lines.size() > mostWaiting) {
        reader.lost += static_cast<std::uint64_t>(std::count(lines.begin(), lines.end(), '\n'));
        return;
    }
    tellLost(reader);
    reader.waiting += lines;
}

void Live::tellLost(Reader &reader)
{
    if (reader.lost == 0)
        return;
    reader.waiting += R"({"type":"lost","count":)" + std::to_string(reader.lost)
        + R"(,"reader":true})"
          "\n";
    reader.lost = 0;
}

bool Live::send(Reader &reader)
{
    while (!reader.waiting.empty()) {
        const ssize_t sent =
            ::send(reader.socket, reader.waiting.data(), reader.waiting.size(), MSG_NOSIGNAL);
        if (sent < 0)
            return wouldBlock();
        reader.waiting.erase(0, static_cast<std::size_t>(sent));
        if (reader.waiting.empty())
            tellLost(reader); // nothing else may come for long
    }
    return true;
}

bool Live::receive(Reader &reader, Received &received)
{
    std::array<char, 1024> block{};
    for (;;) {
        const ssize_t count = recv(reader.socket, block.data(), block.size(), 0);
        if (count == 0)
            return false;
        if (count < 0)
            return wouldBlock();
        reader.received.append(block.data(), static_cast<std::size_t>(count));
        for (std::size_t end = 0; (end = reader.received.find('\n')) != std::string::npos;) {
            understand(reader, reader.received.substr(0, end), received);
            reader.received.erase(0, end + 1);
        }
        if (reader.received.size() > longestLine)
            return false; // a reader that does not speak this language
    }
}

void Live::understand(const Reader &reader, const std::string &text, Received &received)
{
    const auto line = nlohmann::json::parse(text, nullptr, false);
    const std::string type = textIn(line, "type");
    if (type == "note")
        received.notes.push_back(capture::validText(textIn(line, "text"), boardsim::longestText));
    else if (type == "keep")
        received.wishes.push_back({reader.number, textIn(line, "file")});
}

} // namespace recorder
