// The pages about two recordings and about many.

#include "page/reportpage.h"
#include "page/style.h"

#include <algorithm>

namespace page {

namespace {

using grading::Difference;

std::string intervalText(const Difference &difference)
{
    if (!difference.mean)
        return "–";
    return numberText(*difference.mean) + " (" + numberText(difference.low) + " to "
        + numberText(difference.high) + ")";
}

void head(Html &html, std::initializer_list<std::string> titles)
{
    const Element thead(html, "thead");
    const Element row(html, "tr");
    bool isFirst = true;
    for (const std::string &title : titles) {
        html.leaf("th", title, {{"scope", "col"}, {"class", isFirst ? "name" : "number"}});
        isFirst = false;
    }
}

/// What the change of the contacts amounts to, in a sentence.
std::string summaryText(const std::vector<Difference> &differences)
{
    const auto count = [&differences](grading::Change change) {
        return std::count_if(differences.begin(), differences.end(),
                             [change](const Difference &difference) { return difference.change == change; });
    };
    return std::to_string(count(grading::Change::better)) + " figures are better, "
        + std::to_string(count(grading::Change::worse)) + " are worse; in the others no difference is shown";
}

} // namespace

std::string comparisonPage(const grading::Report &before, const grading::Report &after,
                           const std::vector<Difference> &differences)
{
    Html html("Comparison: " + before.file + ", " + after.file, style);
    {
        const Element main(html, "main");
        html.leaf("h1", "Comparison of two recordings");
        html.leaf("p", "A: " + before.file, {{"class", "note"}});
        html.leaf("p", "B: " + after.file, {{"class", "note"}});
        html.leaf("p", summaryText(differences), {{"class", "verdict"}});
        html.leaf(
            "p",
            "The difference is B less A, of the means over contacts (of reports for the callback and for "
            "undecodable ones). In brackets: the interval in which 95 percent of 1,000 bootstrap resamples "
            "lie. "
            "It is better or worse only if that interval excludes zero, and it is judged only if both "
            "recordings have five contacts or more for it.",
            {{"class", "note"}});
        {
            const Element scroll(html, "div", {{"class", "scroll"}});
            const Element table(html, "table");
            head(html, {"Figure", "A", "B", "Difference", "B is"});
            const Element body(html, "tbody");
            for (const Difference &difference : differences) {
                const Element row(html, "tr");
                {
                    const Element cell(html, "td");
                    html.text(grading::figureInfo(difference.key)->title);
                    html.text(" ");
                    html.leaf("code", difference.key);
                }
                html.leaf("td", valueText(before.summary.figures, difference.key), {{"class", "number"}});
                html.leaf("td", valueText(after.summary.figures, difference.key), {{"class", "number"}});
                html.leaf("td", intervalText(difference), {{"class", "number"}});
                html.leaf("td", nameOf(difference.change), {{"class", "number"}});
            }
        }
        for (const auto &[letter, report] : {std::pair{"A", &before}, std::pair{"B", &after}}) {
            html.leaf("h1", std::string("Recording ") + letter);
            html.leaf("p", report->file, {{"class", "note"}});
            writeVerdict(html, report->total(), report->profile);
            writeSections(html, *report);
        }
    }
    return html.finish();
}

const std::vector<std::string> &tableKeys()
{
    static const std::vector<std::string> keys{
        "rate_min_hz", "rate_p50_hz",   "jitter_rms_units", "line_rms_units", "gap_count",       "jump_count",
        "ghost_count", "dropout_count", "stuck_count",      "id_swap_count",  "coverage_percent"};
    return keys;
}

std::string tablePage(const std::vector<Row> &rows, const grading::Profile *profile)
{
    Html html("Boards: " + std::to_string(rows.size()) + " recordings", style);
    {
        const Element main(html, "main");
        html.leaf("h1", std::to_string(rows.size()) + " recordings");
        const Element scroll(html, "div", {{"class", "scroll"}});
        const Element table(html, "table");
        {
            const Element thead(html, "thead");
            const Element row(html, "tr");
            html.leaf("th", "Recording", {{"scope", "col"}});
            html.leaf("th", "Verdict", {{"scope", "col"}});
            html.leaf("th", "Seconds", {{"scope", "col"}, {"class", "number"}});
            html.leaf("th", "Contacts", {{"scope", "col"}, {"class", "number"}});
            for (const std::string &key : tableKeys())
                html.leaf("th", grading::figureInfo(key)->title, {{"scope", "col"}, {"class", "number"}});
        }
        const Element body(html, "tbody");
        for (const Row &row : rows) {
            const Element line(html, "tr");
            html.leaf("td", row.file);
            if (row.isUnreadable) {
                html.leaf("td", "cannot be read",
                          {{"class", "fail"}, {"colspan", std::to_string(3 + tableKeys().size())}});
                continue;
            }
            const bool hasFailed = profile && row.total.verdict() == grading::Verdict::fail;
            html.leaf("td", nameOf(row.total.verdict()), {{"class", hasFailed ? "fail" : "grade"}});
            html.leaf("td", numberText(row.seconds, 4), {{"class", "number"}});
            html.leaf("td", std::to_string(row.contacts), {{"class", "number"}});
            for (const std::string &key : tableKeys())
                html.leaf("td", valueText(row.figures, key), {{"class", "number"}});
        }
    }
    return html.finish();
}

} // namespace page
