#pragma once

#include "torture/fault.h"

namespace torture {

// The parts of the catalogue; each appends its faults.

void addReports(std::vector<Fault> &faults);
void addContacts(std::vector<Fault> &faults);
void addCallbacks(std::vector<Fault> &faults);
void addDevices(std::vector<Fault> &faults);
void addCalls(std::vector<Fault> &faults);
void addMissingFunctions(std::vector<Fault> &faults);

} // namespace torture
