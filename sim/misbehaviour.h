#pragma once

namespace boardsim {

/// One way to misbehave; docs/scenarios.md tells what each does.
struct Misbehaviour
{
    enum class Kind {
        none,
        attachFails,
        deviceCount,
        sameNumber,
        fullRecord,
        latin1Info,
        callbacksInAttach,
        callbacksInRegistration,
        callbacksInDetach,
        threads,
        pnpInReport,
        badArguments,
        reportLength,
        blockingWrite,
        prints
    };

    Kind kind = Kind::none;
    int value = 0; ///< for those that take a number
};

/// Reads the variable BOARDSIM_MISBEHAVIOUR: a name, or "name=number" for those that take a number. Anything
/// else gives one line on standard error and ends the process with status 1, so that no test passes because
/// of a slip in a name. None when it is not set.
Misbehaviour readMisbehaviour();

} // namespace boardsim
