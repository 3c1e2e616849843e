#pragma once

#include "page/html.h"

#include "grading/report.h"

namespace page {

/// What was recorded: the boards, driver, program and screen, and how much.
void writeFacts(Html &html, const grading::Report &report);
/// What stands out: undecodable reports, hand-backs, and a person's notes.
void writeFindings(Html &html, const grading::Summary &summary);

} // namespace page
