#include "commands/command.h"
#include "commands/files.h"
#include "commands/json.h"
#include "commands/junitprinter.h"
#include "commands/virtualscreen.h"
#include "language.h"

#include "capture/newfile.h"

#include "probe/probe.h"

#include "torture/trial.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace lab {

namespace {

struct TortureOptions
{
    std::string program;
    std::string driver; ///< of the board maker; empty for the simulated one
    std::vector<std::string> names;
    std::string junit;
    bool lists = false;
    bool json = false;
};

/// A fault with its number, and how it went.
struct Row
{
    std::size_t number = 0;
    const torture::Fault *fault = nullptr;
    torture::Outcome outcome;

    bool isHeld() const { return outcome.complaints.empty(); }
    std::string complaints(Audience audience) const
    {
        std::string text;
        const bool isForPerson = audience == Audience::person;
        for (const std::string &complaint : isForPerson ? outcome.complaintsForPerson : outcome.complaints)
            text += (text.empty() ? "" : "; ") + complaint;
        return text;
    }
};

/// The chosen faults, by name or number; empty if one is not known, which one line on standard error tells.
std::vector<Row> chosen(const std::vector<torture::Fault> &faults, const std::vector<std::string> &names)
{
    std::vector<Row> rows;
    for (std::size_t i = 0; i < faults.size(); ++i) {
        if (names.empty())
            rows.push_back({i + 1, &faults[i], {}});
    }
    for (const std::string &name : names) {
        const auto isNamed = [&](const torture::Fault &fault) {
            const auto number = static_cast<std::size_t>(&fault - faults.data()) + 1;
            return name == fault.name || name == std::to_string(number);
        };
        const auto found = std::find_if(faults.begin(), faults.end(), isNamed);
        if (found == faults.end()) {
            complain(tr("there is no fault \"%s\"; see lanternix-lab torture --list"), name.c_str());
            return {};
        }
        rows.push_back({static_cast<std::size_t>(found - faults.begin()) + 1, &*found, {}});
    }
    return rows;
}

void list(const std::vector<Row> &rows)
{
    for (const Row &row : rows)
        std::printf("%3zu  %-42s %s\n", row.number, row.fault->name.c_str(),
                    torture::whatOf(*row.fault).c_str());
}

void tell(const Row &row)
{
    std::printf("%3zu  %-42s %5.1f s  %s\n", row.number, row.fault->name.c_str(), row.outcome.seconds,
                row.isHeld() ? tr("held")
                             : format(tr("failed: %s"), row.complaints(Audience::person).c_str()).c_str());
    std::fflush(stdout); // a person watches
}

int failuresAmong(const std::vector<Row> &rows)
{
    return static_cast<int>(
        std::count_if(rows.begin(), rows.end(), [](const Row &row) { return !row.isHeld(); }));
}

std::string junitOf(const std::vector<Row> &rows)
{
    JUnitPrinter printer("lanternix-lab torture");
    printer.beginSuite("torture", {static_cast<int>(rows.size()), failuresAmong(rows), 0, 0});
    for (const Row &row : rows)
        printer.addCase("lanternix", row.fault->name, row.isHeld() ? nullptr : "failure",
                        row.complaints(Audience::program), row.outcome.seconds);
    printer.endSuite();
    return printer.finish();
}

void printJson(const std::vector<Row> &rows)
{
    Json faults = Json::array();
    for (const Row &row : rows)
        faults.push_back({{"number", row.number},
                          {"name", row.fault->name},
                          {"what", row.fault->what},
                          {"held", row.isHeld()},
                          {"complaints", row.outcome.complaints},
                          {"seconds", row.outcome.seconds}});
    const Json json{{"version", 1}, {"held", failuresAmong(rows) == 0}, {"faults", faults}};
    std::printf("%s\n", json.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
}

/// Whether a driver can be tried at all: success, findings if it breaks down by itself, or unreadable if the
/// loader does not take it or another process has it open. One line on standard error says what to do.
int judge(const std::string &driver)
{
    using Kind = probe::Ending::Kind;
    probe::Wish wish;
    wish.helper = findDriverProbe();
    wish.driver = driver;
    wish.seconds = 0;
    if (wish.helper.empty())
        return unreadable;
    const probe::Answer answer = probe::find(wish, [] {});
    const Kind kind = answer.ending.kind;
    if (kind == Kind::whole && answer.isAsked)
        return success;
    complain("%s", probe::verdictOf(answer).text.c_str());
    const bool breaksDown = kind == Kind::crashed || kind == Kind::exited || kind == Kind::hung;
    return breaksDown ? findings : unreadable;
}

/// Fills in what the options leave open. If something is missing or the driver cannot be tried, one line on
/// standard error has told, and the status of the command is returned; else success.
int prepare(const TortureOptions &options, stage::Setting &setting)
{
    setting.program = options.program.empty() ? findProgram() : absolute(options.program);
    const bool isSimulated = options.driver.empty();
    setting.driver = isSimulated ? findHostileDriver() : absolute(options.driver);
    if (setting.program.empty() || setting.driver.empty())
        return unreadable;
    return isSimulated ? success : judge(setting.driver);
}

/// Tries the faults one by one. False if a signal has ended that.
bool tryAll(const TortureOptions &options, const stage::Setting &setting, std::vector<Row> &rows)
{
    for (Row &row : rows) {
        row.outcome = torture::tryFault(setting, options.driver.empty(), *row.fault);
        if (row.outcome.isInterrupted)
            return false;
        if (!options.json)
            tell(row);
    }
    return true;
}

/// A program behind the names of faults was taken for one of them.
void findProgramAmongNames(const std::vector<torture::Fault> &faults, TortureOptions &options)
{
    if (options.names.empty() || !options.program.empty())
        return;
    const std::string &last = options.names.back();
    const bool isFault = std::any_of(faults.begin(), faults.end(),
                                     [&last](const torture::Fault &fault) { return fault.name == last; });
    if (isFault || last.find('/') == std::string::npos)
        return;
    options.program = last;
    options.names.pop_back();
}

int tortureProgram(TortureOptions options)
{
    const auto &faults = options.driver.empty() ? torture::catalogue() : torture::catalogueForAnyDriver();
    findProgramAmongNames(faults, options);
    std::vector<Row> rows = chosen(faults, options.names);
    if (rows.empty())
        return unreadable;
    if (options.lists) {
        list(rows);
        return success;
    }
    stage::Setting setting;
    if (const int status = prepare(options, setting); status != success)
        return status;
    const VirtualScreen screen;
    if (!screen.isThere())
        return unreadable;
    setting.screen = &screen;
    if (!tryAll(options, setting, rows)) {
        complain(tr("interrupted"));
        return unreadable;
    }
    const int failures = failuresAmong(rows);
    if (options.json)
        printJson(rows);
    else
        std::printf(tr("%zu faults, %d failed\n"), rows.size(), failures);
    if (!options.junit.empty()) {
        capture::NewFile file(options.junit);
        file.write(junitOf(rows));
        if (!file.finish())
            return unreadable;
    }
    return failures == 0 ? success : findings;
}

} // namespace

void addTorture(CommandLine &lab)
{
    const Command command =
        lab.command("torture", "Do to lanternix what boards and drivers do wrong, on a screen of its own");
    const auto options = std::make_shared<TortureOptions>();
    command.option("PROGRAM", options->program, "The program; by default the installed lanternix")
        .existingFile();
    const Option lists =
        command.flag("--list", options->lists, "List the faults with their numbers, and try none");
    command.option("--run", options->names, "Try only these faults, by their names or numbers")
        .type("NAME")
        .excludes(lists);
    command
        .option("--driver", options->driver,
                "Try a board maker's driver, as it is and without each of its functions")
        .type("PATH")
        .existingFile();
    command.option("--junit", options->junit, "Also write the result as JUnit does").type("OUT.xml");
    command.flag("--json", options->json, "Print one JSON object");
    command.run([options] { return tortureProgram(*options); });
}

} // namespace lab
