#include "commands/command.h"
#include "commands/eventtext.h"
#include "commands/input.h"
#include "commands/motion.h"

#include "capture/contacts.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace lab {

namespace {

using capture::Line;

struct ShowOptions
{
    std::string file;
    bool all = false;
    bool json = false;
    bool calls = true;
    std::vector<int> boards;
    std::vector<std::string> kinds;
    std::vector<int> contacts;
    double from = 0; ///< seconds, as the next
    double to = HUGE_VAL;
};

const std::vector<std::string> kindNames{"pen",      "touch", "erase", "status", "other",  "call",
                                         "handback", "lost",  "note",  "mark",   "device", "plug"};

std::string kindOf(const Line &line, const capture::Report &report)
{
    switch (line.type) {
    case Line::Type::report:
        return std::string(nameOf(report.kind));
    case Line::Type::call:
        return "call";
    case Line::Type::handback:
        return "handback";
    case Line::Type::lost:
        return "lost";
    case Line::Type::note:
        return "note";
    case Line::Type::mark:
        return "mark";
    case Line::Type::device:
        return "device";
    case Line::Type::plug:
    case Line::Type::unplug:
        return "plug";
    default:
        return {};
    }
}

bool hasBoard(const Line &line)
{
    return line.type == Line::Type::report || line.type == Line::Type::handback
        || line.type == Line::Type::device || line.type == Line::Type::plug
        || line.type == Line::Type::unplug;
}

template <typename Value> bool holds(const std::vector<Value> &values, const Value &value)
{
    return std::find(values.begin(), values.end(), value) != values.end();
}

bool isWanted(const ShowOptions &options, const Line &line, const capture::Report &report)
{
    if (!options.calls && line.type == Line::Type::call)
        return false;
    if (!options.kinds.empty() && !holds(options.kinds, kindOf(line, report)))
        return false;
    if (!options.boards.empty() && !(hasBoard(line) && holds(options.boards, line.board)))
        return false;
    const auto isWantedContact = [&options](const capture::Contact &contact) {
        return holds(options.contacts, contact.id);
    };
    if (!options.contacts.empty()
        && (line.type != Line::Type::report
            || std::none_of(report.contacts.begin(), report.contacts.end(), isWantedContact)))
        return false;
    const double seconds = static_cast<double>(line.at.value_or(0)) / 1e6;
    return seconds >= options.from && seconds <= options.to;
}

void printRuns(Motion &motion)
{
    for (const std::string &run : motion.end())
        std::printf("%s\n", run.c_str());
}

void print(const ShowOptions &options, const Line &line, const capture::Report &report, Motion &motion)
{
    if (options.json) {
        std::printf("%s\n", eventJson(line, report).dump().c_str());
        return;
    }
    const bool isReport = line.type == Line::Type::report;
    if (isReport && !options.all && motion.takes(line, report))
        return;
    printRuns(motion);
    std::printf("%s  %s\n", timeText(line).c_str(),
                (isReport ? reportText(line, report) : eventText(line)).c_str());
}

int show(const ShowOptions &options)
{
    Input input(options.file, Input::Progress::unlessPrinting);
    Motion motion;
    capture::Report report;
    while (input.next()) {
        const Line &line = input.line();
        report.contacts.clear();
        if (line.type == Line::Type::report)
            capture::decode(line.bytes.data(), line.bytes.size(), report);
        if (isWanted(options, line, report))
            print(options, line, report, motion);
    }
    printRuns(motion);
    std::fflush(stdout);
    return input.tellEnd() ? success : unreadable;
}

} // namespace

void addShow(CommandLine &lab)
{
    const Command command = lab.command("show", "Print every event of a recording in one readable line");
    const auto options = std::make_shared<ShowOptions>();
    command.option("FILE", options->file, "The recording or scenario; - for standard input").required();
    command.flag("--all", options->all, "Print every report, also those in which contacts only move");
    command.option("--board", options->boards, "Only what this board reports and gets; may be repeated")
        .type("NUMBER");
    command.option("--kind", options->kinds, "Only events of this kind; may be repeated").among(kindNames);
    command.option("--contact", options->contacts, "Only reports with this contact or pen; may be repeated")
        .type("NUMBER");
    command.option("--from", options->from, "Only from this time on").type("SECONDS");
    command.option("--to", options->to, "Only up to this time").type("SECONDS");
    command.flag("--calls,!--no-calls", options->calls, "Whether to print the program's calls of the driver");
    command.flag("--json", options->json, "Print one JSON object a line, with the contacts decoded");
    command.run([options] { return show(*options); });
}

} // namespace lab
