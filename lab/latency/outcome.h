#pragma once

#include "language.h"
#include "latency/statistics.h"

#include <string>
#include <vector>

namespace latency {

/// Reports of one kind.
struct Row
{
    std::string split; ///< by what these reports are told apart: "contacts", "pattern", "age" or "length"
    std::string name;  ///< which of them these are, in English
    int contacts = 0;
    bool tags = false;
    std::vector<double> times; ///< from the driver's callback to the pixel, milliseconds; never empty
    int length = 0;            ///< of the stroke before, in reports, if that is what tells them apart
};

/// The name of a row that is told apart by its length.
inline constexpr const char *strokeName = lab::trLater("stroke after %d reports");

/// Who drew it, such as "2 contacts, tags on".
std::string drawnBy(const Row &row, lab::Audience audience = lab::Audience::person);
/// The row's name for a person.
std::string nameOf(const Row &row);

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
