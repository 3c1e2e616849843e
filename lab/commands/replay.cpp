#include "commands/command.h"
#include "commands/desk.h"
#include "commands/files.h"
#include "commands/launch.h"
#include "commands/lock.h"
#include "commands/transport.h"
#include "commands/virtualscreen.h"

#include "scenarioreader.h"

#include <atomic>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace lab {

namespace {

using std::chrono::milliseconds;

struct Options
{
    std::string file;
    std::string speed = "1";
    bool loops = false;
    bool headless = false;
    std::string screenshot;
};

/// 0 for "max"; nothing if it is no speed.
std::optional<double> speedOf(const std::string &text)
{
    double speed = 0;
    const char *const end = text.data() + text.size();
    if (text == "max")
        return 0;
    const auto [rest, error] = std::from_chars(text.data(), end, speed);
    if (error != std::errc() || rest != end || speed <= 0)
        return {};
    return speed;
}

/// A local socket at which the board of one program calls.
class Listener
{
public:
    Listener() : m_name(runtimeFolder() + "/replay-" + std::to_string(getpid()) + ".sock")
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        if (m_name.size() >= sizeof address.sun_path)
            return;
        std::memcpy(address.sun_path, m_name.data(), m_name.size());
        unlink(m_name.c_str());
        m_socket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (bind(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0
            || listen(m_socket, 1) != 0)
            std::fprintf(stderr, "%s:0: cannot be listened at: %s\n", m_name.c_str(), std::strerror(errno));
    }
    ~Listener()
    {
        close(m_socket);
        unlink(m_name.c_str());
    }
    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;

    const std::string &name() const { return m_name; }
    /// The connection of the board; -1 if the program ends before it calls.
    int accept(const std::atomic<bool> &programHasEnded) const
    {
        constexpr int look = 50; // milliseconds
        pollfd caller{m_socket, POLLIN, 0};
        while (!programHasEnded) {
            if (poll(&caller, 1, look) > 0)
                return accept4(m_socket, nullptr, nullptr, SOCK_CLOEXEC);
        }
        return -1;
    }

private:
    const std::string m_name;
    int m_socket = -1;
};

/// The program, running beside the replay.
class Running
{
public:
    explicit Running(Launch &launch)
        : m_thread([this, &launch] {
              m_status = launch.run();
              m_hasEnded = true;
          })
    {
    }
    ~Running() { m_thread.join(); }
    Running(const Running &) = delete;
    Running &operator=(const Running &) = delete;

    const std::atomic<bool> &hasEnded() const { return m_hasEnded; }
    int wait()
    {
        while (!m_hasEnded)
            std::this_thread::sleep_for(milliseconds(20));
        return m_status;
    }

private:
    std::atomic<bool> m_hasEnded = false;
    std::atomic<int> m_status = -1;
    std::thread m_thread;
};

int play(const Options &options, const boardsim::Scenario &scenario, double speed,
         const VirtualScreen *screen, Launch &launch)
{
    const Listener listener;
    launch.set("BOARDSIM_CONTROL", listener.name());
    Running program(launch);
    const int board = listener.accept(program.hasEnded());
    if (board < 0)
        return program.wait() == 0 ? success : unreadable;
    Desk desk(board, program.hasEnded(), scenario.lines);
    const bool hasEnded = Transport(scenario, desk, {speed, options.loops}).play();
    bool isSaved = true;
    if (screen) {
        std::this_thread::sleep_for(milliseconds(500)); // the last report is painted within a tick
        isSaved = options.screenshot.empty() || screen->save(options.screenshot);
        launch.end();
    } else if (!hasEnded) {
        launch.end();
    }
    const int status = program.wait();
    return isSaved && (status == 0 || screen) ? success : unreadable;
}

int replay(const Options &options)
{
    const auto speed = speedOf(options.speed);
    if (!speed) {
        std::fprintf(stderr, "lanternix-lab: \"%s\" is neither a speed nor max\n", options.speed.c_str());
        return unreadable;
    }
    std::string error;
    const auto scenario = boardsim::readScenarioFile(options.file, error);
    if (!error.empty())
        std::fprintf(stderr, "%s\n", error.c_str());
    const std::string driver = findSimulatedDriver();
    const std::string program = findProgram();
    if (!scenario || driver.empty() || program.empty())
        return unreadable;

    std::unique_ptr<VirtualScreen> screen;
    Launch launch({program});
    if (options.headless) {
        screen = std::make_unique<VirtualScreen>();
        if (!screen->isThere())
            return unreadable;
        launch.set("DISPLAY", screen->display());
    }
    launch.prependPath("LD_LIBRARY_PATH", folderOf(driver));
    launch.set("BOARDSIM_SCENARIO", absolute(options.file));
    return play(options, *scenario, *speed, screen.get(), launch);
}

} // namespace

void addReplay(CLI::App &lab, int &status)
{
    CLI::App &command =
        *lab.add_subcommand("replay", "Start lanternix on a recording, which the simulated board plays");
    const auto options = std::make_shared<Options>();
    command.add_option("FILE", options->file, "The recording or scenario")->required();
    command.add_option("--speed", options->speed, "How many times as fast as it was recorded, or max")
        ->type_name("N|max")
        ->capture_default_str();
    command.add_flag("--loop", options->loops, "Play it over and over");
    CLI::Option *const headless = command.add_flag(
        "--headless", options->headless, "Use a screen of its own, which nobody sees, and end with the play");
    command.add_option("--screenshot", options->screenshot, "Save the last picture of that screen as a PNG")
        ->type_name("OUT.png")
        ->needs(headless);
    command.footer(
        "Keys on a terminal: space pauses and goes on, n plays the next report, N up to the next change of "
        "contacts, b goes back by one report, g goes to a time, q ends.");
    command.callback([options, &status] { status = replay(*options); });
}

} // namespace lab
