#include "commands/virtualscreen.h"

#include "commands/launch.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace lab {

namespace {

constexpr int patience = 20'000; // milliseconds, for the server to start

/// Starts a helper without output; returns its process, or -1.
pid_t start(const std::vector<const char *> &program, const std::string &display)
{
    const pid_t child = fork();
    if (child != 0)
        return child;
    const int nothing = open("/dev/null", O_RDWR);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        dup2(nothing, stream);
    if (!display.empty())
        setenv("DISPLAY", display.c_str(), 1);
    std::vector<char *> arguments;
    for (const char *const argument : program)
        arguments.push_back(const_cast<char *>(argument));
    arguments.push_back(nullptr);
    execvp(arguments.front(), arguments.data());
    _exit(127);
}

void end(pid_t process)
{
    if (process <= 0)
        return;
    kill(process, SIGTERM);
    waitpid(process, nullptr, 0);
}

/// The number that the server writes when it is ready; empty if it does not.
std::string readNumber(int file)
{
    std::string number;
    pollfd input{file, POLLIN, 0};
    while (poll(&input, 1, patience) > 0) {
        char digit = 0;
        if (read(file, &digit, 1) != 1 || digit == '\n')
            break;
        number += digit;
    }
    return number;
}

} // namespace

VirtualScreen::VirtualScreen()
{
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        return;
    const std::string end = std::to_string(ends[1]);
    m_server =
        start({"Xvfb", "-displayfd", end.c_str(), "-screen", "0", "1920x1080x24", "-nolisten", "tcp"}, {});
    close(ends[1]);
    const std::string number = readNumber(ends[0]);
    close(ends[0]);
    if (number.empty()) {
        std::fprintf(stderr, "lanternix-lab: Xvfb does not start (package xvfb)\n");
        return;
    }
    m_display = ":" + number;
    m_windowManager = start({"openbox"}, m_display);
}

VirtualScreen::~VirtualScreen()
{
    end(m_windowManager);
    end(m_server);
}

bool VirtualScreen::save(const std::string &picture) const
{
    Launch launch({"maim", "--hidecursor", picture});
    launch.set("DISPLAY", m_display);
    const int status = launch.run();
    if (status > 0)
        std::fprintf(stderr, "%s:0: no picture could be taken\n", picture.c_str());
    return status == 0;
}

} // namespace lab
