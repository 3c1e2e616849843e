#pragma once

#include <CLI/CLI.hpp>

namespace lab {

// What the command returns to the shell.
constexpr int success = 0;
constexpr int findings = 1;   ///< what was looked for was found, or a limit was passed
constexpr int unreadable = 2; ///< the command line or an input makes no sense

// Each adds one subcommand. If that is chosen, it runs while the command line is parsed, and leaves in @p
// status what the command is to return.
void addAccept(CLI::App &lab, int &status);
void addAnonymise(CLI::App &lab, int &status);
void addBundle(CLI::App &lab, int &status);
void addCheck(CLI::App &lab, int &status);
void addCut(CLI::App &lab, int &status);
void addDiff(CLI::App &lab, int &status);
void addExport(CLI::App &lab, int &status);
void addJoin(CLI::App &lab, int &status);
void addKeep(CLI::App &lab, int &status);
void addLatency(CLI::App &lab, int &status);
void addProbe(CLI::App &lab, int &status);
void addRecord(CLI::App &lab, int &status);
void addReplay(CLI::App &lab, int &status);
void addReport(CLI::App &lab, int &status);
void addSelftest(CLI::App &lab, int &status);
void addShow(CLI::App &lab, int &status);
void addTorture(CLI::App &lab, int &status);
void addWatch(CLI::App &lab, int &status);

} // namespace lab
