#include "commands/virtualscreen.h"

#include "capture/newfile.h"
#include "language.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace lab {

namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds patience(20'000); // for a helper to start, and for the screen to rest
constexpr std::chrono::milliseconds look(10);

/// Starts a helper that writes to @p output, or nowhere if that is below 0; returns its process, or -1.
pid_t start(const std::vector<const char *> &program, const std::string &display, int output = -1)
{
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child != 0)
        return child;
    prctl(PR_SET_PDEATHSIG, SIGTERM); // also if the command is killed
    if (getppid() != parent)
        _exit(1);
    const int nothing = open("/dev/null", O_RDWR);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        dup2(stream == STDOUT_FILENO && output >= 0 ? output : nothing, stream);
    if (!display.empty())
        setenv("DISPLAY", display.c_str(), 1);
    std::vector<char *> arguments;
    arguments.reserve(program.size() + 1);
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

/// Runs a helper without output; whether it succeeds.
bool succeeds(const std::vector<const char *> &program, const std::string &display)
{
    int status = 0;
    const pid_t child = start(program, display);
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// The number that the server writes when it is ready; empty if it does not.
std::string readNumber(int file)
{
    std::string number;
    pollfd input{file, POLLIN, 0};
    while (poll(&input, 1, static_cast<int>(patience.count())) > 0) {
        char digit = 0;
        if (read(file, &digit, 1) != 1 || digit == '\n')
            break;
        number += digit;
    }
    return number;
}

/// Waits until windows are managed, which a window shown before would not be placed like; false if they never
/// are.
bool hasWindowManager(const std::string &display)
{
    const auto deadline = steady_clock::now() + patience;
    while (!succeeds({"xdotool", "get_num_desktops"}, display)) {
        if (steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(look);
    }
    return true;
}

/// A picture of the screen as the bytes of a PNG file; empty if none could be taken.
std::string pictureOf(const std::string &display)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        return {};
    const pid_t child = start({"maim", "--hidecursor", "--format=png"}, display, ends[1]);
    close(ends[1]);
    std::string picture;
    std::array<char, 1 << 16> block{};
    for (ssize_t count = 0; (count = read(ends[0], block.data(), block.size())) > 0;)
        picture.append(block.data(), static_cast<std::size_t>(count));
    close(ends[0]);
    if (child > 0)
        waitpid(child, nullptr, 0);
    return picture;
}

/// The picture, once two in a row are equal; empty if that does not come, or none can be taken.
std::string pictureAtRest(const std::string &display)
{
    const auto deadline = steady_clock::now() + patience;
    for (std::string former = pictureOf(display); !former.empty() && steady_clock::now() < deadline;) {
        std::string latest = pictureOf(display);
        if (latest == former)
            return latest;
        former = std::move(latest);
    }
    complain(tr("no picture of a screen at rest can be taken (package maim)"));
    return {};
}

} // namespace

VirtualScreen::VirtualScreen(const std::string &size)
    : VirtualScreen({"Xvfb", "-screen", "0", size + "x24"}, "xvfb")
{
}

VirtualScreen::VirtualScreen(std::vector<std::string> server, const std::string &package)
{
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        return;
    // Without -noreset, it begins again when the last client has gone, such as one that looks for the window
    // manager before that has come, which it then throws out.
    server.insert(server.end(), {"-displayfd", std::to_string(ends[1]), "-nolisten", "tcp", "-noreset"});
    std::vector<const char *> arguments;
    arguments.reserve(server.size());
    for (const std::string &argument : server)
        arguments.push_back(argument.c_str());
    m_server = start(arguments, {});
    close(ends[1]);
    const std::string number = readNumber(ends[0]);
    close(ends[0]);
    if (number.empty()) {
        complain(tr("%s does not start (package %s)"), arguments.front(), package.c_str());
        return;
    }
    m_display = ":" + number;
    m_windowManager = start({"openbox"}, m_display);
    if (!hasWindowManager(m_display)) {
        complain(tr("openbox does not start (packages openbox and xdotool)"));
        m_display.clear();
    }
}

VirtualScreen::~VirtualScreen()
{
    end(m_windowManager);
    end(m_server);
}

bool VirtualScreen::awaitWindow(const Launch &program) const
{
    const auto deadline = steady_clock::now() + patience;
    while (!succeeds({"xdotool", "search", "--onlyvisible", "--class", "lanternix"}, m_display)) {
        if (program.hasEnded() || steady_clock::now() > deadline) {
            complain(tr("lanternix shows no window"));
            return false;
        }
        std::this_thread::sleep_for(look);
    }
    return !pictureAtRest(m_display).empty();
}

bool VirtualScreen::press(const std::string &key) const
{
    return succeeds({"xdotool", "key", key.c_str()}, m_display);
}

bool VirtualScreen::save(const std::string &name) const
{
    const std::string picture = pictureAtRest(m_display);
    if (picture.empty())
        return false;
    capture::NewFile file(name);
    if (!file.stream())
        return false;
    std::fwrite(picture.data(), 1, picture.size(), file.stream());
    return file.finish();
}

} // namespace lab
