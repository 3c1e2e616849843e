#include "commands/command.h"
#include "commands/feed.h"
#include "commands/limits.h"
#include "commands/text.h"
#include "commands/watchtext.h"
#include "language.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <curses.h>
#include <poll.h>
#include <unistd.h>

namespace lab {

namespace {

using std::chrono::steady_clock;

constexpr auto tableTime = std::chrono::milliseconds(100);
constexpr auto jsonTime = std::chrono::seconds(1);

struct WatchOptions
{
    std::string socket;
    bool json = false;
    std::vector<std::string> failOn;
    double seconds = 0; ///< 0: until the recording ends
};

/// The terminal: the screen of curses as long as it lives.
class Screen
{
public:
    Screen()
    {
        std::setlocale(LC_CTYPE, ""); // what a person types may be more than ASCII
        initscr();
        cbreak();
        noecho();
        keypad(stdscr, TRUE);
        set_escdelay(25); // milliseconds
        nodelay(stdscr, TRUE);
        curs_set(0);
    }
    ~Screen() { endwin(); }
    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;

    static void show(const std::vector<std::string> &lines, const std::string &foot)
    {
        erase();
        const int count = static_cast<int>(lines.size());
        const int room = LINES - 1; // above the foot
        for (int row = 0; row < std::min(count, room); ++row)
            mvaddstr(row, 0, fitting(lines[static_cast<std::size_t>(row)], COLS).c_str());
        if (count > room && room > 0) {
            move(room - 1, 0);
            clrtoeol();
            const int hidden = count - room + 1;
            addstr(fitting(format(trCount("... %d more lines", hidden), hidden), COLS).c_str());
        }
        attron(A_REVERSE);
        // The last place would scroll some terminals.
        mvaddstr(LINES - 1, 0, fitting(foot, COLS - 1).c_str());
        attroff(A_REVERSE);
        refresh();
    }
};

/// What the keys change.
struct View
{
    bool showsBytes = false;
    std::optional<Figures> frozen; ///< as they were when p was pressed
    bool isLeft = false;
    bool isNoting = false;
    std::string note;

    std::string foot() const
    {
        if (isNoting)
            return tr("Enter writes, Escape leaves. note: ") + note + "_";
        // TRANSLATORS: the keys h, p, m and q, and what each does, in a line of 79 letters.
        return frozen ? tr("FROZEN  h bytes  p go on  m note  q quit")
                      : tr("h bytes  p freeze  m note  q quit");
    }
};

/// Drops the last character, of however many bytes.
void dropLast(std::string &text)
{
    constexpr unsigned char kind = 0xC0;
    constexpr unsigned char continuation = 0x80;
    while (!text.empty()) {
        const auto last = static_cast<unsigned char>(text.back());
        text.pop_back();
        if ((last & kind) != continuation)
            return;
    }
}

void typeNote(int key, View &view, const Feed &feed)
{
    constexpr int escape = 27;
    if (key == '\n' || key == KEY_ENTER) {
        feed.sendNote(view.note);
        view.isNoting = false;
    } else if (key == escape) {
        view.isNoting = false;
    } else if (key == KEY_BACKSPACE || key == 127 || key == '\b') {
        dropLast(view.note);
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
        if (view.frozen)
            view.frozen.reset();
        else
            view.frozen.emplace(feed.figures());
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

/// Waits until something has come, or a key, at most until @p until.
void waitFor(int connection, int keys, steady_clock::time_point until)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - steady_clock::now());
    std::array<pollfd, 2> files{pollfd{connection, POLLIN, 0}, pollfd{keys, POLLIN, 0}};
    poll(files.data(), files.size(), std::max(0, static_cast<int>(left.count())));
}

/// The terminal view, until the recording or the view ends, or a limit is passed.
std::optional<Limit> watchOnScreen(Feed &feed, const std::vector<Limit> &limits, steady_clock::time_point end)
{
    const Screen screen;
    View view;
    std::optional<Limit> limit;
    auto next = steady_clock::now();
    while (!view.isLeft && !feed.hasEnded() && !limit && steady_clock::now() < end) {
        waitFor(feed.connection(), STDIN_FILENO, std::min(next, end));
        feed.receive();
        bool hasKey = false;
        for (int key = 0; (key = getch()) != ERR; hasKey = true)
            press(key, view, feed);
        if (steady_clock::now() < next && !hasKey)
            continue;
        next = steady_clock::now() + tableTime;
        const Figures &figures = view.frozen ? *view.frozen : feed.figures();
        Screen::show(watchText(figures, view.showsBytes), view.foot());
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
            waitFor(feed.connection(), -1, next);
            feed.receive();
        }
        std::printf("%s\n", watchJson(feed.figures()).dump().c_str());
        if (std::fflush(stdout) != 0)
            break; // nobody reads on
        limit = passed(limits, watchFigures(feed.figures()));
    }
    return limit;
}

/// What is left to be seen of the view when it is gone.
void printLast(const Feed &feed)
{
    for (const std::string &line : watchText(feed.figures(), false))
        std::printf("%s\n", line.c_str());
    std::printf("%s\n", feed.hasEnded() ? tr("the recording has ended") : tr("the recording goes on"));
}

int watch(const WatchOptions &options)
{
    const auto limits = limitsOf(options.failOn, watchKeys);
    if (!limits)
        return unreadable;
    if (!options.json && (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0)) {
        complain(tr("this is no terminal; watch --json needs none"));
        return unreadable;
    }
    Feed feed(options.socket);
    if (!feed.isConnected())
        return unreadable;
    const auto end = options.seconds > 0
        ? steady_clock::now() + std::chrono::milliseconds(static_cast<std::int64_t>(options.seconds * 1000))
        : steady_clock::time_point::max();
    const auto limit = options.json ? watchAsJson(feed, *limits, end) : watchOnScreen(feed, *limits, end);
    if (!options.json)
        printLast(feed);
    if (!limit)
        return success;
    complain(tr("%s: it is %g"), limit->text.c_str(), watchFigures(feed.figures()).at(limit->key));
    return findings;
}

} // namespace

void addWatch(CommandLine &lab)
{
    const Command command = lab.command("watch", "Show the figures of a running recording in the terminal");
    const auto options = std::make_shared<WatchOptions>();
    command.option("SOCKET", options->socket,
                   "The recorder's socket; by default that of the newest recording");
    command.flag("--json", options->json, "Print one JSON object a second");
    command
        .option("--fail-on", options->failOn,
                "End with status 1 when a figure passes a limit, such as lost_count>0")
        .type("KEY>VALUE");
    command.option("--seconds", options->seconds, "End after this time").type("SECONDS").range(0.001, 1e9);
    command.run([options] { return watch(*options); });
}

} // namespace lab
