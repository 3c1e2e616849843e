#pragma once

#include "page/html.h"
#include "page/picture.h"

#include "grading/maps.h"
#include "grading/neighbours.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace page {

// Each writes a figure with an inline SVG, which says in words what it shows.

/// A kind of finding on the map of the strokes.
struct Marks
{
    char letter; ///< that stands at each place
    std::string name;
    const grading::Places *places;
};

/// All strokes of one board over its area, with what was found.
void strokeMap(Html &html, int board, const grading::BoardMap &map, const std::vector<Marks> &marks,
               const Aspect &aspect);
/// Which cells contacts have been in; those without are crossed.
void coverageMap(Html &html, int board, const grading::BoardMap &map, const Aspect &aspect);
/// A number in each cell in which something was measured; the highest ones are the fullest. Nothing if
/// nothing was.
void cellMap(Html &html, const std::string &title, const std::string &caption, const grading::CellMap &map,
             const Aspect &aspect);
/// How often each length of an interval, in whole milliseconds, was seen.
void intervalHistogram(Html &html, const std::vector<std::uint64_t> &counts);

} // namespace page
