#pragma once

#include "latency/statistics.h"

#include <string>
#include <vector>

namespace latency {

/// Reports of one kind.
struct Row
{
    std::string split; ///< by what these reports are told apart: "contacts", "pattern", "age" or "length"
    std::string name;  ///< which of them these are, for a person
    int contacts = 0;
    bool tags = false;
    std::vector<double> times; ///< from the driver's callback to the pixel, milliseconds; never empty
};

/// Who drew it, such as "2 contacts, tags on".
inline std::string drawnBy(const Row &row)
{
    return std::to_string(row.contacts) + (row.contacts == 1 ? " contact" : " contacts")
        + (row.tags ? ", tags on" : ", tags off");
}

/// What was measured.
struct Outcome
{
    int width = 0; ///< of the screen
    int height = 0;
    std::vector<double> ticks; ///< between two redraws, milliseconds
    TickWait tick;             ///< of their median
    std::vector<Row> rows;
};

} // namespace latency
