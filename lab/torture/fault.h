#pragma once

#include "stage/lines.h"

#include <optional>
#include <string>
#include <vector>

namespace torture {

using stage::Lines;

/// One thing that boards and drivers do wrong, and what the program must do all the same: show its window,
/// draw and hand back a contact that comes after the fault, grow no more, withdraw what it has set, and end
/// with status 0.
struct Fault
{
    std::string name = {}; ///< e.g. "lift-without-down"
    std::string what = {}; ///< in a few words, in English
    Lines devices = {};    ///< lines of a scenario
    Lines round = {};      ///< lines of a scenario that are the fault once
    int rounds = 0;        ///< how often it happens while the program is measured

    std::string misbehaviour = {}; ///< of the driver, as BOARDSIM_MISBEHAVIOUR names it; empty for none
    Lines missing = {};            ///< functions that the driver lacks

    // What differs from a driver that works.
    bool plays = true;          ///< the driver gets to play the scenario
    bool draws = true;          ///< reports reach the program
    bool handsBack = true;      ///< contacts outside of the window reach the system
    bool tellsHandbacks = true; ///< the driver logs what goes back to the system
    bool logsDetach = true;     ///< the driver lives to log the last call
    bool endsReporting = true;  ///< boards report to the system again in the end
    std::optional<int> handbacks =
        {}; ///< reports that go back to the system in each round, if that is certain
};

/// What a fault is, for a person.
std::string whatOf(const Fault &fault);

/// All faults, in the order of their numbers, from 1.
const std::vector<Fault> &catalogue();

/// The faults that any driver can have: as it is, and without each of its functions.
const std::vector<Fault> &catalogueForAnyDriver();

} // namespace torture
