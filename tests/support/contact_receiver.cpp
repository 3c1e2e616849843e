#include "support/contact_receiver.h"

ContactReceiver::ContactReceiver(Korvane &korvane)
{
    QObject::connect(&korvane, &Korvane::out_korvane_pen_event, &m_context, [this](auto &record) {
        pens.push_back(record);
        answer(record);
    });
    QObject::connect(&korvane, &Korvane::out_korvane_touch_event, &m_context,
                     [this](auto &records) { receive(touches, records); });
    QObject::connect(&korvane, &Korvane::out_korvane_erase_event, &m_context,
                     [this](auto &records) { receive(erasers, records); });
}

void ContactReceiver::receive(std::vector<std::vector<Korvane::Controls>> &lists,
                              std::vector<Korvane::Controls> &records)
{
    lists.push_back(records);
    for (Korvane::Controls &record : records)
        answer(record);
}

void take(Korvane::Controls &record)
{
    record.flags |= 1U;
}

std::vector<std::string> handed_back(const SimulatedDriver &driver)
{
    std::vector<std::string> reports;
    for (const DriverCall &call : driver.calls("SendTouchPacketToSystem"))
        reports.push_back(call.arguments["data"]);
    return reports;
}
