#include "commands/command.h"
#include "commands/files.h"
#include "commands/input.h"
#include "commands/launch.h"
#include "commands/lock.h"
#include "commands/recordingsocket.h"

#include "capture/contacts.h"
#include "capture/parts.h"

#include <cinttypes>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <nlohmann/json.hpp>

namespace lab {

namespace {

using Json = nlohmann::ordered_json;

struct Options
{
    std::string output;
    std::string scenario;
    std::string driver;
    double keep = 0; ///< seconds; 0: all is kept
    bool identify = false;
    bool json = false;
    std::vector<std::string> program;
};

/// "lanternix-2026-11-22-153012.jsonl": the time tells recordings of a day apart.
std::string newName()
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char name[64];
    std::strftime(name, sizeof name, "lanternix-%Y-%m-%d-%H%M%S.jsonl", &local);
    return name;
}

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

void tellBeginning(const Options &options, const std::string &driver, const std::string &file)
{
    if (options.json)
        std::printf("%s\n", Json{{"driver", driver}, {"file", file}}.dump().c_str());
    else
        std::printf("driver %s, recording %s\n", driver.c_str(), file.c_str());
    std::fflush(stdout);
}

void tellEnd(const Options &options, const Totals &totals)
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
    else
        std::printf("%" PRId64 " reports, %.1f s, %" PRId64 " contacts, %" PRId64 " lost\n", totals.reports,
                    seconds, totals.contacts, totals.lost);
}

int record(const Options &options)
{
    const std::string recorder = findRecorder();
    const std::string driver = options.scenario.empty() ? findDriver(options.driver) : findSimulatedDriver();
    if (recorder.empty() || driver.empty())
        return unreadable;
    const std::string file = absolute(options.output.empty() ? newName() : options.output);
    const Lock lock("recording", driver);
    if (!lock.isHeld()) {
        std::fprintf(stderr, "lanternix-lab: the board of %s is being recorded already\n", driver.c_str());
        return unreadable;
    }
    tellBeginning(options, driver, file);

    Launch launch(options.program.empty() ? std::vector<std::string>{findProgram()} : options.program);
    launch.prependPath("LD_LIBRARY_PATH", folderOf(recorder));
    launch.set("BOARDREC_DRIVER", driver);
    launch.set("BOARDREC_CAPTURE", file);
    launch.set("BOARDREC_SOCKET", nameOfRecordingSocket());
    if (options.keep > 0)
        launch.set("BOARDREC_KEEP", nlohmann::json(options.keep).dump());
    if (options.json)
        launch.keepOffOutput();
    if (options.identify)
        launch.set("BOARDREC_IDENTIFY", "1");
    if (!options.scenario.empty())
        launch.set("BOARDSIM_SCENARIO", absolute(options.scenario));
    const int ended = launch.run();
    if (ended < 0)
        return unreadable;

    if (options.keep > 0 && !joinKept(file))
        return unreadable;
    tellEnd(options, totalsOf(file));
    return ended == 0 ? success : findings;
}

} // namespace

void addRecord(CLI::App &lab, int &status)
{
    CLI::App &command = *lab.add_subcommand(
        "record", "Start lanternix, or another program, and record what happens at the board");
    const auto options = std::make_shared<Options>();
    command
        .add_option("-o,--output", options->output, "The file to write; by default one named after the time")
        ->type_name("FILE");
    CLI::Option *const scenario =
        command.add_option("--sim", options->scenario, "Use the simulated board, which plays this scenario")
            ->type_name("SCENARIO")
            ->check(CLI::ExistingFile);
    command
        .add_option("--driver", options->driver, "Use this driver instead of the one that the loader finds")
        ->type_name("PATH")
        ->check(CLI::ExistingFile)
        ->excludes(scenario);
    command.add_option("--keep", options->keep, "Keep the last seconds only; lanternix-lab keep saves them")
        ->type_name("SECONDS")
        ->check(CLI::Range(1e-6, 1e6));
    command.add_flag("--identify", options->identify,
                     "Also write user, host and serial numbers into the recording");
    command.add_flag("--json", options->json,
                     "Print JSON objects, and what the program prints to standard error");
    command.add_option("PROGRAM", options->program, "The program to start, and its arguments, behind --");
    command.positionals_at_end();
    command.callback([options, &status] { status = record(*options); });
}

} // namespace lab
