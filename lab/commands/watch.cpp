#include "commands/command.h"
#include "commands/figures.h"
#include "commands/limits.h"
#include "commands/recordingsocket.h"
#include "commands/watchtext.h"

#include "capture/lineparser.h"
#include "capture/lines.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <curses.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace lab {

namespace {

using std::chrono::steady_clock;

constexpr auto pictureTime = std::chrono::milliseconds(100);
constexpr auto jsonTime = std::chrono::seconds(1);

struct Options
{
    std::string socket;
    bool json = false;
    std::vector<std::string> failOn;
    double seconds = 0; ///< 0: until the recording ends
};

/// Splits what the recorder sends into lines, without ever waiting for one, and follows them.
class Feed
{
public:
    explicit Feed(int connection) : m_connection(connection)
    {
        fcntl(connection, F_SETFL, fcntl(connection, F_GETFL) | O_NONBLOCK);
    }
    ~Feed() { close(m_connection); }
    Feed(const Feed &) = delete;
    Feed &operator=(const Feed &) = delete;

    int connection() const { return m_connection; }
    const Figures &figures() const { return m_figures; }
    bool hasEnded() const { return m_hasEnded; }

    /// Takes in what has come.
    void receive()
    {
        std::array<char, 1 << 16> block{};
        for (;;) {
            const ssize_t count = read(m_connection, block.data(), block.size());
            if (count < 0 && errno == EINTR)
                continue;
            m_hasEnded = m_hasEnded || count == 0;
            if (count <= 0)
                return;
            m_received.append(block.data(), static_cast<std::size_t>(count));
            followLines();
        }
    }

    void sendNote(const std::string &text) const
    {
        const std::string line = nlohmann::json{{"type", "note"}, {"text", text}}.dump(
                                     -1, ' ', false, nlohmann::json::error_handler_t::replace)
            + "\n";
        [[maybe_unused]] const ssize_t sent = send(m_connection, line.data(), line.size(), MSG_NOSIGNAL);
    }

private:
    void followLines()
    {
        std::size_t begin = 0;
        for (std::size_t end = 0; (end = m_received.find('\n', begin)) != std::string::npos;
             begin = end + 1) {
            m_line.assign(m_received, begin, end - begin);
            m_line.reserve(m_line.size() + capture::padding);
            if (m_parser.parse(m_line, ++m_number, true) != capture::LineParser::Result::line)
                continue;
            m_figures.follow(m_parser.line());
            m_hasEnded = m_hasEnded || m_parser.line().type == capture::Line::Type::end;
        }
        m_received.erase(0, begin);
    }

    const int m_connection;
    std::string m_received;
    std::string m_line;
    std::int64_t m_number = 0;
    capture::LineParser m_parser;
    Figures m_figures;
    bool m_hasEnded = false;
};

/// The terminal: the screen of curses as long as it lives.
class Screen
{
public:
    Screen()
    {
        initscr();
        cbreak();
        noecho();
        nodelay(stdscr, TRUE);
        curs_set(0);
    }
    ~Screen() { endwin(); }
    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;

    void show(const std::vector<std::string> &lines, const std::string &foot)
    {
        erase();
        const int rows = std::min(static_cast<int>(lines.size()), LINES - 1);
        for (int row = 0; row < rows; ++row)
            mvaddnstr(row, 0, lines[static_cast<std::size_t>(row)].c_str(), COLS);
        if (static_cast<int>(lines.size()) > LINES - 1)
            mvaddnstr(LINES - 2, 0, "... more lines than the terminal has", COLS);
        attron(A_REVERSE);
        mvaddnstr(LINES - 1, 0, foot.c_str(), COLS);
        attroff(A_REVERSE);
        refresh();
    }
};

/// What the keys change.
struct View
{
    bool showsBytes = false;
    bool isFrozen = false;
    bool isLeft = false;
    bool isNoting = false;
    std::string note;

    std::string foot() const
    {
        if (isNoting)
            return "note: " + note + "_   Enter writes it into the recording, Escape does not";
        return std::string("h bytes  p ") + (isFrozen ? "go on" : "freeze") + "  m note  q leave"
            + (isFrozen ? "   FROZEN" : "");
    }
};

void typeNote(int key, View &view, const Feed &feed)
{
    constexpr int escape = 27;
    if (key == '\n' || key == KEY_ENTER) {
        feed.sendNote(view.note);
        view.isNoting = false;
    } else if (key == escape) {
        view.isNoting = false;
    } else if ((key == KEY_BACKSPACE || key == 127 || key == '\b') && !view.note.empty()) {
        view.note.pop_back();
    } else if (key >= ' ' && key < 256) {
        view.note += static_cast<char>(key);
    }
}

void press(int key, View &view, const Feed &feed)
{
    if (view.isNoting) {
        typeNote(key, view, feed);
        return;
    }
    switch (key) {
    case 'h':
        view.showsBytes = !view.showsBytes;
        break;
    case 'p':
        view.isFrozen = !view.isFrozen;
        break;
    case 'm':
        view.isNoting = true;
        view.note.clear();
        break;
    case 'q':
        view.isLeft = true;
        break;
    default:
        break;
    }
}

void waitFor(int connection, steady_clock::time_point until)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - steady_clock::now());
    std::array<pollfd, 2> files{pollfd{connection, POLLIN, 0}, pollfd{STDIN_FILENO, POLLIN, 0}};
    poll(files.data(), isatty(STDIN_FILENO) != 0 ? 2 : 1, std::max(0, static_cast<int>(left.count())));
}

/// The terminal view, until the recording or the view ends, or a limit is passed.
std::optional<Limit> watchOnScreen(Feed &feed, const std::vector<Limit> &limits, steady_clock::time_point end)
{
    Screen screen;
    View view;
    std::optional<Limit> limit;
    for (auto next = steady_clock::now(); !view.isLeft && !feed.hasEnded() && !limit && next < end;
         next += pictureTime) {
        while (steady_clock::now() < next) {
            waitFor(feed.connection(), next);
            feed.receive();
        }
        for (int key = 0; (key = getch()) != ERR;)
            press(key, view, feed);
        if (!view.isFrozen)
            screen.show(watchText(feed.figures(), view.showsBytes), view.foot());
        limit = passed(limits, watchFigures(feed.figures()));
    }
    return limit;
}

std::optional<Limit> watchAsJson(Feed &feed, const std::vector<Limit> &limits, steady_clock::time_point end)
{
    std::optional<Limit> limit;
    for (auto next = steady_clock::now() + jsonTime; !feed.hasEnded() && !limit && next < end;
         next += jsonTime) {
        while (steady_clock::now() < next && !feed.hasEnded()) {
            waitFor(feed.connection(), next);
            feed.receive();
        }
        std::printf("%s\n", watchJson(feed.figures()).dump().c_str());
        std::fflush(stdout);
        limit = passed(limits, watchFigures(feed.figures()));
    }
    return limit;
}

int watch(const Options &options)
{
    std::vector<Limit> limits;
    for (const std::string &text : options.failOn) {
        const auto limit = Limit::parse(text);
        if (!limit) {
            std::fprintf(stderr, "lanternix-lab: \"%s\" is no limit such as lost_count>0\n", text.c_str());
            return unreadable;
        }
        limits.push_back(*limit);
    }
    const int connection = connectToRecording(options.socket);
    if (connection < 0)
        return unreadable;
    Feed feed(connection);
    const auto end = options.seconds > 0
        ? steady_clock::now() + std::chrono::milliseconds(static_cast<std::int64_t>(options.seconds * 1000))
        : steady_clock::time_point::max();
    const auto limit = options.json ? watchAsJson(feed, limits, end) : watchOnScreen(feed, limits, end);
    if (!limit)
        return success;
    std::fprintf(stderr, "lanternix-lab: %s: it is %g\n", limit->text.c_str(),
                 watchFigures(feed.figures()).at(limit->key));
    return findings;
}

} // namespace

void addWatch(CLI::App &lab, int &status)
{
    CLI::App &command =
        *lab.add_subcommand("watch", "Show the figures of a running recording in the terminal");
    const auto options = std::make_shared<Options>();
    command.add_option("SOCKET", options->socket,
                       "The recorder's socket; by default that of the newest recording");
    command.add_flag("--json", options->json, "Print one JSON object a second");
    command
        .add_option("--fail-on", options->failOn,
                    "End with status 1 when a figure passes a limit, such as lost_count>0")
        ->type_name("KEY>VALUE");
    command.add_option("--seconds", options->seconds, "End after this time")->type_name("SECONDS");
    command.callback([options, &status] { status = watch(*options); });
}

} // namespace lab
