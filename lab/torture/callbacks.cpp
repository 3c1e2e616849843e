#include "torture/catalogue.h"

#include "language.h"
#include "stage/scene.h"

// Callbacks at the wrong time, in the wrong place and with the wrong arguments.

namespace torture {

using namespace stage;
using lab::trLater;

void addCallbacks(std::vector<Fault> &faults)
{
    struct Row
    {
        const char *name;
        const char *what;
        const char *misbehaviour;
    };
    constexpr Row rows[] = {
        {"callbacks-in-attach", trLater("callbacks that run before Attach returns"), "callbacks-in-attach"},
        {"callbacks-in-registration", trLater("callbacks that run before they are registered"),
         "callbacks-in-registration"},
        {"callbacks-in-detach", trLater("callbacks that were cleared and run in Detach"),
         "callbacks-in-detach"},
        {"callbacks-after-detach", trLater("callbacks that run after Detach"), "callbacks-after-detach=200"},
        {"callback-outlasts-detach", trLater("a callback that has not returned when Detach returns"),
         "callback-outlasts-detach=200"},
        {"bad-arguments", trLater("null pointers and wrong lengths"), "bad-arguments"},
        {"ten-threads", trLater("each callback on ten threads at once"), "threads=10"},
        {"deep-stack", trLater("a plug-and-play callback that finds 4 MB of its stack used"),
         "deep-stack=4000"},
        {"plug-in-report", trLater("a plug-and-play callback within each report to the system"),
         "pnp-in-report"},
        {"second-thread", trLater("a second thread that reports all the time"), "second-thread=5"},
    };
    const Lines round{touch(8, 9000, 9000, true),
                      touch(8, 12000, 9000, true),
                      touch(8, 12000, 9000, false),
                      touch(9, 50000, 9000, true),
                      touch(9, 50000, 9000, false),
                      pen(2, 9000, 15000, true),
                      pen(2, 12000, 15000, false),
                      unplug(2),
                      plug(2)};
    for (const Row &row : rows)
        faults.push_back({row.name, row.what, {board(1), board(2)}, round, 20, row.misbehaviour});
    for (Fault &fault : faults) {
        // What such a driver sends on a thread of its own is not logged.
        fault.tellsHandbacks = fault.name != "callback-outlasts-detach" && fault.name != "second-thread";
        if (!fault.tellsHandbacks)
            fault.rounds = 2; // each contact that goes back takes its time
        // A change of devices switches the boards on, even if it comes within Detach.
        fault.endsReporting = fault.name != "callbacks-in-detach";
    }
}

} // namespace torture
