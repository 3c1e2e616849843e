#include "commands/recordingsocket.h"

#include "commands/launch.h"
#include "commands/lock.h"
#include "language.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace lab {

namespace {

namespace fs = std::filesystem;

constexpr const char *prefix = "recording-"; // sockets of replays are in the same folder

/// -1 with errno if nobody listens there.
int connectTo(const std::string &name)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (name.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return -1;
    }
    std::memcpy(address.sun_path, name.data(), name.size());
    const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(connection, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0)
        return connection;
    const int error = errno;
    close(connection);
    errno = error;
    return -1;
}

/// A recording that was killed leaves its socket behind, so that not every socket has a recorder.
int connectToNewest()
{
    std::error_code ignored;
    std::multimap<fs::file_time_type, std::string, std::greater<>> sockets; // newest first
    for (const fs::directory_entry &entry : fs::directory_iterator(runtimeFolder(), ignored)) {
        if (entry.path().filename().string().rfind(prefix, 0) == 0 && entry.path().extension() == ".sock")
            sockets.emplace(entry.last_write_time(ignored), entry.path().string());
    }
    for (const auto &[time, name] : sockets) {
        if (const int connection = connectTo(name); connection >= 0)
            return connection;
    }
    complain(tr("nothing is being recorded"));
    return -1;
}

} // namespace

std::string nameOfRecordingSocket()
{
    return runtimeFolder() + "/" + prefix + std::to_string(getpid()) + ".sock";
}

int connectToRecording(const std::string &name)
{
    if (name.empty())
        return connectToNewest();
    const int connection = connectTo(name);
    if (connection < 0)
        std::fprintf(stderr, tr("%s:0: no recording answers: %s\n"), name.c_str(), std::strerror(errno));
    return connection;
}

int awaitRecording(const std::string &name, const Launch &program)
{
    constexpr int look = 20; // milliseconds, between two looks at the socket
    for (;;) {
        if (const int connection = connectTo(name); connection >= 0)
            return connection;
        pollfd ending{program.ending(), POLLIN, 0};
        if (poll(&ending, 1, look) > 0)
            return -1;
    }
}

} // namespace lab
