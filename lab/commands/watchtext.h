#pragma once

#include "commands/figures.h"

#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace lab {

/// What watch shows, line by line, in words and signs that need no colour. @p showsBytes adds the last report
/// of each board.
std::vector<std::string> watchText(const Figures &figures, bool showsBytes);
/// The same for programs: one object.
nlohmann::ordered_json watchJson(const Figures &figures);
/// The figures that limits may name: reports_per_second, stuck_count, orphan_lift_count, dropout_count,
/// undecodable_count, handback_count, lost_count, inside_median_us, inside_longest_us.
std::map<std::string, double> watchFigures(const Figures &figures);

} // namespace lab
