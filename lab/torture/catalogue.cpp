#include "torture/catalogue.h"

#include "language.h"

namespace torture {

using lab::trLater;

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
        std::vector<Fault> faults{{"as-it-is", trLater("the driver as it is")},
                                  {"again", trLater("the driver as it is, started once more")}};
        addMissingFunctions(faults);
        for (Fault &fault : faults)
            fault.devices.clear();
        return faults;
    }();
    return all;
}

std::string whatOf(const Fault &fault)
{
    if (fault.missing.size() == 1)
        return lab::format(lab::tr("a driver without %s"), fault.missing.front().c_str());
    return lab::tr(fault.what.c_str());
}

} // namespace torture
