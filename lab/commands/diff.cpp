#include "commands/command.h"
#include "commands/stream.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace lab {

namespace {

using Event = Stream::Event;

struct Options
{
    std::string first;
    std::string second;
    bool times = false;
    double tolerance = 2000; ///< microseconds
};

/// Compares one side of two recordings. Where they differ, it looks for the nearest place at which they agree
/// again, so that what one of them lacks counts as one place.
class Comparison
{
public:
    Comparison(const Options &options, Stream::Side side)
        : m_options(options), m_side(side == Stream::Side::board ? "the board" : "the program"),
          m_first(options.first, side), m_second(options.second, side)
    {
    }

    /// Returns the number of places; below 0 if a recording is at fault.
    std::int64_t run()
    {
        for (;;) {
            const Event *const first = m_first.peek(0);
            const Event *const second = m_second.peek(0);
            if (!first && !second)
                break;
            if (first && second && first->what == second->what) {
                compareTimes(*first, *second);
                m_first.drop(1);
                m_second.drop(1);
                continue;
            }
            tell(first, second);
            skipDifference();
        }
        const bool firstIsGood = m_first.tellEnd();
        return m_second.tellEnd() && firstIsGood ? m_places : -1;
    }

private:
    static constexpr std::size_t window = 2000; ///< events of each side in which they may agree again
    static constexpr std::size_t enough = 3;    ///< events in a row that count as agreement

    void compareTimes(const Event &first, const Event &second)
    {
        const std::int64_t difference = std::llabs(first.since - second.since);
        if (m_options.times && static_cast<double>(difference) > m_options.tolerance)
            tell(&first, &second);
    }

    bool agree(std::size_t first, std::size_t second)
    {
        for (std::size_t i = 0; i < enough; ++i) {
            const Event *const one = m_first.peek(first + i);
            const Event *const other = m_second.peek(second + i);
            if (!one && !other)
                return true;
            if (!one || !other || one->what != other->what)
                return false;
        }
        return true;
    }

    void skipDifference()
    {
        for (std::size_t distance = 1; distance < window; ++distance) {
            for (std::size_t first = 0; first <= distance; ++first) {
                const std::size_t second = distance - first;
                if ((first > 0 && !m_first.peek(first - 1)) || (second > 0 && !m_second.peek(second - 1)))
                    continue;
                if (agree(first, second)) {
                    m_first.drop(first);
                    m_second.drop(second);
                    return;
                }
            }
        }
        m_first.drop(m_first.peek(0) ? 1 : 0);
        m_second.drop(m_second.peek(0) ? 1 : 0);
    }

    void tell(const Event *first, const Event *second)
    {
        if (m_places++ > 0)
            return;
        std::printf("%s differs first:\n", m_side);
        tell(m_options.first, first);
        tell(m_options.second, second);
    }

    static void tell(const std::string &file, const Event *event)
    {
        if (event)
            std::printf("  %s:%" PRId64 ": %.6f s: %s\n", file.c_str(), event->line,
                        static_cast<double>(event->at) / 1e6, event->what.c_str());
        else
            std::printf("  %s: has ended\n", file.c_str());
    }

    const Options &m_options;
    const char *const m_side;
    Stream m_first;
    Stream m_second;
    std::int64_t m_places = 0;
};

int diff(const Options &options)
{
    const std::int64_t board = Comparison(options, Stream::Side::board).run();
    if (board < 0)
        return unreadable;
    const std::int64_t program = Comparison(options, Stream::Side::program).run();
    if (program < 0)
        return unreadable;
    if (board == 0 && program == 0) {
        std::printf("no difference\n");
        return success;
    }
    std::printf("%" PRId64 " places in what the board sent, %" PRId64 " in what the program answered\n",
                board, program);
    return findings;
}

} // namespace

void addDiff(CLI::App &lab, int &status)
{
    CLI::App &command = *lab.add_subcommand(
        "diff", "Say where two recordings differ in what the board sent and in what the program answered");
    const auto options = std::make_shared<Options>();
    command.add_option("A", options->first, "One recording")->required();
    command.add_option("B", options->second, "The other")->required();
    command.add_flag("--times", options->times, "Compare also how long each event came after the one before");
    command.add_option("--tolerance", options->tolerance, "Microseconds by which such times may differ")
        ->capture_default_str()
        ->type_name("US");
    command.callback([options, &status] { status = diff(*options); });
}

} // namespace lab
