#pragma once

namespace boardsim {

/// One way to misbehave; docs/scenarios.md says what each does.
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
        deepStack,
        threads,
        pnpInReport,
        badArguments,
        reportLength,
        blockingWrite,
        prints,
        secondThread,
        callbacksAfterDetach,
        callbackOutlastsDetach,
        slowCalls,
        wrongDeviceCounts
    };

    Kind kind = Kind::none;
    int value = 0; ///< the number of a kind that takes one
};

/// Reads the variable BOARDSIM_MISBEHAVIOUR: a name, or "name=number" for a kind that takes a number.
/// Anything else prints one line on standard error and ends the process with status 1, so that no test passes
/// because of a misspelt name. Returns Kind::none if the variable is not set.
Misbehaviour readMisbehaviour();

} // namespace boardsim
