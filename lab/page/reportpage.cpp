#include "page/reportpage.h"

#include "language.h"
#include "page/charts.h"
#include "page/facts.h"
#include "page/style.h"

#include <algorithm>
#include <array>

namespace page {

namespace {

using grading::Activity;
using grading::FigureInfo;
using grading::Report;
using grading::Verdict;
using lab::Audience;
using lab::format;
using lab::tr;
using lab::trCount;

Aspect aspectOf(const Report &report)
{
    Aspect aspect;
    if (report.size)
        aspect.height = std::clamp(aspect.width * report.size->height / report.size->width, 400.0, 3200.0);
    return aspect;
}

void writeFigure(Html &html, const Report &report, const FigureInfo &info)
{
    const grading::Grade grade = report.grade(info.key);
    const Element row(html, "tr");
    {
        const Element cell(html, "td");
        html.leaf("strong", tr(info.title.data()));
        html.text(" ");
        html.leaf("code", info.key);
        html.leaf("p", tr(info.how.data()), {{"class", "note"}});
        html.leaf("p", tr(info.why.data()), {{"class", "note"}});
        if (grade.limit && !grade.limit->sentence.empty()) {
            html.leaf(
                // TRANSLATORS: a sentence of a standard or a profile, in its own language, and its source.
                "p", format(tr("Limit: %s (%s)"), grade.limit->sentence.c_str(), grade.limit->source.c_str()),
                {{"class", "note"}});
        }
    }
    html.leaf("td", valueText(report.summary.figures, info.key), {{"class", "number"}});
    if (!report.profile)
        return;
    html.leaf("td", grade.limit ? limitText(*grade.limit) : "–");
    html.leaf("td",
              std::string(tr(nameOf(grade.verdict).data()))
                  + (grade.score ? " (" + numberText(*grade.score, 2) + ")" : ""),
              {{"class", grade.verdict == Verdict::fail ? "fail" : "grade"}});
}

/// Which limits are not kept, in short.
void writeFailures(Html &html, const Report &report)
{
    if (report.total().failed == 0)
        return;
    const Element list(html, "ul");
    for (const grading::Limit &limit : report.profile->limits) {
        if (report.grade(limit.key).verdict != Verdict::fail)
            continue;
        html.leaf("li",
                  std::string(tr(grading::figureInfo(limit.key)->title.data())) + ": "
                      + valueText(report.summary.figures, limit.key) + "; " + boundText(limit));
    }
}

void writeFigures(Html &html, const Report &report)
{
    html.leaf("h2", tr("Figures"));
    if (!report.size) {
        html.leaf("p",
                  tr("The board's size is not known, so that nothing is in millimetres, and limits in "
                     "millimetres are "
                     "not graded. A board unit is 1/32768 of the screen's width or height."),
                  {{"class", "note"}});
    }
    std::string missing;
    {
        const Element table(html, "table", {{"class", "figures"}});
        {
            const Element head(html, "thead");
            const Element row(html, "tr");
            html.leaf("th", tr("Figure"), {{"scope", "col"}});
            html.leaf("th", tr("Value"), {{"scope", "col"}, {"class", "number"}});
            if (report.profile) {
                html.leaf("th", tr("Limit"), {{"scope", "col"}});
                html.leaf("th", tr("Verdict (score)"), {{"scope", "col"}});
            }
        }
        const Element body(html, "tbody");
        for (const FigureInfo &info : grading::figureInfos()) {
            if (report.summary.figures.count(std::string(info.key)) > 0)
                writeFigure(html, report, info);
            else if (info.unit != "mm" || report.size)
                missing += (missing.empty() ? "" : ", ") + std::string(info.key);
        }
    }
    if (!missing.empty())
        html.leaf("p",
                  format(tr("Not measured, since the recording has no such contacts: %s."), missing.c_str()),
                  {{"class", "note"}});
}

const char *nameOf(Activity activity)
{
    switch (activity) {
    case Activity::moving:
        return tr("moving, a second or more");
    case Activity::resting:
        return tr("resting");
    case Activity::hovering:
        return tr("hovering");
    }
    return "";
}

void writeRateRow(Html &html, const std::string &what, const grading::Tally &tally)
{
    const auto text = [&tally](double share) {
        const auto rate = tally.quantile(share);
        return rate ? numberText(*rate, 4) : std::string("–");
    };
    const Element row(html, "tr");
    html.leaf("td", what);
    for (const double share : {0.0, 0.01, 0.05, 0.5})
        html.leaf("td", text(share), {{"class", "number"}});
}

void writeRates(Html &html, const grading::Summary &summary)
{
    html.leaf("h2", tr("Report rate"));
    const bool hasRates = std::any_of(summary.rates.begin(), summary.rates.end(),
                                      [](const auto &rates) { return rates.second.all.count() > 0; });
    if (!hasRates) {
        html.leaf("p", tr("No contact was down for a second or more."));
        return;
    }
    html.leaf("p",
              tr("Reports of a contact a second, over every half second: from each of its samples to the "
                 "first one at "
                 "least half a second later."),
              {{"class", "note"}});
    {
        const Element scroll(html, "div", {{"class", "scroll"}});
        const Element table(html, "table");
        {
            const Element head(html, "thead");
            const Element row(html, "tr");
            html.leaf("th", tr("Contacts"), {{"scope", "col"}});
            for (const char *const title :
                 {tr("lowest"), tr("1st percentile"), tr("5th percentile"), tr("median")})
                html.leaf("th", title, {{"scope", "col"}, {"class", "number"}});
        }
        const Element body(html, "tbody");
        for (const auto &[kind, rates] : summary.rates) {
            if (rates.all.count() == 0)
                continue;
            const std::string what = std::string(capture::kindText(kind.first)) + ", " + nameOf(kind.second);
            writeRateRow(html, what, rates.all);
            if (rates.alone.count() > 0 && rates.together.count() > 0) {
                writeRateRow(html, format(tr("%s, one contact"), what.c_str()), rates.alone);
                writeRateRow(html, format(tr("%s, many"), what.c_str()), rates.together);
            }
        }
    }
    const auto isSeen = [](std::uint64_t count) { return count > 0; };
    if (std::any_of(summary.intervals.begin(), summary.intervals.end(), isSeen))
        intervalHistogram(html, summary.intervals);
}

void writeMaps(Html &html, const Report &report)
{
    html.leaf("h2", tr("Maps"));
    const Aspect aspect = aspectOf(report);
    const auto &found = report.summary.neighbours;
    const std::vector<Marks> marks{{'G', tr("ghost contact"), &found.ghosts},
                                   {'S', tr("changed identifier"), &found.swaps},
                                   {'D', tr("dropout"), &found.dropouts},
                                   {'M', tr("merged contacts"), &found.merges},
                                   {'J', tr("jump"), &report.summary.jumps}};
    if (report.summary.maps.empty())
        html.leaf("p", tr("No contact was down."));
    for (const auto &[board, map] : report.summary.maps) {
        html.leaf("h3", format(tr("Board %d"), board));
        strokeMap(html, board, map, marks, aspect);
        coverageMap(html, board, map, aspect);
        cellMap(html, tr("Jitter"),
                format(tr("Standard deviation of resting contacts of board %d, in board units, by cells of a "
                          "grid of 32 x 18."),
                       board),
                map.jitter(), aspect);
        cellMap(html, tr("Linearity"),
                format(tr("Root mean square of the deviation of straight strokes of board %d, in board "
                          "units, by cells of a grid of 32 x 18."),
                       board),
                map.linearity(), aspect);
    }
}

} // namespace

std::string valueText(const grading::Figures &figures, std::string_view key, Audience audience)
{
    const auto figure = figures.find(std::string(key));
    if (figure == figures.end())
        return "–";
    const FigureInfo *const info = grading::figureInfo(key);
    const bool hasUnit = info && !info->unit.empty();
    return numberText(figure->second, 4)
        + (hasUnit ? std::string(" ") + tr(info->unit.data(), audience) : "");
}

std::string verdictText(const grading::Total &total, const grading::Profile *profile)
{
    if (!profile)
        return tr("Not graded: no profile was given");
    const int graded = total.passed + total.failed;
    const std::string kept = format(trCount("%d of %d limits of the profile %s are kept", graded),
                                    total.passed, graded, profile->name.c_str());
    // TRANSLATORS: "PASS: 11 of 11 limits of the profile board are kept"
    std::string text = format(total.verdict() == Verdict::pass       ? tr("PASS: %s")
                                  : total.verdict() == Verdict::fail ? tr("FAIL: %s")
                                                                     : tr("Not graded: %s"),
                              kept.c_str());
    if (total.notGraded > 0)
        // TRANSLATORS: follows the text before: so many limits.
        text += format(trCount(", %d could not be graded", total.notGraded), total.notGraded);
    return text;
}

void writeVerdict(Html &html, const grading::Total &total, const grading::Profile *profile)
{
    html.leaf("p", verdictText(total, profile), {{"class", "verdict"}});
    if (profile && !profile->title.empty())
        html.leaf("p", profile->title, {{"class", "note"}});
}

void writeSections(Html &html, const Report &report)
{
    writeFailures(html, report);
    writeFacts(html, report);
    writeMaps(html, report);
    writeFigures(html, report);
    writeRates(html, report.summary);
    writeFindings(html, report.summary);
}

std::string reportPage(const Report &report)
{
    Html html(format(tr("Board report: %s"), report.file.c_str()), style);
    {
        const Element main(html, "main");
        html.leaf("h1", tr("Board report"));
        html.leaf("p", report.file, {{"class", "note"}});
        writeVerdict(html, report.total(), report.profile);
        writeSections(html, report);
    }
    return html.finish();
}

} // namespace page
