#pragma once

#include "grading/track.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace grading {

/// What a length on the board is worth: board units, or millimetres where the board's size is known.
struct Scale
{
    double x = 1; ///< of one board unit
    double y = 1;
};

/// How a contact that stays in place wanders about. Lengths are in the unit of the scale.
struct Rest
{
    double rmsX = 0; ///< standard deviation (n - 1)
    double rmsY = 0;
    double peakX = 0; ///< peak to peak
    double peakY = 0;
    double drift = 0;    ///< from the mean of the first quarter of the samples to that of the last
    double farthest = 0; ///< of a sample from the mean of all

    double rms() const;
    double peak() const;
};

/// How a nearly straight contact deviates from the line of least orthogonal distances (total least squares).
struct Straight
{
    double length = 0;              ///< from the first sample to the last, along the line
    double rms = 0;                 ///< over the middle 80 percent of the length
    double largest = 0;             ///< there
    double endsRms = 0;             ///< over the rest, the ends
    double endsLargest = 0;         ///< there
    double reverse = 0;             ///< the sum of the steps against the direction
    std::vector<double> deviations; ///< of each sample, with a sign
    std::vector<double> along;      ///< where its foot lies on the line, from the first sample's on
};

/// Two samples or more.
Rest restOf(const std::vector<Sample> &samples, const Scale &scale = {});

/// Nothing unless the track is longer than 10 percent of the board's width and deviates by less than 5
/// percent of its length, both in board units.
std::optional<Straight> straightOf(const Track &track, const Scale &scale = {});

/// The largest spread of the deviations within @p travel of way along the line.
double spreadWithin(const Straight &straight, double travel);

/// The farthest that a sample is from the first one.
double wobbleOf(const std::vector<Sample> &samples, const Scale &scale = {});

/// The first step that moves to the one behind it. A controller that holds a contact until it has moved far
/// enough lets it jump first. Nothing for a first step below 0.05 percent of the board's width.
std::optional<double> firstMoveOf(const std::vector<Sample> &samples);

/// Where a contact is suddenly elsewhere.
struct Jump
{
    Sample from;
    Sample to;
};

/// Steps longer than five times the median step of the contact and longer than 1 percent of the board's
/// width.
std::vector<Jump> jumpsOf(const std::vector<Sample> &samples);

} // namespace grading
