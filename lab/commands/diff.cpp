#include "commands/command.h"
#include "commands/json.h"
#include "commands/stream.h"
#include "language.h"

#include "scenarioreader.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace lab {

namespace {

using Event = Stream::Event;

struct DiffOptions
{
    std::string first;
    std::string second;
    bool times = false;
    bool json = false;
    double tolerance = 2000; ///< microseconds
};

/// Compares one side of two recordings. Where they differ, it looks for the nearest place at which they agree
/// again, so that what one of them lacks counts as one place.
class Comparison
{
public:
    Comparison(const DiffOptions &options, Stream::Side side)
        : m_options(options), m_side(side), m_first(options.first, side, Input::Progress::drawn),
          m_second(options.second, side, Input::Progress::none)
    {
    }

    std::int64_t places() const { return m_places; }
    /// The first place, for programs; null if there is none.
    const Json &firstPlace() const { return m_firstPlace; }

    /// Counts the places, and tells the first one. False if a recording is at fault.
    bool run()
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
        return m_second.tellEnd() && firstIsGood;
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
        m_firstPlace = {{"a", jsonOf(first)}, {"b", jsonOf(second)}};
        if (m_options.json)
            return;
        std::printf("%s\n",
                    m_side == Stream::Side::board ? tr("the board differs first:")
                                                  : tr("the program differs first:"));
        tell(m_options.first, first);
        tell(m_options.second, second);
    }

    static Json jsonOf(const Event *event)
    {
        if (!event)
            return nullptr;
        return {{"line", event->line},
                {"at_s", static_cast<double>(event->at) / 1e6},
                {"what", event->what.text(Audience::program)}};
    }

    static void tell(const std::string &file, const Event *event)
    {
        if (event)
            std::printf("  %s:%" PRId64 ": %.6f s: %s\n", file.c_str(), event->line,
                        static_cast<double>(event->at) / 1e6, boardsim::oneLine(event->what.text()).c_str());
        else
            std::printf(tr("  %s: has ended\n"), file.c_str());
    }

    const DiffOptions &m_options;
    const Stream::Side m_side;
    Stream m_first;
    Stream m_second;
    std::int64_t m_places = 0;
    Json m_firstPlace;
};

void printJson(const Comparison &board, const Comparison &program)
{
    const Json object{
        {"version", 1},
        {"board", {{"places", board.places()}, {"first", board.firstPlace()}}},
        {"program", {{"places", program.places()}, {"first", program.firstPlace()}}},
    };
    std::printf("%s\n", object.dump().c_str());
}

int diff(const DiffOptions &options)
{
    Comparison board(options, Stream::Side::board);
    Comparison program(options, Stream::Side::program);
    if (!board.run() || !program.run())
        return unreadable;
    const bool isSame = board.places() == 0 && program.places() == 0;
    if (options.json)
        printJson(board, program);
    else if (isSame)
        std::printf("%s\n", tr("no difference"));
    else
        std::printf(trCount("%lld places in what the board sent, %lld in what the program answered\n",
                            board.places()),
                    whole(board.places()), whole(program.places()));
    return isSame ? success : findings;
}

} // namespace

void addDiff(CommandLine &lab)
{
    const Command command = lab.command(
        "diff", "Say where two recordings differ in what the board sent and in what the program answered");
    const auto options = std::make_shared<DiffOptions>();
    command.option("A", options->first, "One recording").required();
    command.option("B", options->second, "The other").required();
    command.flag("--times", options->times, "Compare also how long each event came after the one before");
    command.option("--tolerance", options->tolerance, "Microseconds by which such times may differ")
        .showsDefault()
        .type("US");
    command.flag("--json", options->json, "Print one JSON object");
    command.run([options] { return diff(*options); });
}

} // namespace lab
