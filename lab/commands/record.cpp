#include "commands/command.h"
#include "commands/files.h"
#include "commands/input.h"
#include "commands/json.h"
#include "commands/launch.h"
#include "commands/recording.h"
#include "language.h"

#include "capture/contacts.h"
#include "capture/parts.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace lab {

namespace {

struct RecordOptions
{
    Recording::Choice recording;
    double keep = 0; ///< seconds; 0: all is kept
    bool json = false;
    std::vector<std::string> program;
};

/// Makes one recording of what a rolling one has kept, and deletes its parts. False if that fails, which one
/// line on standard error then tells.
bool joinKept(const std::string &file)
{
    const std::string folder = capture::partsFolder(file);
    const capture::Kept kept = capture::joinParts(folder, file);
    if (!kept.error.empty()) {
        std::fprintf(stderr, "%s\n", kept.error.c_str());
        return false;
    }
    std::error_code ignored;
    for (const std::int64_t number : capture::partsIn(folder))
        std::filesystem::remove(capture::partName(folder, number), ignored);
    std::filesystem::remove(folder, ignored);
    return true;
}

/// What a finished recording holds, for the line at the end.
struct Totals
{
    std::int64_t reports = 0;
    std::int64_t contacts = 0; ///< that have touched down
    std::int64_t lost = 0;
    std::int64_t last = 0; ///< microseconds
};

Totals totalsOf(const std::string &file)
{
    Totals totals;
    std::set<std::tuple<int, capture::ReportKind, int>> down; ///< board, kind and identifier
    Input input(file);
    capture::Report report;
    while (input.next()) {
        const capture::Line &line = input.line();
        totals.last = line.at.value_or(totals.last);
        if (line.type == capture::Line::Type::lost)
            totals.lost += nlohmann::json::parse(line.text).at("count").get<std::int64_t>();
        if (line.type != capture::Line::Type::report)
            continue;
        ++totals.reports;
        capture::decode(line.bytes.data(), line.bytes.size(), report);
        for (const capture::Contact &contact : report.contacts) {
            const std::tuple<int, capture::ReportKind, int> key{line.board, report.kind, contact.id};
            if (!contact.down)
                down.erase(key);
            else if (down.insert(key).second)
                ++totals.contacts;
        }
    }
    input.tellEnd();
    return totals;
}

void tellBeginning(const RecordOptions &options, const std::string &driver, const std::string &file)
{
    if (options.json)
        std::printf("%s\n", Json{{"driver", driver}, {"file", file}}.dump().c_str());
    else // TRANSLATORS: the files of the driver and of the recording.
        std::printf(tr("driver %s, recording %s\n"), driver.c_str(), file.c_str());
    std::fflush(stdout);
}

void tellEnd(const RecordOptions &options, const Totals &totals)
{
    const double seconds = static_cast<double>(totals.last) / 1e6;
    if (options.json)
        std::printf("%s\n",
                    Json{{"reports", totals.reports},
                         {"seconds", seconds},
                         {"contacts", totals.contacts},
                         {"lost", totals.lost}}
                        .dump()
                        .c_str());
    else // TRANSLATORS: "41207 reports, 62.4 s, 118 contacts, 0 lost": the last are reports.
        std::printf(tr("%s, %.1f s, %s, %s\n"),
                    format(trCount("%lld reports", totals.reports), whole(totals.reports)).c_str(), seconds,
                    format(trCount("%lld contacts", totals.contacts), whole(totals.contacts)).c_str(),
                    format(trCount("%lld lost", totals.lost), whole(totals.lost)).c_str());
}

int record(const RecordOptions &options)
{
    Recording::Choice choice = options.recording;
    if (choice.file.empty())
        choice.file = namedAfterTime("lanternix-", ".jsonl");
    const Recording recording(choice);
    if (!recording.isReady())
        return unreadable;
    tellBeginning(options, recording.driver(), recording.file());

    Launch launch(options.program.empty() ? std::vector<std::string>{findProgram()} : options.program);
    recording.prepare(launch);
    if (options.keep > 0)
        launch.set("BOARDREC_KEEP", nlohmann::json(options.keep).dump());
    if (options.json)
        launch.keepOffOutput();
    const int ended = launch.run();
    if (ended < 0)
        return unreadable;

    if (options.keep > 0 && !joinKept(recording.file()))
        return unreadable;
    tellEnd(options, totalsOf(recording.file()));
    return ended == 0 ? success : findings;
}

} // namespace

void addRecord(CommandLine &lab)
{
    const Command command =
        lab.command("record", "Start lanternix, or another program, and record what happens at the board");
    const auto options = std::make_shared<RecordOptions>();
    command
        .option("-o,--output", options->recording.file,
                "The file to write; by default one named after the time")
        .type("FILE");
    addBoardOptions(command, options->recording);
    command.option("--keep", options->keep, "Keep the last seconds only; lanternix-lab keep saves them")
        .type("SECONDS")
        .range(1e-6, 1e6);
    command.flag("--json", options->json,
                 "Print JSON objects, and what the program prints to standard error");
    command.option("PROGRAM", options->program, "The program to start, and its arguments, behind --");
    command.argumentsAtEnd();
    command.run([options] { return record(*options); });
}

} // namespace lab
