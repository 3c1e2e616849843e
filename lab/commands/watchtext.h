#pragma once

#include "commands/figures.h"

#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace lab {

/// What watch shows, line by line, at most 80 characters wide unless the bytes of the last report of each
/// board are asked for; in words and signs that need no colour.
std::vector<std::string> watchText(const Figures &figures, bool showsBytes);
/// The same for programs: one object.
nlohmann::ordered_json watchJson(const Figures &figures);

/// What limits may name.
inline const std::vector<std::string> watchKeys{
    "reports_per_second", "stuck_count", "orphan_lift_count", "dropout_count",    "undecodable_count",
    "handback_count",     "lost_count",  "inside_median_us",  "inside_longest_us"};
/// Their values, as far as they are known: a rate only after a second of reports.
std::map<std::string, double> watchFigures(const Figures &figures);

} // namespace lab
