#pragma once

#include "korvane.h"
#include "support/simulated_driver.h"

#include <QObject>

#include <functional>
#include <string>
#include <vector>

/// Stands in for the window: keeps every record of an input model as it arrives, and answers it.
class ContactReceiver
{
public:
    using Answer = std::function<void(Korvane::Controls &)>;

    /// Listens to @p korvane from now on, as long as this object lives.
    explicit ContactReceiver(Korvane &korvane);

    /// Called with each record after it has been kept. By default it does nothing, so no contact is taken.
    Answer answer = [](Korvane::Controls &) {};

    std::vector<Korvane::Controls> pens;
    std::vector<std::vector<Korvane::Controls>> touches; ///< one list for each emission
    std::vector<std::vector<Korvane::Controls>> erasers; ///< one list for each emission

private:
    void receive(std::vector<std::vector<Korvane::Controls>> &lists, std::vector<Korvane::Controls> &records);

    QObject m_context; ///< its destruction ends the connections
};

/// Takes every contact.
void take(Korvane::Controls &record);

/// The reports written back to the operating system, oldest first, as hexadecimal bytes.
std::vector<std::string> handed_back(const SimulatedDriver &driver);
