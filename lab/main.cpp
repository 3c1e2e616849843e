// lanternix-lab: records what a board reports, and shows, checks and replays it. Each subcommand is a file of
// its own in commands/.

#include "commands/command.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <string>

namespace {

/// Whether the first argument is an option or the name of a subcommand.
bool isKnown(CLI::App &lab, const std::string &first)
{
    const auto isNamed = [&first](const CLI::App *command) { return command->get_name() == first; };
    return first.rfind('-', 0) == 0 || !lab.get_subcommands(isNamed).empty();
}

/// The exit status of the command line.
int run(int argc, char *argv[])
{
    CLI::App lab("Records, shows, checks and replays what an electronic whiteboard reports.",
                 "lanternix-lab");
    lab.set_version_flag("--version", "lanternix-lab " LANTERNIX_VERSION);
    lab.require_subcommand(1);

    lab.failure_message([](const CLI::App *, const CLI::Error &error) {
        return "lanternix-lab: " + std::string(error.what()) + "; see lanternix-lab --help\n";
    });

    int status = lab::success;
    for (const auto add :
         {lab::addProbe, lab::addBundle, lab::addTorture, lab::addSelftest, lab::addLatency, lab::addRecord,
          lab::addKeep, lab::addReplay, lab::addWatch, lab::addAccept, lab::addShow, lab::addCheck,
          lab::addDiff, lab::addReport, lab::addCut, lab::addJoin, lab::addAnonymise, lab::addExport})
        add(lab, status);
    try {
        if (argc > 1 && !isKnown(lab, argv[1]))
            throw CLI::ExtrasError("there is no subcommand " + std::string(argv[1]),
                                   CLI::ExitCodes::ExtrasError);
        lab.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return lab.exit(error) == 0 ? lab::success : lab::unreadable;
    }
    return status;
}

} // namespace

int main(int argc, char *argv[])
try {
    return run(argc, argv);
} catch (const std::exception &error) {
    std::fprintf(stderr, "lanternix-lab: %s\n", error.what());
    return lab::unreadable;
}
