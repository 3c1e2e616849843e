#pragma once

#include "page/html.h"

#include "grading/comparison.h"
#include "grading/report.h"

#include <string>
#include <vector>

namespace page {

// The pages of the command report. Each is one HTML document that needs no other file.

/// One recording: the verdict, what was recorded, all figures and maps.
std::string reportPage(const grading::Report &report);

/// Two recordings side by side.
std::string comparisonPage(const grading::Report &before, const grading::Report &after,
                           const std::vector<grading::Difference> &differences);

/// What a table of many recordings says of one.
struct Row
{
    std::string file;
    bool isUnreadable = false;
    double seconds = 0;
    std::int64_t contacts = 0;
    grading::Figures figures;
    grading::Total total;
};

/// The figures that a table of many recordings shows.
const std::vector<std::string> &tableKeys();
/// Many recordings, a line each.
std::string tablePage(const std::vector<Row> &rows, const grading::Profile *profile);

/// The sections of a report behind its verdict, for other pages that show one.
void writeSections(Html &html, const grading::Report &report);

/// "PASS: 12 of 12 limits are kept".
std::string verdictText(const grading::Total &total, const grading::Profile *profile);
void writeVerdict(Html &html, const grading::Total &total, const grading::Profile *profile);

/// A figure with its unit, such as "12.3 mm", or a dash if it was not measured.
std::string valueText(const grading::Figures &figures, std::string_view key,
                      lab::Audience audience = lab::Audience::person);

} // namespace page
