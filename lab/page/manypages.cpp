// The pages about two recordings and about many.

#include "language.h"
#include "page/reportpage.h"
#include "page/style.h"

#include <algorithm>

namespace page {

namespace {

using grading::Difference;
using lab::format;
using lab::tr;
using lab::trCount;
using lab::whole;

std::string intervalText(const Difference &difference)
{
    if (!difference.mean)
        return "–";
    // TRANSLATORS: a difference, and the interval that it lies in.
    return format(tr("%s (%s to %s)"), numberText(*difference.mean).c_str(),
                  numberText(difference.low).c_str(), numberText(difference.high).c_str());
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
    const auto better = count(grading::Change::better);
    const auto worse = count(grading::Change::worse);
    // TRANSLATORS: "3 figures are better, 1 are worse; in the others no difference is shown"
    return format(tr("%s, %s; in the others no difference is shown"),
                  format(trCount("%lld figures are better", better), whole(better)).c_str(),
                  format(trCount("%lld are worse", worse), whole(worse)).c_str());
}

} // namespace

std::string comparisonPage(const grading::Report &before, const grading::Report &after,
                           const std::vector<Difference> &differences)
{
    Html html(format(tr("Comparison: %s, %s"), before.file.c_str(), after.file.c_str()), style);
    {
        const Element main(html, "main");
        html.leaf("h1", tr("Comparison of two recordings"));
        html.leaf("p", "A: " + before.file, {{"class", "note"}});
        html.leaf("p", "B: " + after.file, {{"class", "note"}});
        html.leaf("p", summaryText(differences), {{"class", "verdict"}});
        html.leaf(
            "p",
            tr("The difference is B less A, of the means over contacts (of reports for the callback and for "
               "undecodable ones). In brackets: the interval in which 95 percent of 1,000 bootstrap "
               "resamples "
               "lie. "
               "It is better or worse only if that interval excludes zero, and it is judged only if both "
               "recordings have five contacts or more for it."),
            {{"class", "note"}});
        {
            const Element scroll(html, "div", {{"class", "scroll"}});
            const Element table(html, "table");
            // TRANSLATORS: "B is" stands above "better" and "worse".
            head(html, {tr("Figure"), "A", "B", tr("Difference"), tr("B is")});
            const Element body(html, "tbody");
            for (const Difference &difference : differences) {
                const Element row(html, "tr");
                {
                    const Element cell(html, "td");
                    html.text(tr(grading::figureInfo(difference.key)->title.data()));
                    html.text(" ");
                    html.leaf("code", difference.key);
                }
                html.leaf("td", valueText(before.summary.figures, difference.key), {{"class", "number"}});
                html.leaf("td", valueText(after.summary.figures, difference.key), {{"class", "number"}});
                html.leaf("td", intervalText(difference), {{"class", "number"}});
                html.leaf("td", tr(nameOf(difference.change).data()), {{"class", "number"}});
            }
        }
        for (const auto &[letter, report] : {std::pair{"A", &before}, std::pair{"B", &after}}) {
            html.leaf("h1", format(tr("Recording %s"), letter));
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
    const auto count = static_cast<std::int64_t>(rows.size());
    Html html(format(trCount("Boards: %lld recordings", count), whole(count)), style);
    {
        const Element main(html, "main");
        html.leaf("h1", format(trCount("%lld recordings", count), whole(count)));
        const Element scroll(html, "div", {{"class", "scroll"}});
        const Element table(html, "table");
        {
            const Element thead(html, "thead");
            const Element row(html, "tr");
            html.leaf("th", tr("Recording"), {{"scope", "col"}});
            html.leaf("th", tr("Verdict"), {{"scope", "col"}});
            html.leaf("th", tr("Seconds"), {{"scope", "col"}, {"class", "number"}});
            html.leaf("th", tr("Contacts"), {{"scope", "col"}, {"class", "number"}});
            for (const std::string &key : tableKeys())
                html.leaf("th", tr(grading::figureInfo(key)->title.data()),
                          {{"scope", "col"}, {"class", "number"}});
        }
        const Element body(html, "tbody");
        for (const Row &row : rows) {
            const Element line(html, "tr");
            html.leaf("td", row.file);
            if (row.isUnreadable) {
                html.leaf("td", tr("cannot be read"),
                          {{"class", "fail"}, {"colspan", std::to_string(3 + tableKeys().size())}});
                continue;
            }
            const bool hasFailed = profile && row.total.verdict() == grading::Verdict::fail;
            html.leaf("td", tr(nameOf(row.total.verdict()).data()),
                      {{"class", hasFailed ? "fail" : "grade"}});
            html.leaf("td", numberText(row.seconds, 4), {{"class", "number"}});
            html.leaf("td", std::to_string(row.contacts), {{"class", "number"}});
            for (const std::string &key : tableKeys())
                html.leaf("td", valueText(row.figures, key), {{"class", "number"}});
        }
    }
    return html.finish();
}

} // namespace page
