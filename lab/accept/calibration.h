#pragma once

#include "accept/geometry.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace acceptance {

/// A target, and where the board says that it was touched.
struct Touched
{
    std::string name;
    Place target;
    Place at;
};

/// What a person must hit, in the unit of the scale.
struct Limits
{
    double mean = 0;
    double worst = 0;
};

/// How far the touched places are from their targets, in the unit of the scale.
struct Errors
{
    double mean = 0;
    double worst = 0;
    std::size_t worstAt = 0; ///< its index
    std::vector<double> each;

    bool areWithin(const Limits &limits) const { return mean <= limits.mean && worst <= limits.worst; }
};

/// How the board maps the screen, as far as that is affine: what calibrating can undo. Around the centre of
/// the screen; y counts downwards.
struct Mapping
{
    double offsetX = 0; ///< in the unit of the scale: positive if the board reports too far right
    double offsetY = 0; ///< positive if too far down
    double scaleX = 1;  ///< above 1 if it reports distances too large
    double scaleY = 1;
    double rotation = 0; ///< degrees; positive if it reports turned clockwise
    double shear = 0;    ///< degrees by which its axes are off the right angle
};

enum class Advice {
    good,      ///< leave the board as it is
    calibrate, ///< the errors are too large, but what calibrating leaves is not
    replace    ///< calibrating does not help
};

/// "good", "calibrate" or "replace".
const char *nameOf(Advice advice);

/// What the touched targets say about a board.
struct Calibration
{
    Errors errors;
    Mapping mapping;
    Errors left; ///< behind the best affine calibration
    Advice advice = Advice::good;
};

/// The errors without any calibration.
Errors errorsOf(const std::vector<Touched> &touched, const Scale &scale);

/// Nothing if too few places were touched, or all in a line, so that a calibration would fit any board.
std::optional<Calibration> calibrationOf(const std::vector<Touched> &touched, const Scale &scale,
                                         const Limits &limits);

} // namespace acceptance
