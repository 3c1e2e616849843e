#pragma once

#include "torture/fault.h"

#include <string>
#include <vector>

namespace lab {
class VirtualScreen;
}

namespace torture {

/// How a fault went.
struct Outcome
{
    Lines complaints;           ///< what was not as it must be, in whole phrases; empty if all was
    double seconds = 0;         ///< that it took
    bool isInterrupted = false; ///< by Ctrl-C or SIGTERM: nothing is known of the fault
};

/// What a trial needs.
struct Setting
{
    std::string program;     ///< the file of lanternix
    std::string driver;      ///< the file of the driver library
    bool isSimulated = true; ///< whether that driver plays scenarios and keeps a log
    const lab::VirtualScreen *screen = nullptr;
    double patience = 30; ///< seconds for one step, on a busy machine
};

/// Starts the program with the fault, looks at what it does, and ends it with Escape.
Outcome tryFault(const Setting &setting, const Fault &fault);

} // namespace torture
