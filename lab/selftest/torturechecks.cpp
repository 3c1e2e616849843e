#include "selftest/check.h"

#include "torture/trial.h"

#include <algorithm>

// A few of the faults that lanternix-lab torture has.

namespace selftest {

void addTortureChecks(std::vector<Check> &checks)
{
    constexpr std::string_view chosen[] = {"every-length", "127-contacts",        "flood",
                                           "ten-threads",  "unplug-in-a-stroke",  "wrong-device-counts",
                                           "prints",       "without-SetCallback", "without-all"};
    for (const torture::Fault &fault : torture::catalogue()) {
        if (std::find(std::begin(chosen), std::end(chosen), fault.name) == std::end(chosen))
            continue;
        checks.push_back({"torture", fault.what, [&fault](const Parts &parts) {
                              const stage::Setting setting{parts.program, parts.hostileDriver, parts.screen};
                              std::string wrong;
                              for (const std::string &complaint :
                                   torture::tryFault(setting, true, fault).complaints)
                                  wrong += (wrong.empty() ? "" : "; ") + complaint;
                              return wrong;
                          }});
    }
}

} // namespace selftest
