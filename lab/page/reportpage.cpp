#include "page/reportpage.h"

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
        html.leaf("strong", info.title);
        html.text(" ");
        html.leaf("code", info.key);
        html.leaf("p", info.how, {{"class", "note"}});
        html.leaf("p", info.why, {{"class", "note"}});
        if (grade.limit && !grade.limit->sentence.empty()) {
            html.leaf("p", "Limit: " + grade.limit->sentence + " (" + grade.limit->source + ")",
                      {{"class", "note"}});
        }
    }
    html.leaf("td", valueText(report.summary.figures, info.key), {{"class", "number"}});
    if (!report.profile)
        return;
    html.leaf("td", grade.limit ? limitText(*grade.limit) : "–");
    html.leaf("td",
              std::string(nameOf(grade.verdict))
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
                  std::string(grading::figureInfo(limit.key)->title) + ": "
                      + valueText(report.summary.figures, limit.key) + "; " + boundText(limit));
    }
}

void writeFigures(Html &html, const Report &report)
{
    html.leaf("h2", "Figures");
    if (!report.size) {
        html.leaf(
            "p",
            "The board's size is not known, so that nothing is in millimetres, and limits in millimetres are "
            "not graded. A board unit is 1/32768 of the screen's width or height.",
            {{"class", "note"}});
    }
    std::string missing;
    {
        const Element table(html, "table", {{"class", "figures"}});
        {
            const Element head(html, "thead");
            const Element row(html, "tr");
            html.leaf("th", "Figure", {{"scope", "col"}});
            html.leaf("th", "Value", {{"scope", "col"}, {"class", "number"}});
            if (report.profile) {
                html.leaf("th", "Limit", {{"scope", "col"}});
                html.leaf("th", "Verdict (score)", {{"scope", "col"}});
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
        html.leaf("p", "Not measured, since the recording has no such contacts: " + missing + ".",
                  {{"class", "note"}});
}

std::string_view nameOf(Activity activity)
{
    switch (activity) {
    case Activity::moving:
        return "moving, a second or more";
    case Activity::resting:
        return "resting";
    case Activity::hovering:
        return "hovering";
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
    html.leaf("h2", "Report rate");
    const bool hasRates = std::any_of(summary.rates.begin(), summary.rates.end(),
                                      [](const auto &rates) { return rates.second.all.count() > 0; });
    if (!hasRates) {
        html.leaf("p", "No contact was down for a second or more.");
        return;
    }
    html.leaf(
        "p",
        "Reports of a contact a second, over every half second: from each of its samples to the first one at "
        "least half a second later.",
        {{"class", "note"}});
    {
        const Element scroll(html, "div", {{"class", "scroll"}});
        const Element table(html, "table");
        {
            const Element head(html, "thead");
            const Element row(html, "tr");
            html.leaf("th", "Contacts", {{"scope", "col"}});
            for (const char *const title : {"lowest", "1st percentile", "5th percentile", "median"})
                html.leaf("th", title, {{"scope", "col"}, {"class", "number"}});
        }
        const Element body(html, "tbody");
        for (const auto &[kind, rates] : summary.rates) {
            if (rates.all.count() == 0)
                continue;
            const std::string what =
                std::string(capture::nameOf(kind.first)) + ", " + std::string(nameOf(kind.second));
            writeRateRow(html, what, rates.all);
            if (rates.alone.count() > 0 && rates.together.count() > 0) {
                writeRateRow(html, what + ", one contact", rates.alone);
                writeRateRow(html, what + ", many", rates.together);
            }
        }
    }
    const auto isSeen = [](std::uint64_t count) { return count > 0; };
    if (std::any_of(summary.intervals.begin(), summary.intervals.end(), isSeen))
        intervalHistogram(html, summary.intervals);
}

void writeMaps(Html &html, const Report &report)
{
    html.leaf("h2", "Maps");
    const Aspect aspect = aspectOf(report);
    const auto &found = report.summary.neighbours;
    const std::vector<Marks> marks{{'G', "ghost contact", &found.ghosts},
                                   {'S', "changed identifier", &found.swaps},
                                   {'D', "dropout", &found.dropouts},
                                   {'M', "merged contacts", &found.merges},
                                   {'J', "jump", &report.summary.jumps}};
    if (report.summary.maps.empty())
        html.leaf("p", "No contact was down.");
    for (const auto &[board, map] : report.summary.maps) {
        const std::string of =
            " of board " + std::to_string(board) + ", in board units, by cells of a grid of 32 x 18.";
        html.leaf("h3", "Board " + std::to_string(board));
        strokeMap(html, board, map, marks, aspect);
        coverageMap(html, board, map, aspect);
        cellMap(html, "Jitter", "Standard deviation of resting contacts" + of, map.jitter(), aspect);
        cellMap(html, "Linearity", "Root mean square of the deviation of straight strokes" + of,
                map.linearity(), aspect);
    }
}

} // namespace

std::string valueText(const grading::Figures &figures, std::string_view key)
{
    const auto figure = figures.find(std::string(key));
    if (figure == figures.end())
        return "–";
    const FigureInfo *const info = grading::figureInfo(key);
    const bool hasUnit = info && !info->unit.empty();
    return numberText(figure->second, 4) + (hasUnit ? " " + std::string(info->unit) : "");
}

std::string verdictText(const grading::Total &total, const grading::Profile *profile)
{
    if (!profile)
        return "Not graded: no profile was given";
    const int graded = total.passed + total.failed;
    std::string text = total.verdict() == Verdict::pass ? "PASS: "
        : total.verdict() == Verdict::fail              ? "FAIL: "
                                                        : "Not graded: ";
    text += std::to_string(total.passed) + " of " + std::to_string(graded) + " limits of the profile "
        + profile->name + " are kept";
    if (total.notGraded > 0)
        text += ", " + std::to_string(total.notGraded) + " could not be graded";
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
    Html html("Board report: " + report.file, style);
    {
        const Element main(html, "main");
        html.leaf("h1", "Board report");
        html.leaf("p", report.file, {{"class", "note"}});
        writeVerdict(html, report.total(), report.profile);
        writeSections(html, report);
    }
    return html.finish();
}

} // namespace page
