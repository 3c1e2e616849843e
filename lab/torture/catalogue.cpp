#include "torture/catalogue.h"

namespace torture {

const std::vector<Fault> &catalogue()
{
    static const std::vector<Fault> all = [] {
        std::vector<Fault> faults;
        for (const auto add :
             {addReports, addContacts, addCallbacks, addDevices, addCalls, addMissingFunctions})
            add(faults);
        return faults;
    }();
    return all;
}

const std::vector<Fault> &catalogueForAnyDriver()
{
    static const std::vector<Fault> all = [] {
        std::vector<Fault> faults{{"as-it-is", "the driver as it is"},
                                  {"again", "the driver as it is, started once more"}};
        addMissingFunctions(faults);
        for (Fault &fault : faults)
            fault.devices.clear();
        return faults;
    }();
    return all;
}

} // namespace torture
