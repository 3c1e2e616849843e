#pragma once

#include "torture/fault.h"

#include "stage/session.h"

namespace torture {

/// How a fault went.
struct Outcome
{
    Lines complaints;           ///< what was not as it must be, in whole phrases in English; empty if all was
    Lines complaintsForPerson;  ///< the same in the person's language
    double seconds = 0;         ///< that it took
    bool isInterrupted = false; ///< by Ctrl-C or SIGTERM: nothing is known of the fault
};

/// Starts the program with the fault, looks at what it does, and ends it with Escape. A driver that is not
/// @p isSimulated plays no scenario and keeps no log.
Outcome tryFault(const stage::Setting &setting, bool isSimulated, const Fault &fault);

} // namespace torture
