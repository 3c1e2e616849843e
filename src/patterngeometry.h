#pragma once

#include <vector>

/// Where the test patterns have their lines and targets, in pixels from the top left corner. Knows no Qt, so
/// that other programs of the project can tell what is drawn.
namespace pattern {

constexpr int cell =
    32; ///< mesh of the grid, side of a cell of the colour field, diameter of the smallest targets
constexpr int bars = 17; ///< eight black ones between nine white ones

/// The width of a bar if all of them fill @p extent; what is left over stays white.
constexpr int bar_width(int extent)
{
    return extent / bars;
}

/// The targets of one size: four around the centre of the pattern, at the same distance @c across from it in
/// both directions, and from each of them a row and a column of others outwards, one diameter apart.
struct Ring
{
    int across = 0;
    int diameter = 0;
};

/// The rings of a pattern of this width, from the centre outwards.
std::vector<Ring> rings(int width);

} // namespace pattern
