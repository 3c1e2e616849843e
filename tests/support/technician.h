#pragma once

#include "accept/geometry.h"
#include "accept/seen.h"

#include <functional>
#include <string>
#include <vector>

/// What a person does at board 1 during an acceptance test, as lines of a scenario, each ended by a newline.
/// The window is where @c frame says. The board reports every place as @c report maps it.
struct Technician
{
    using Map = std::function<acceptance::Place(const acceptance::Place &)>;

    acceptance::Frame frame;
    Map report = [](const acceptance::Place &place) { return place; };

    /// One finger in the centre, which goes by @p way there, lifts after @p seconds.
    std::string rest(double seconds = 5.2, const acceptance::Place &way = {}) const;
    /// All targets but the one with the index @p leftOut.
    std::string tapTargets(int leftOut = -1) const;
    /// A tap with a finger.
    std::string tap(const acceptance::Place &place) const;
    /// A stroke with a finger along each course; @p beside is added to every place.
    std::string follow(const std::vector<acceptance::Course> &courses,
                       const acceptance::Place &beside = {}) const;
    /// @p count fingers come one by one, and lift one by one.
    std::string putFingers(int count) const;
    /// Two fingers in turn, @p times altogether.
    std::string drum(int times = 10) const;
    /// A stroke from place to place.
    std::string write(int pen, const std::vector<acceptance::Place> &line) const;
    std::string wipe(const std::vector<acceptance::Place> &line) const;
    std::string replug() const;

    /// A move of one contact, e.g. of "kind":"pen".
    std::string move(const std::string &contact, const std::vector<acceptance::Place> &line,
                     double seconds) const;
};

/// A line that lets time pass.
std::string wait(double seconds);

/// Has @p seen follow what the simulated board does with these lines, at once.
void show(const std::string &lines, acceptance::Seen &seen);
