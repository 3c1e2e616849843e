// lanternix-lab: records what a board reports, and shows, checks and replays it. Each subcommand is a file of
// its own in commands/.

#include "commands/command.h"

#include "language.h"

#include <exception>

int main(int argc, char *argv[])
try {
    lab::chooseLanguage();
    lab::CommandLine commandLine;
    for (const auto add :
         {lab::addProbe, lab::addBundle, lab::addTorture, lab::addSelftest, lab::addLatency, lab::addRecord,
          lab::addKeep, lab::addReplay, lab::addWatch, lab::addAccept, lab::addShow, lab::addCheck,
          lab::addDiff, lab::addReport, lab::addCut, lab::addJoin, lab::addAnonymise, lab::addExport})
        add(commandLine);
    return commandLine.run(argc, argv);
} catch (const std::exception &error) {
    lab::complain("%s", error.what());
    return lab::unreadable;
}
