#pragma once

#include "commands/json.h"

#include "grading/comparison.h"
#include "grading/report.h"

#include <string>
#include <vector>

namespace lab {

/// A contact as an object of "contacts".
Json contactJson(const grading::ContactSummary &contact);
/// The JSON object of a recording in two pieces: between them stand its contacts, separated by commas, which
/// are composed elsewhere, since there may be very many.
struct ReportJson
{
    std::string head;
    std::string tail;
};
ReportJson reportJson(const grading::Report &report, bool withVersion);
/// The object "comparison".
Json comparisonJson(const std::vector<grading::Difference> &differences);

/// What was measured, for a terminal: a line for each figure, with a newline each.
std::string reportText(const grading::Report &report);
std::string comparisonText(const grading::Report &before, const grading::Report &after,
                           const std::vector<grading::Difference> &differences);

} // namespace lab
