#include "commands/command.h"
#include "commands/input.h"
#include "language.h"

#include "capture/cut.h"
#include "capture/result.h"

#include <cmath>
#include <cstdio>
#include <memory>
#include <string>

namespace lab {

namespace {

using capture::Line;

struct CutOptions
{
    std::string file;
    std::string output = "-";
    double from = 0; ///< seconds, as the next
    double to = HUGE_VAL;
};

/// The time of a line, in microseconds; one without a time follows the line before.
class Times
{
public:
    std::int64_t of(const Line &line) { return m_last = line.at.value_or(m_last); }

private:
    std::int64_t m_last = 0;
};

/// Whether a piece of a scenario can be played without the rest: not if its lines have no times.
bool isTimed(const Line &line)
{
    return line.type != Line::Type::other;
}

int cut(const CutOptions &options)
{
    if (!(options.from < options.to)) {
        complain(tr("--from is not before --to"));
        return unreadable;
    }
    const auto from = static_cast<std::int64_t>(options.from * 1e6);
    Input input(options.file, progressFor(options.output));
    capture::Result result(options.output);
    capture::Cut part(from, result);
    Times times;
    while (input.next()) {
        const Line &line = input.line();
        const std::int64_t at = times.of(line);
        if (!isTimed(line)) {
            std::fprintf(stderr, "%s:%lld: %s\n", options.file.c_str(), whole(line.number),
                         tr("a scenario with moves, waits or blocks cannot be cut"));
            return unreadable;
        }
        if (static_cast<double>(at) / 1e6 > options.to || line.type == Line::Type::end)
            break;
        if (line.type == Line::Type::first)
            result.add(line, 0);
        else
            part.add(line, at);
    }
    if (!input.tellEnd())
        return unreadable;
    return part.finish() ? success : unreadable;
}

} // namespace

void addCut(CommandLine &lab)
{
    const Command command = lab.command(
        "cut",
        "Write a part of a recording that plays by itself: with the boards and contacts that were there");
    const auto options = std::make_shared<CutOptions>();
    command.option("FILE", options->file, "The recording; - for standard input").required();
    command.option("--from", options->from, "Where the part begins").type("SECONDS");
    command.option("--to", options->to, "Where it ends").type("SECONDS");
    command.option("-o,--output", options->output, "The file to write; by default standard output")
        .type("FILE");
    command.run([options] { return cut(*options); });
}

} // namespace lab
