#pragma once

#include "latency/contacts.h"

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
/// The rows fill the width of @p area; the turns between them and the line's own width reach 11 pixels
/// beyond it.
std::vector<Place> dense_path(int count, const latency::Area &area);

/// The number of rows that such a path takes, and how far apart they are.
int dense_rows(int count, const latency::Area &area);
/// The width of the screen, with room for the turns; @p top in pixels.
latency::Area full_width(const latency::Screen &screen, int top);
constexpr int dense_row_height = 9; // pixels: the line's 6, the zigzag's 2, and one between the rows
