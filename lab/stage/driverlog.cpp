#include "stage/driverlog.h"

#include <nlohmann/json.hpp>

namespace stage {

void DriverLog::read()
{
    if (!m_stream.is_open())
        m_stream.open(m_file);
    m_stream.clear(); // the end may have moved
    for (std::string line; std::getline(m_stream, line);) {
        m_rest += line;
        if (m_stream.eof())
            break;
        take(m_rest);
        m_rest.clear();
    }
}

bool DriverLog::isReporting(int board) const
{
    const auto set = m_destinations.find(board);
    return set != m_destinations.end() && set->second != 0;
}

void DriverLog::take(const std::string &line)
{
    // Nearly all lines are of reports, which need not be parsed.
    const bool isCall = line.find("\"export\"") != std::string::npos;
    if (!isCall && line.find("\"mark\"") == std::string::npos)
        return;
    const nlohmann::json json = nlohmann::json::parse(line, nullptr, false);
    if (json.is_discarded())
        return;
    if (!isCall) {
        m_marks.emplace(json.value("mark", ""), m_handbacks);
        return;
    }
    m_lastCall = json.value("export", "");
    if (m_lastCall == "zorvicSendTouchPacketToSystem")
        ++m_handbacks;
    if (m_lastCall == "zorvicSetTouchDestination")
        m_destinations[json["arguments"].value("board", 0)] = json["arguments"].value("destination", 0);
}

} // namespace stage
