#include "patterngeometry.h"

namespace pattern {

std::vector<Ring> rings(int width)
{
    std::vector<Ring> found;
    int diameter = cell;
    for (int offset = 0; offset < width / 2;) {
        found.push_back({offset + diameter / 2, diameter});
        offset += diameter;
        diameter = diameter * 3 / 2;
    }
    return found;
}

} // namespace pattern
