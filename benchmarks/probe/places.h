#pragma once

#include "latency/screen.h"

#include <vector>

/// Where a report draws, and its proof: the one pixel that no other report of the same path paints. It stays
/// white if the report is lost.
struct Place
{
    latency::Point at;
    latency::Point proof;
};

/// The densest stroke in which each report has a proof, drawn with the program's own stroke width: a zigzag
/// of peaks four pixels apart, row below row. The proof of a peak is the pixel at its tip.
/// @p top is that of the first row; the rows fill the width of the screen.
std::vector<Place> dense_path(int count, int top, const latency::Screen &screen);

/// The number of rows that such a path takes, and how far apart they are.
int dense_rows(int count, const latency::Screen &screen);
constexpr int dense_row_height = 9; // pixels: the line's 6, the zigzag's 2, and one between the rows
