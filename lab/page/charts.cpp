#include "page/charts.h"

#include "language.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace page {

namespace {

using grading::boardWidth;
using lab::format;
using lab::tr;

std::string pathOf(const grading::Drawing::Stroke &stroke, const Aspect &aspect)
{
    std::string path;
    for (const grading::Drawing::Point &point : stroke.points) {
        path += path.empty() ? "M" : "L";
        path +=
            whole(point.x / boardWidth * aspect.width) + " " + whole(point.y / boardWidth * aspect.height);
    }
    if (stroke.points.size() == 1)
        path += "h0.1"; // a round cap makes it a dot
    return path;
}

void drawMarks(Html &html, int board, const Marks &marks, const Aspect &aspect)
{
    for (const grading::Place &place : marks.places->first()) {
        if (place.board != board)
            continue;
        const double x = place.x / boardWidth * aspect.width;
        const double y = place.y / boardWidth * aspect.height;
        html.empty("circle", {{"class", "finding"}, {"cx", whole(x)}, {"cy", whole(y)}, {"r", "16"}});
        html.leaf("text", std::string(1, marks.letter),
                  {{"class", "letter"},
                   {"x", whole(x)},
                   {"y", whole(y + 7)},
                   {"font-size", "20"},
                   {"text-anchor", "middle"}});
    }
}

struct CellArea
{
    double x;
    double y;
    double width;
    double height;
};

CellArea areaOf(std::size_t cell, const Aspect &aspect)
{
    const double width = aspect.width / grading::columns;
    const double height = aspect.height / grading::rows;
    const auto column = static_cast<double>(cell % grading::columns);
    const auto row =
        static_cast<double>(cell / grading::columns); // NOLINT(bugprone-integer-division): a whole row
    return {column * width, row * height, width, height};
}

void shade(Html &html, const CellArea &area, double opacity)
{
    html.empty("rect",
               {{"class", "cell"},
                {"x", numberText(area.x, 5)},
                {"y", numberText(area.y, 5)},
                {"width", numberText(area.width, 4)},
                {"height", numberText(area.height, 4)},
                {"fill-opacity", numberText(opacity, 2)}});
}

} // namespace

void strokeMap(Html &html, int board, const grading::BoardMap &map, const std::vector<Marks> &marks,
               const Aspect &aspect)
{
    std::string caption =
        format(tr("Contacts of board %d over its area: pens solid, touches dashed, erasers dotted."), board);
    for (const Marks &each : marks) {
        if (each.places->count() > 0)
            caption += std::string(" ") + each.letter + ": " + each.name + ".";
    }
    const Picture picture(html, aspect, tr("Strokes"), caption);
    for (const grading::Drawing::Stroke &stroke : map.drawing().strokes()) {
        html.empty("path",
                   {{"class", "stroke " + std::string(capture::nameOf(stroke.kind))},
                    {"d", pathOf(stroke, aspect)}});
    }
    for (const Marks &each : marks)
        drawMarks(html, board, each, aspect);
}

void coverageMap(Html &html, int board, const grading::BoardMap &map, const Aspect &aspect)
{
    const auto &counts = map.counts();
    const auto most = static_cast<double>(*std::max_element(counts.begin(), counts.end()));
    const Picture picture(html, aspect, tr("Coverage"),
                          format(tr("Cells of board %d in which contacts were down, the fuller the longer. A "
                                    "cross marks a cell that "
                                    "nothing has reached: %s %% of them."),
                                 board, numberText(100 - map.coveragePercent()).c_str()));
    for (std::size_t cell = 0; cell < counts.size(); ++cell) {
        const CellArea area = areaOf(cell, aspect);
        if (counts.at(cell) > 0) {
            shade(html, area, 0.25 + 0.65 * std::log1p(counts.at(cell)) / std::log1p(most));
            continue;
        }
        const double x = area.x + area.width / 2;
        const double y = area.y + area.height / 2;
        html.empty(
            "path",
            {{"class", "blind"}, {"d", "M" + whole(x - 6) + " " + whole(y - 6) + "l12 12m0 -12l-12 12"}});
    }
}

void cellMap(Html &html, const std::string &title, const std::string &caption, const grading::CellMap &map,
             const Aspect &aspect)
{
    if (map.isEmpty())
        return;
    double highest = 0;
    for (std::size_t cell = 0; cell < grading::cells; ++cell)
        highest = std::max(highest, map.at(cell).value_or(0));
    const Picture picture(html, aspect, title,
                          caption + " " + format(tr("The highest is %s."), numberText(highest).c_str()));
    for (std::size_t cell = 0; cell < grading::cells; ++cell) {
        const auto value = map.at(cell);
        if (!value)
            continue;
        const CellArea area = areaOf(cell, aspect);
        shade(html, area, highest > 0 ? 0.05 + 0.4 * *value / highest : 0.05);
        html.leaf("text", numberText(*value, 2),
                  {{"x", whole(area.x + area.width / 2)},
                   {"y", whole(area.y + area.height / 2 + 6)},
                   {"font-size", "16"},
                   {"text-anchor", "middle"}});
    }
}

void intervalHistogram(Html &html, const std::vector<std::uint64_t> &counts)
{
    const Aspect aspect{1600, 460};
    constexpr double bottom = 400;
    constexpr double room = 360;
    const std::uint64_t most = *std::max_element(counts.begin(), counts.end());
    const auto common =
        static_cast<std::size_t>(std::max_element(counts.begin(), counts.end()) - counts.begin());
    const double step = aspect.width / static_cast<double>(counts.size());
    const std::size_t last = counts.size() - 1;
    const Picture picture(
        html, aspect, tr("Intervals"),
        format(tr("How many intervals between two reports of a moving contact were how long, in whole "
                  "milliseconds, on a logarithmic scale; the last bar: %zu ms and more. Most, %lld, are %zu "
                  "ms long."),
               last, lab::whole(static_cast<std::int64_t>(most)), common));
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const double x = static_cast<double>(i) * step;
        if (counts[i] > 0) {
            const double height =
                room * std::log1p(static_cast<double>(counts[i])) / std::log1p(static_cast<double>(most));
            html.empty("rect",
                       {{"class", "bar"},
                        {"x", numberText(x + 2, 5)},
                        {"y", numberText(bottom - height, 5)},
                        {"width", numberText(step - 4, 4)},
                        {"height", numberText(height, 5)}});
        }
        if (i % 5 == 0) {
            const bool isLast = i == last;
            html.leaf("text", std::to_string(i) + (isLast ? "+" : ""),
                      {{"x", whole(isLast ? aspect.width - 4 : x + step / 2)},
                       {"y", whole(bottom + 36)},
                       {"font-size", "26"},
                       {"text-anchor", isLast ? "end" : "middle"}});
        }
    }
}

} // namespace page
