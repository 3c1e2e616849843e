#include "selftest/check.h"

#include "language.h"
#include "torture/trial.h"

#include <algorithm>

// A few of the faults that lanternix-lab torture has.

namespace selftest {

namespace {

std::string joined(const torture::Lines &complaints)
{
    std::string text;
    for (const std::string &complaint : complaints)
        text += (text.empty() ? "" : "; ") + complaint;
    return text;
}

} // namespace

void addTortureChecks(std::vector<Check> &checks)
{
    constexpr std::string_view chosen[] = {"every-length", "127-contacts",        "flood",
                                           "ten-threads",  "unplug-in-a-stroke",  "wrong-device-counts",
                                           "prints",       "without-SetCallback", "without-all"};
    for (const torture::Fault &fault : torture::catalogue()) {
        if (std::find(std::begin(chosen), std::end(chosen), fault.name) == std::end(chosen))
            continue;
        checks.push_back(
            {"torture", {torture::whatOf(fault), fault.what}, [&fault](const Parts &parts) {
                 const stage::Setting setting{parts.program, parts.hostileDriver, parts.screen};
                 const torture::Outcome outcome = torture::tryFault(setting, true, fault);
                 return lab::Message{joined(outcome.complaintsForPerson), joined(outcome.complaints)};
             }});
    }
}

} // namespace selftest
