#pragma once

#include "commands/commandline.h"
#include "probe/probe.h"

namespace lab {

/// Adds --driver, --seconds and --patience, which fill in @p wish; it must outlive the parsing.
void addProbeOptions(const Command &command, probe::Wish &wish);

/// Asks the person at the terminal, if there is one, to touch the board.
void askToTouch(double seconds);

} // namespace lab
