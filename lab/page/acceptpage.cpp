#include "page/acceptpage.h"

#include "language.h"
#include "page/distortion.h"
#include "page/html.h"
#include "page/reportpage.h"
#include "page/style.h"

#include "accept/judges.h"

namespace page {

namespace {

using acceptance::lengthText;
using acceptance::Result;
using lab::format;
using lab::tr;
using lab::trCount;

/// The heads of a column with names, and of those with numbers.
void writeHead(Html &html, const char *names, std::initializer_list<const char *> numbers)
{
    const Element head(html, "thead");
    const Element row(html, "tr");
    html.leaf("th", names, {{"scope", "col"}});
    for (const char *const title : numbers)
        html.leaf("th", title, {{"scope", "col"}, {"class", "number"}});
}

void writeLength(Html &html, double length, const acceptance::Setting &setting)
{
    html.leaf("td", lengthText(length, setting), {{"class", "number"}});
}

void writeStep(Html &html, const acceptance::StepOutcome &outcome)
{
    const Element row(html, "tr");
    html.leaf("td", tr(outcome.step->title));
    const bool isWrong = outcome.result == Result::wrong;
    html.leaf("td", tr(acceptance::nameOf(outcome.result)), {{"class", isWrong ? "result fail" : "result"}});
    const Element cell(html, "td");
    for (const std::string &line : outcome.finding.lines)
        html.leaf("p", line);
    for (const std::string &fault : outcome.finding.faults)
        html.leaf("p", format(tr("Not right: %s"), fault.c_str()));
    if (outcome.tries > 1)
        html.leaf("p", format(trCount("Tried %d times; this is the last one.", outcome.tries), outcome.tries),
                  {{"class", "note"}});
}

void writeSteps(Html &html, const acceptance::Outcome &outcome)
{
    html.leaf("h2", tr("Steps"));
    const Element table(html, "table");
    {
        const Element head(html, "thead");
        const Element row(html, "tr");
        html.leaf("th", tr("Step"), {{"scope", "col"}});
        html.leaf("th", tr("Result"), {{"scope", "col"}, {"class", "result"}});
        html.leaf("th", tr("What was seen"), {{"scope", "col"}});
    }
    const Element body(html, "tbody");
    for (const acceptance::StepOutcome &step : outcome.steps)
        writeStep(html, step);
}

void writeErrors(Html &html, const std::string &what, double mean, double worst,
                 const acceptance::Setting &setting)
{
    const Element row(html, "tr");
    html.leaf("td", what);
    writeLength(html, mean, setting);
    writeLength(html, worst, setting);
}

std::string adviceText(acceptance::Advice advice)
{
    switch (advice) {
    case acceptance::Advice::good:
        return tr("Good: the board reports where it is touched.");
    case acceptance::Advice::calibrate:
        return tr("Calibrate: the errors are too large, but calibrating leaves little of them.");
    case acceptance::Advice::replace:
        break;
    }
    return tr("Replace: the errors are too large, and calibrating leaves too much of them.");
}

void writeCalibration(Html &html, const acceptance::Calibration &calibration,
                      const acceptance::Setting &setting)
{
    html.leaf("p", adviceText(calibration.advice), {{"class", "verdict"}});
    {
        const Element table(html, "table");
        writeHead(html, tr("Errors"), {tr("Mean"), tr("Worst")});
        const Element body(html, "tbody");
        const acceptance::Errors &errors = calibration.errors;
        const acceptance::Errors &left = calibration.left;
        writeErrors(html, tr("as the board is"), errors.mean, errors.worst, setting);
        writeErrors(html, tr("behind the best calibration"), left.mean, left.worst, setting);
        writeErrors(html, tr("limit"), setting.targets.mean, setting.targets.worst, setting);
    }
    html.leaf("p", acceptance::mappingText(calibration.mapping, setting));
    html.leaf("p",
              format(tr("The axes are %s degrees off the right angle."),
                     acceptance::decimal(calibration.mapping.shear).c_str()));
}

void writeTargets(Html &html, const acceptance::Finding &targets, const acceptance::Setting &setting)
{
    html.leaf("h2", tr("Targets"));
    if (targets.calibration)
        writeCalibration(html, *targets.calibration, setting);
    distortionMap(html, targets, setting);
}

void writeEachTarget(Html &html, const acceptance::Finding &targets, const acceptance::Setting &setting)
{
    html.leaf("h2", tr("Each target"));
    const Element table(html, "table");
    writeHead(html, tr("Target"), {tr("To the right"), tr("Down"), tr("Distance")});
    const Element body(html, "tbody");
    const acceptance::Errors errors = acceptance::errorsOf(targets.touched, setting.scale);
    for (std::size_t i = 0; i < targets.touched.size(); ++i) {
        const acceptance::Touched &touched = targets.touched[i];
        const Element row(html, "tr");
        html.leaf("td", touched.name);
        writeLength(html, (touched.at.x - touched.target.x) * setting.scale.x, setting);
        writeLength(html, (touched.at.y - touched.target.y) * setting.scale.y, setting);
        writeLength(html, errors.each[i], setting);
    }
    for (const std::string &missed : targets.missed) {
        const Element row(html, "tr");
        html.leaf("td", missed);
        html.leaf("td", tr("not tapped"), {{"class", "number"}, {"colspan", "3"}});
    }
}

void writeSignature(Html &html)
{
    html.leaf("h2", tr("Signature"));
    const Element place(html, "div", {{"class", "signature"}});
    for (const char *const line : {tr("Name"), tr("Date"), tr("Signature")})
        html.leaf("div", line);
}

} // namespace

std::string acceptPage(const acceptance::Outcome &outcome, const grading::Report &report)
{
    Html html(format(tr("Acceptance test: %s"), report.file.c_str()), style);
    {
        const Element main(html, "main");
        html.leaf("h1", tr("Acceptance test"));
        html.leaf("p", report.file, {{"class", "note"}});
        const bool keepsLimits = report.total().verdict() != grading::Verdict::fail;
        html.leaf("p", acceptance::verdictText(outcome, keepsLimits), {{"class", "verdict"}});
        if (report.profile)
            writeVerdict(html, report.total(), report.profile);
        writeSteps(html, outcome);
        const acceptance::Finding *const targets = outcome.targets();
        if (targets)
            writeTargets(html, *targets, outcome.setting);
        writeSignature(html);
        if (targets)
            writeEachTarget(html, *targets, outcome.setting);
        writeSections(html, report);
    }
    return html.finish();
}

} // namespace page
