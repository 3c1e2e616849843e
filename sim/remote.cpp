#include "remote.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <variant>

#include <nlohmann/json.hpp>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace boardsim {

namespace {

constexpr const char *controlVariable = "BOARDSIM_CONTROL";
constexpr auto look = std::chrono::milliseconds(1); // at the socket

int connectTo(const char *name)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string_view path = name ? name : "";
    if (path.empty() || path.size() >= sizeof address.sun_path)
        return -1;
    path.copy(address.sun_path, path.size());
    const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (connect(connection, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0)
        return connection;
    std::fprintf(stderr, "%s:0: nobody conducts the board: %s\n", name, std::strerror(errno));
    close(connection);
    return -1;
}

} // namespace

Remote::Remote(const Scenario &scenario) : m_socket(connectTo(std::getenv(controlVariable)))
{
    m_lines.read(R"({"type":"scenario","version":2})", 0);
    m_lines.scenario().devices = scenario.devices;
}

Remote::~Remote()
{
    if (m_socket >= 0)
        close(m_socket);
}

bool Remote::play(Stage &stage)
{
    for (bool isOpen = true; isOpen;) {
        isOpen = receive(); // what came before the end is obeyed, too
        obeyLines(stage);
        if (!stage.waitUntil(stage.now() + (isOpen ? look : Clock::duration::zero())))
            return false;
    }
    return true;
}

/// Takes in what has come; false at the end of the connection.
bool Remote::receive()
{
    std::array<char, 4096> block{};
    for (;;) {
        const ssize_t count = recv(m_socket, block.data(), block.size(), 0);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return errno == EAGAIN || errno == EWOULDBLOCK;
        if (count == 0)
            return false;
        m_received.append(block.data(), static_cast<std::size_t>(count));
    }
}

void Remote::obeyLines(Stage &stage)
{
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = m_received.find('\n', begin)) != std::string::npos; begin = end + 1)
        obey(m_received.substr(begin, end - begin), stage);
    m_received.erase(0, begin);
}

void Remote::obey(const std::string &line, Stage &stage)
{
    ScenarioLines attempt = m_lines; // a wrong line leaves nothing behind
    if (!attempt.read(line, ++m_count)) {
        std::fprintf(stderr, "control:%d: %s\n", m_count, attempt.error().c_str());
        return;
    }
    for (const Step &step : attempt.scenario().steps) {
        if (const auto *const report = std::get_if<SendReport>(&step))
            stage.deliver(report->board, report->report);
        else if (const auto *const plug = std::get_if<Plug>(&step))
            stage.plug(plug->board, plug->plugged);
        else if (const auto *const mark = std::get_if<Mark>(&step))
            stage.mark(mark->text);
    }
}

} // namespace boardsim
