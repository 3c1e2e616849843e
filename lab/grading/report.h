#pragma once

#include "grading/analysis.h"
#include "grading/profile.h"
#include "language.h"

#include <optional>
#include <string>

namespace grading {

/// A recording that has been measured, and what it is held against.
struct Report
{
    std::string file;
    Summary summary;
    std::optional<BoardSize> size;    ///< nothing is in millimetres without it
    const Profile *profile = nullptr; ///< null: nothing is graded; must outlive the report

    Grade grade(std::string_view key) const { return gradeOf(summary.figures, key, profile); }
    Total total() const { return totalOf(summary.figures, profile); }
};

/// "at most 1.5 mm": what a limit asks for.
std::string boundText(const Limit &limit, lab::Audience audience = lab::Audience::person);
/// The same with its soft edge: "at least 100 Hz, falling over 20 more".
std::string limitText(const Limit &limit, lab::Audience audience = lab::Audience::person);

} // namespace grading
