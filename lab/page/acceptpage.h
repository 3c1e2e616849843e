#pragma once

#include "accept/dialogue.h"
#include "grading/report.h"

#include <string>

namespace page {

/// The page of an acceptance test, to be signed: the verdict, the steps, what the targets say, and the report
/// of the whole recording.
std::string acceptPage(const acceptance::Outcome &outcome, const grading::Report &report);

} // namespace page
