#include "commands/command.h"
#include "commands/desk.h"
#include "commands/files.h"
#include "commands/launch.h"
#include "commands/lock.h"
#include "commands/transport.h"
#include "commands/virtualscreen.h"
#include "language.h"

#include "scenarioreader.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace lab {

namespace {

struct ReplayOptions
{
    std::string file;
    std::string speed = "1";
    bool loops = false;
    bool headless = false;
    std::string screenshot;
    std::string output; ///< a recording of the replay; empty for none
};

/// 0 for "max"; nothing if it is no speed.
std::optional<double> speedOf(const std::string &text)
{
    double speed = 0;
    const char *const end = text.data() + text.size();
    if (text == "max")
        return 0;
    const auto [rest, error] = std::from_chars(text.data(), end, speed);
    if (error != std::errc() || rest != end || speed <= 0 || !std::isfinite(speed))
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
            std::fprintf(stderr, tr("%s:0: cannot be listened at: %s\n"), m_name.c_str(),
                         std::strerror(errno));
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
    int accept(const Launch &program) const
    {
        std::array<pollfd, 2> files{pollfd{m_socket, POLLIN, 0}, pollfd{program.ending(), POLLIN, 0}};
        while (poll(files.data(), files.size(), -1) < 0 && errno == EINTR) { }
        return files[0].revents != 0 ? accept4(m_socket, nullptr, nullptr, SOCK_CLOEXEC) : -1;
    }

private:
    const std::string m_name;
    int m_socket = -1;
};

int play(const ReplayOptions &options, const boardsim::Scenario &scenario, double speed,
         const VirtualScreen *screen, Launch &program)
{
    const Listener listener;
    program.set("BOARDSIM_CONTROL", listener.name());
    if (!program.start())
        return unreadable;
    const int board = listener.accept(program);
    if (board < 0)
        return program.wait() == 0 ? success : findings;
    if (screen && !screen->awaitWindow(program)) {
        close(board);
        return unreadable;
    }
    Desk desk(board, program);
    const Transport::Tempo tempo{speed, options.loops, desk.hasKeys() && !screen};
    const bool hasEnded = Transport(scenario, desk, tempo).play();
    bool isSaved = true;
    if (screen && hasEnded) {
        desk.finish();
        isSaved = options.screenshot.empty() || screen->save(options.screenshot);
    }
    const bool isAsked = (screen || !hasEnded) && !program.hasEnded();
    if (isAsked)
        program.end();
    const int status = program.wait();
    if (!isSaved)
        return unreadable;
    return status == 0 || (isAsked && status == 128 + SIGTERM) ? success : findings;
}

int replay(const ReplayOptions &options)
{
    const auto speed = speedOf(options.speed);
    if (!speed) {
        complain(tr("\"%s\" is neither a speed nor max"), options.speed.c_str());
        return unreadable;
    }
    std::string error;
    const auto scenario = boardsim::readScenarioFile(options.file, error);
    if (!error.empty())
        std::fprintf(stderr, "%s\n", error.c_str());
    std::error_code ignored;
    if (std::filesystem::equivalent(options.file, options.output, ignored)) {
        complain(tr("a replay cannot be recorded into the file that it plays"));
        return unreadable;
    }
    const std::string driver = findSimulatedDriver();
    const std::string recorder = options.output.empty() ? "" : findRecorder();
    const std::string program = findProgram();
    if (!scenario || driver.empty() || program.empty() || (recorder.empty() && !options.output.empty()))
        return unreadable;

    std::unique_ptr<VirtualScreen> screen;
    Launch launch({program});
    if (options.headless) {
        screen = std::make_unique<VirtualScreen>();
        if (!screen->isThere())
            return unreadable;
        launch.set("DISPLAY", screen->display());
        launch.set("QT_QPA_PLATFORM", "xcb"); // a desktop may ask for another one
    }
    if (!options.output.empty()) {
        launch.set("BOARDREC_DRIVER", driver);
        launch.set("BOARDREC_CAPTURE", absolute(options.output));
    }
    launch.prependPath("LD_LIBRARY_PATH", folderOf(options.output.empty() ? driver : recorder));
    launch.set("BOARDSIM_SCENARIO", absolute(options.file));
    return play(options, *scenario, *speed, screen.get(), launch);
}

} // namespace

void addReplay(CommandLine &lab)
{
    const Command command =
        lab.command("replay", "Start lanternix on a recording, which the simulated board plays");
    const auto options = std::make_shared<ReplayOptions>();
    command.option("FILE", options->file, "The recording or scenario").required();
    command.option("--speed", options->speed, "How many times as fast as it was recorded, or max")
        .type("N|max")
        .showsDefault();
    command.flag("--loop", options->loops, "Play it over and over");
    const Option headless = command.flag("--headless", options->headless,
                                         "Use a screen of its own, which nobody sees, and end with the play");
    command.option("--screenshot", options->screenshot, "Save the last picture of that screen as a PNG")
        .type("OUT.png")
        .needs(headless);
    command
        .option("-o,--output", options->output,
                "Record the replay into this file, to compare the program's answers")
        .type("FILE");
    command.footer(
        "Keys on a terminal: space pauses and goes on, n plays the next report, N up to the next change of "
        "contacts, b goes back by one report, g goes to a time, q ends.");
    command.run([options] { return replay(*options); });
}

} // namespace lab
