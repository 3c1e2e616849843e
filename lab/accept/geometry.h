#pragma once

#include "language.h"

#include "capture/contacts.h"

#include <string>
#include <vector>

namespace acceptance {

using capture::boardWidth;

/// A place in board units, or a way from one place to another.
struct Place
{
    double x = 0;
    double y = 0;
};

/// An area of the desktop, in pixels as the program counts them.
struct Area
{
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

/// Where the program's patterns are: the content of its window, and the screen that the board spans.
struct Frame
{
    Area screen;
    Area window;

    /// The board's place for a pixel of the window.
    Place place(double x, double y) const;
    /// The board units of one pixel.
    Place pixel() const;
};

/// What a length on the board is worth: millimetres if the board's size is known, else pixels of the screen.
struct Scale
{
    double x = 1; ///< of one board unit
    double y = 1;
    std::string unit = "px";

    double length(const Place &way) const;
};

/// Something to be tapped.
struct Target
{
    std::string name; ///< for a person: "size 2, top left"
    Place place;
    double radius = 0; ///< board units across the screen's width
};

/// The targets that a person is asked to tap, in this order. Of each size of which four are wholly in the
/// window these four, those nearest to the centre, clockwise from the top left, the smallest size first. Then
/// of the largest of these sizes the outermost ones that are wholly in the window, clockwise from the left.
std::vector<Target> targetsOf(const Frame &frame, lab::Audience audience = lab::Audience::person);
/// How many sizes are among them.
int sizesOf(const Frame &frame);

/// A line to be followed.
struct Course
{
    std::string key;  ///< for programs
    std::string name; ///< for a person, in English
    Place from;
    Place to;
    bool isDrawn = true; ///< otherwise only its ends are told, as of a diagonal
    double mesh = 0; ///< board units: any other line at a multiple of this distance will do, too; 0 for none
    bool bothWays = true; ///< whether it may be followed from its end to its beginning
};

/// The left edge of the third black bar, once down and once up.
std::vector<Course> barCourses(const Frame &frame);
/// Any horizontal and any vertical line of the grid.
std::vector<Course> gridCourses(const Frame &frame);
/// The diagonals of the window.
std::vector<Course> diagonalCourses(const Frame &frame);

} // namespace acceptance
