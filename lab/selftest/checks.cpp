#include "selftest/check.h"

namespace selftest {

std::vector<Check> checks()
{
    std::vector<Check> all;
    for (const auto add : {addProgramChecks, addScreenChecks, addTextChecks, addTortureChecks, addToolChecks})
        add(all);
    return all;
}

} // namespace selftest
