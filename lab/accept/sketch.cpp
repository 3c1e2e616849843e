#include "accept/sketch.h"

#include <algorithm>
#include <utility>

namespace acceptance {

namespace {

using Texts = std::vector<std::string>;

constexpr int columns = 61;
constexpr int rows = 13; // so that a step fits into a terminal of 24 lines

/// False if the place is taken.
bool write(Texts &sketch, const Frame &frame, const Place &place, const std::string &number)
{
    const Place origin = frame.place(0, 0);
    const Place unit = frame.pixel();
    const double x = (place.x - origin.x) / (unit.x * frame.window.width);
    const double y = (place.y - origin.y) / (unit.y * frame.window.height);
    std::string &row = sketch[static_cast<std::size_t>(y * rows)];
    const auto middle = static_cast<std::size_t>(x * columns);
    const std::size_t column = std::max<std::size_t>(middle, 2) - number.size() / 2;
    if (row.substr(column - 1, number.size() + 2).find_first_not_of(' ') != std::string::npos)
        return false;
    row.replace(column, number.size(), number);
    return true;
}

} // namespace

Texts sketchOf(const Frame &frame, const std::vector<Target> &targets)
{
    constexpr std::size_t group = 4;
    Texts sketch(rows, std::string(columns, ' '));
    for (std::size_t end = targets.size(); end >= group; end -= group) {
        Texts attempt = sketch;
        bool fits = true;
        for (std::size_t i = end - group; i < end; ++i)
            fits = write(attempt, frame, targets[i].place, std::to_string(i + 1)) && fits;
        if (fits)
            sketch = std::move(attempt);
    }
    for (std::string &row : sketch)
        row.insert(0, "|").append("|");
    const std::string edge = "+" + std::string(columns, '-') + "+";
    sketch.insert(sketch.begin(), edge);
    sketch.push_back(edge);
    return sketch;
}

} // namespace acceptance
