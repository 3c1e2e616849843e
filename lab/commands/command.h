#pragma once

#include "commands/commandline.h"

namespace lab {

// Each adds one subcommand.
void addAccept(CommandLine &lab);
void addAnonymise(CommandLine &lab);
void addBundle(CommandLine &lab);
void addCheck(CommandLine &lab);
void addCut(CommandLine &lab);
void addDiff(CommandLine &lab);
void addExport(CommandLine &lab);
void addJoin(CommandLine &lab);
void addKeep(CommandLine &lab);
void addLatency(CommandLine &lab);
void addProbe(CommandLine &lab);
void addRecord(CommandLine &lab);
void addReplay(CommandLine &lab);
void addReport(CommandLine &lab);
void addSelftest(CommandLine &lab);
void addShow(CommandLine &lab);
void addTorture(CommandLine &lab);
void addWatch(CommandLine &lab);

} // namespace lab
