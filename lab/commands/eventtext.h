#pragma once

#include "capture/contacts.h"
#include "capture/line.h"

#include <nlohmann/json.hpp>

#include <string>

namespace lab {

/// "    1.250000": seconds since the first line, with blanks where there is no time.
std::string timeText(const capture::Line &line);
/// What a report says, for a person: "touch  3 down at 1000,2000 extent 400".
std::string reportText(const capture::Line &line, const capture::Report &report);
/// What any other line says, without its time; control characters, which a terminal would obey, as '?'.
std::string eventText(const capture::Line &line);
/// The same for programs: the line's own fields, and of reports and hand-backs also what they mean.
nlohmann::ordered_json eventJson(const capture::Line &line, const capture::Report &report);

} // namespace lab
