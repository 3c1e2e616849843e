#include "accept/dialogue.h"
#include "accept/outcome.h"
#include "accept/screens.h"
#include "commands/command.h"
#include "commands/files.h"
#include "commands/livelines.h"
#include "commands/measure.h"
#include "commands/recording.h"
#include "commands/recordingsocket.h"
#include "commands/window.h"
#include "language.h"

#include "capture/boards.h"
#include "capture/newfile.h"
#include "page/acceptpage.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <poll.h>
#include <unistd.h>

namespace lab {

namespace {

using std::chrono::steady_clock;

constexpr auto windowTime = std::chrono::seconds(10); ///< in which the program shows its window
constexpr int boardKind = 1;                          ///< of a device; the others are hubs
constexpr int look = 50;                              ///< milliseconds, between two looks at it
constexpr int restingLooks = 10;                      ///< that find it in the same place

struct AcceptOptions
{
    Recording::Choice recording;
    std::string output;
    std::string window;
    std::string size;
    std::string profile;
    int fingers = 10;
    bool json = false;
};

/// What the command line says about the board and the window.
struct Given
{
    std::optional<acceptance::Area> window;
    Grading grading;
    int fingers = 10;
};

/// The dialogue's outside: a terminal, or a pipe, and the program that is being recorded.
class Room : public acceptance::Dialogue::Room
{
public:
    using Setting = acceptance::Setting;

    /// Keeps references to all. @p output is where the person reads.
    Room(const Given &given, const Launch &program, LiveLines &lines, std::FILE *output)
        : m_given(given), m_program(program), m_lines(lines), m_output(output)
    {
    }

    /// Waits until the recorder has told of the screens, and the program has its window. False if the program
    /// ends before, or there is no screen.
    bool open()
    {
        const auto patience = steady_clock::now() + windowTime;
        while (!m_program.hasEnded() && !m_lines.hasEnded()) {
            m_lines.receive([this](const capture::Line &line) { learn(line); });
            const bool hasWindow = m_given.window || !m_knowsWindows || windowRests();
            if (!m_screens.empty() && (hasWindow || steady_clock::now() > patience))
                return true;
            pollfd ending{m_program.ending(), POLLIN, 0};
            poll(&ending, 1, look);
        }
        return false;
    }

    /// Says whether there is a board, where the window is taken to be, and how a person sees that this is
    /// wrong.
    void tellBeginning()
    {
        if (!hasBoard())
            say(tr("No board is connected. Check its cable and its power."));
        const acceptance::Frame frame = setting().frame;
        // TRANSLATORS: the first %s is "800 x 600 pixels at 10, 20", for example.
        say(format(tr("The content of the window, below its title, is %s, of a screen of %d x %d."),
                   acceptance::textOf(frame.window).c_str(), frame.screen.width, frame.screen.height));
        if (!m_given.window && !windowOf(m_program.process()))
            say(tr("This is a guess. If the window has a title, or a panel takes some of the screen, start "
                   "again with --window."));
    }

    Setting setting() override
    {
        auto frame =
            acceptance::frameOn(m_screens, m_given.window ? std::nullopt : windowOf(m_program.process()));
        if (m_given.window)
            frame->window = *m_given.window;
        const grading::BoardSize size = m_given.grading.size.value_or(grading::BoardSize());
        Setting setting(*frame, size.width, size.height);
        setting.fingers = m_given.fingers;
        return setting;
    }

    void say(const std::string &line) override
    {
        std::fprintf(m_output, "%s\n", line.c_str());
        std::fflush(m_output);
    }

    void ring() override
    {
        if (isatty(fileno(m_output)) != 0)
            std::fputc('\a', m_output);
    }

    void note(const std::string &text) override { m_lines.sendNote(text); }

    Event await(acceptance::Seen &seen) override
    {
        for (;;) {
            bool hasReported = false;
            m_lines.receive([&](const capture::Line &line) {
                seen.follow(line);
                hasReported = true;
            });
            if (takeTyped())
                return Event::typed;
            if (hasReported)
                return Event::reported;
            if (m_program.hasEnded() || m_lines.hasEnded() || m_inputHasEnded)
                return Event::ended;
            wait();
        }
    }

    const std::string &typed() const override { return m_typed; }

private:
    /// Whether the window has been the same for a while: window managers make it larger when it is there.
    bool windowRests()
    {
        const auto window = windowOf(m_program.process());
        const std::string place = window ? acceptance::textOf(*window) : "";
        m_rests = place == m_place ? m_rests + 1 : 0;
        m_place = place;
        return window && m_rests >= restingLooks;
    }

    void learn(const capture::Line &line)
    {
        m_boards.follow(line);
        if (line.type == capture::Line::Type::first)
            m_screens = acceptance::screensIn(std::string(line.text));
    }

    bool hasBoard() const
    {
        const auto isBoard = [](const auto &device) {
            return device.second.kind == boardKind && device.second.plugged;
        };
        return std::any_of(m_boards.devices().begin(), m_boards.devices().end(), isBoard);
    }

    /// Takes the next line that was typed, without the blanks around it.
    bool takeTyped()
    {
        const std::size_t end = m_input.find('\n');
        if (end == std::string::npos)
            return false;
        constexpr const char *blanks = " \t\r";
        m_typed = m_input.substr(0, end);
        m_input.erase(0, end + 1);
        m_typed.erase(m_typed.find_last_not_of(blanks) + 1);
        m_typed.erase(0, m_typed.find_first_not_of(blanks));
        return true;
    }

    /// Waits until something has come, and reads what was typed.
    void wait()
    {
        std::array<pollfd, 3> files{pollfd{STDIN_FILENO, POLLIN, 0}, pollfd{m_lines.connection(), POLLIN, 0},
                                    pollfd{m_program.ending(), POLLIN, 0}};
        if (poll(files.data(), files.size(), -1) <= 0 || files[0].revents == 0)
            return;
        std::array<char, 256> block{};
        const ssize_t count = read(STDIN_FILENO, block.data(), block.size());
        m_inputHasEnded = count == 0 || (count < 0 && errno != EINTR && errno != EAGAIN);
        if (count > 0)
            m_input.append(block.data(), static_cast<std::size_t>(count));
    }

    const Given &m_given;
    const bool m_knowsWindows = knowsWindows();
    const Launch &m_program;
    LiveLines &m_lines;
    std::FILE *const m_output;
    std::vector<acceptance::Screen> m_screens;
    capture::Boards m_boards; ///< when the test begins
    std::string m_place;      ///< of the window, when it was looked for last
    int m_rests = 0;          ///< looks since it was elsewhere
    std::string m_input;      ///< typed, but not taken yet
    std::string m_typed;
    bool m_inputHasEnded = false;
};

/// Says what cannot be understood, and returns nothing, if there is such a thing.
std::optional<Given> understood(const AcceptOptions &options)
{
    Given given;
    given.fingers = options.fingers;
    if (!given.grading.read(options.size, options.profile))
        return {};
    if (!options.window.empty()) {
        given.window = acceptance::areaFrom(options.window);
        if (!given.window) {
            complain(tr("\"%s\" is no area such as 1920x1060+0+20"), options.window.c_str());
            return {};
        }
    }
    return given;
}

/// The dialogue with a program that was started; nothing if it could not begin.
std::optional<acceptance::Outcome> lead(const AcceptOptions &options, const Given &given,
                                        const Launch &program)
{
    LiveLines lines(awaitRecording(nameOfRecordingSocket(), program));
    Room room(given, program, lines, options.json ? stderr : stdout);
    if (!lines.isConnected() || !room.open()) {
        complain(tr("lanternix has ended before the test began"));
        return {};
    }
    room.tellBeginning();
    return acceptance::Dialogue(room).run();
}

/// The page and the recording, from the root.
struct Files
{
    std::string page;
    std::string recording;
};

Files filesOf(const AcceptOptions &options)
{
    Files files{options.output, options.recording.file};
    if (files.page.empty())
        files.page = namedAfterTime("lanternix-acceptance-", ".html");
    if (files.recording.empty())
        files.recording = std::filesystem::path(files.page).replace_extension(".jsonl").string();
    files.page = absolute(files.page);
    files.recording = absolute(files.recording);
    return files;
}

/// Without a recording that can be read, the page still tells what the dialogue has seen.
grading::Report emptyReport(const Grading &grading)
{
    return {"", grading::Analysis(grading.size).finish(), grading.size,
            grading.profile ? &*grading.profile : nullptr};
}

void tell(const Files &files, const acceptance::Outcome &outcome, bool keepsLimits, bool json)
{
    if (!json) {
        const std::string verdict = acceptance::verdictText(outcome, keepsLimits);
        std::printf("%s\n", verdict.c_str());
        // TRANSLATORS: two files.
        std::printf(tr("page %s, recording %s\n"), files.page.c_str(), files.recording.c_str());
        return;
    }
    auto told = acceptance::jsonOf(outcome);
    told["text"] = acceptance::verdictText(outcome, keepsLimits, Audience::program);
    told["limits_kept"] = keepsLimits;
    told["page"] = files.page;
    told["recording"] = files.recording;
    std::printf("%s\n", told.dump().c_str());
}

/// Leads through the test, in a recording that is ready, and writes the page.
int acceptBoard(const AcceptOptions &options, const Given &given, const Files &files,
                const Recording &recording)
{
    capture::NewFile page(files.page); // opened before anybody works for it
    Launch launch({findProgram()});
    recording.prepare(launch);
    launch.keepOffOutput();
    if (!page.stream() || !launch.start())
        return unreadable;
    const auto outcome = lead(options, given, launch);
    launch.end();
    launch.wait();
    if (!outcome)
        return unreadable;

    const auto measured = measure(recording.file(), given.grading);
    grading::Report report = measured ? *measured : emptyReport(given.grading);
    report.file = std::filesystem::path(recording.file()).filename(); // folders are nobody's business
    page.write(page::acceptPage(*outcome, report));
    if (!page.finish() || !measured)
        return unreadable;
    const bool keepsLimits = report.total().verdict() != grading::Verdict::fail;
    tell(files, *outcome, keepsLimits, options.json);
    return outcome->verdict() == acceptance::Result::right && keepsLimits ? success : findings;
}

int acceptBoard(const AcceptOptions &options)
{
    const auto given = understood(options);
    if (!given)
        return unreadable;
    const Files files = filesOf(options);
    if (files.page == files.recording) {
        complain(tr("the page and the recording cannot be the same file"));
        return unreadable;
    }
    Recording::Choice choice = options.recording;
    choice.file = files.recording;
    const Recording recording(choice);
    return recording.isReady() ? acceptBoard(options, *given, files, recording) : unreadable;
}

} // namespace

void addAccept(CommandLine &lab)
{
    const Command command = lab.command("accept", "Lead a person through the acceptance test of a board");
    const auto options = std::make_shared<AcceptOptions>();
    command
        .option("-o,--output", options->output, "The HTML page to write; by default one named after the time")
        .type("FILE");
    command
        .option("--recording", options->recording.file,
                "The recording to write; by default one beside the page")
        .type("FILE");
    addBoardOptions(command, options->recording);
    addGradingOptions(command, options->size, options->profile);
    command
        .option(
            "--window", options->window,
            "Where the content of the window is, in pixels, such as 1920x1060+0+20; by default it is asked "
            "from the X server")
        .type("AREA");
    command.option("--fingers", options->fingers, "How many fingers the board tells apart")
        .type("NUMBER")
        .range(1, 128)
        .showsDefault();
    command.flag("--json", options->json,
                 "Print the outcome as a JSON object, and the dialogue to standard error");
    command.footer("Typed at a step, Enter ends it, r begins it again, s skips it, q ends the test.");
    command.run([options] { return acceptBoard(*options); });
}

} // namespace lab
