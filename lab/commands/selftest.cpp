#include "commands/command.h"
#include "commands/files.h"
#include "commands/json.h"
#include "commands/junitprinter.h"
#include "commands/virtualscreen.h"
#include "language.h"

#include "capture/newfile.h"

#include "selftest/check.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace lab {

namespace {

struct SelftestOptions
{
    std::string program;
    std::vector<std::string> requirements; ///< to be tested; all if empty
    std::string junit;
    bool json = false;
};

/// A line of the ledger.
struct Entry
{
    selftest::Check check;
    const char *result = trLater("passed"); ///< or "failed", "left out"
    Message cause = {};                     ///< why it has not passed
    double seconds = 0;

    bool is(const char *other) const { return std::string(result) == other; }
};

Entry run(const selftest::Check &check, const selftest::Parts &parts)
{
    using Clock = std::chrono::steady_clock;
    Entry entry{check};
    const auto begun = Clock::now();
    try {
        entry.cause = check.run(parts);
        entry.result = entry.cause.empty() ? "passed" : trLater("failed");
    } catch (const selftest::LeftOut &leftOut) {
        entry.result = trLater("left out");
        entry.cause = leftOut.cause();
    }
    entry.seconds = std::chrono::duration<double>(Clock::now() - begun).count();
    for (std::string *const text : {&entry.cause.told, &entry.cause.english})
        std::replace(text->begin(), text->end(), '\n', ' ');
    return entry;
}

void tell(const Entry &entry)
{
    std::printf("%-12s %s %s %6.1f s%s%s\n", entry.check.requirement.c_str(),
                padded(entry.check.name.told, 58).c_str(), padded(tr(entry.result), 8).c_str(), entry.seconds,
                entry.cause.empty() ? "" : "  ", entry.cause.told.c_str());
    std::fflush(stdout); // a person watches
}

int count(const std::vector<Entry> &ledger, const char *result)
{
    return static_cast<int>(std::count_if(ledger.begin(), ledger.end(),
                                          [result](const Entry &entry) { return entry.is(result); }));
}

double secondsOf(const std::vector<Entry> &ledger)
{
    double seconds = 0;
    for (const Entry &entry : ledger)
        seconds += entry.seconds;
    return seconds;
}

void printJson(const std::vector<Entry> &ledger)
{
    Json entries = Json::array();
    for (const Entry &entry : ledger)
        entries.push_back({{"requirement", entry.check.requirement},
                           {"test", entry.check.name.english},
                           {"result", entry.result},
                           {"cause", entry.cause.english},
                           {"seconds", entry.seconds}});
    const Json json{{"version", 1}, {"passed", count(ledger, "failed") == 0}, {"ledger", entries}};
    std::printf("%s\n", json.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
}

std::string junitOf(const std::vector<Entry> &ledger)
{
    JUnitPrinter printer("lanternix-lab selftest");
    printer.beginSuite(
        "selftest", {static_cast<int>(ledger.size()), count(ledger, "failed"), 0, count(ledger, "left out")});
    for (const Entry &entry : ledger)
        printer.addCase(entry.check.requirement, entry.check.name.english,
                        entry.is("passed")       ? nullptr
                            : entry.is("failed") ? "failure"
                                                 : "skipped",
                        entry.cause.english, entry.seconds);
    printer.endSuite();
    return printer.finish();
}

/// What the checks need; false if something is missing, which one line on standard error has told.
bool find(const SelftestOptions &options, selftest::Parts &parts)
{
    parts.command = ownPath();
    parts.program = options.program.empty() ? findProgram() : absolute(options.program);
    parts.driver = findSimulatedDriver();
    parts.hostileDriver = findHostileDriver();
    parts.scenario = findScenario("tags.jsonl");
    return !parts.program.empty() && !parts.driver.empty() && !parts.hostileDriver.empty()
        && !parts.scenario.empty();
}

/// The checks of the chosen requirements; none if one is not known, which one line on standard error tells.
std::vector<selftest::Check> chosenOf(const std::vector<std::string> &requirements)
{
    std::vector<selftest::Check> chosen = selftest::checks();
    for (const std::string &requirement : requirements) {
        const auto isOfIt = [&](const selftest::Check &check) { return check.requirement == requirement; };
        if (std::none_of(chosen.begin(), chosen.end(), isOfIt)) {
            complain(tr("there is no requirement \"%s\""), requirement.c_str());
            return {};
        }
    }
    const auto isOther = [&](const selftest::Check &check) {
        return !requirements.empty()
            && std::find(requirements.begin(), requirements.end(), check.requirement) == requirements.end();
    };
    chosen.erase(std::remove_if(chosen.begin(), chosen.end(), isOther), chosen.end());
    return chosen;
}

int test(const SelftestOptions &options)
{
    const std::vector<selftest::Check> chosen = chosenOf(options.requirements);
    selftest::Parts parts;
    if (chosen.empty() || !find(options, parts))
        return unreadable;
    const VirtualScreen screen;
    if (!screen.isThere())
        return unreadable;
    parts.screen = &screen;
    std::vector<Entry> ledger;
    for (const selftest::Check &check : chosen) {
        ledger.push_back(run(check, parts));
        if (!options.json)
            tell(ledger.back());
    }
    if (options.json)
        printJson(ledger);
    else
        std::printf(tr("%zu tests, %d failed, %d left out, %.0f s\n"), ledger.size(), count(ledger, "failed"),
                    count(ledger, "left out"), secondsOf(ledger));
    if (!options.junit.empty()) {
        capture::NewFile file(options.junit);
        file.write(junitOf(ledger));
        if (!file.finish())
            return unreadable;
    }
    return count(ledger, "failed") == 0 ? success : findings;
}

} // namespace

void addSelftest(CommandLine &lab)
{
    const Command command = lab.command(
        "selftest", "Test what is installed here, with the simulated board, on a screen of its own");
    const auto options = std::make_shared<SelftestOptions>();
    command.option("PROGRAM", options->program, "The program; by default the installed lanternix")
        .existingFile();
    command
        .option("--run", options->requirements, "Test only this requirement, such as tools; may be repeated")
        .type("NAME")
        .single();
    command.option("--junit", options->junit, "Also write the result as JUnit does").type("OUT.xml");
    command.flag("--json", options->json, "Print one JSON object");
    command.run([options] { return test(*options); });
}

} // namespace lab
