#include "accept/calibration.h"

#include <Eigen/Dense>

#include <algorithm>
#include <cmath>

namespace acceptance {

namespace {

constexpr std::size_t fewest = 6; // pairs: twice as many as an affine mapping always fits
constexpr double degree = 0.017453292519943295;

/// From the screen's centre, in the unit of the scale.
Eigen::Vector2d vectorTo(const Place &place, const Scale &scale)
{
    return {(place.x - boardWidth / 2) * scale.x, (place.y - boardWidth / 2) * scale.y};
}

Place placeOf(const Eigen::Vector2d &vector, const Scale &scale)
{
    return {vector.x() / scale.x + boardWidth / 2, vector.y() / scale.y + boardWidth / 2};
}

/// The board's affine mapping: it reports linear * place + offset.
struct Affine
{
    Eigen::Matrix2d linear;
    Eigen::Vector2d offset;
};

/// The mapping that leaves the least squares; nothing if the targets do not determine it.
std::optional<Affine> fit(const std::vector<Touched> &touched, const Scale &scale)
{
    const auto count = static_cast<Eigen::Index>(touched.size());
    Eigen::MatrixX3d targets(count, 3);
    Eigen::MatrixX2d places(count, 2);
    for (Eigen::Index i = 0; i < count; ++i) {
        const Touched &pair = touched[static_cast<std::size_t>(i)];
        targets.row(i) << vectorTo(pair.target, scale).transpose(), 1;
        places.row(i) = vectorTo(pair.at, scale).transpose();
    }
    const auto solver = targets.colPivHouseholderQr();
    if (solver.rank() < 3)
        return {};
    const Eigen::Matrix<double, 3, 2> solution = solver.solve(places);
    const Affine affine{solution.topRows<2>().transpose(), solution.row(2).transpose()};
    if (std::abs(affine.linear.determinant()) < 1e-6) // the board maps the screen to a line
        return {};
    return affine;
}

Mapping mappingOf(const Affine &affine)
{
    const Eigen::Vector2d across = affine.linear.col(0);
    const Eigen::Vector2d down = affine.linear.col(1);
    const double rotation = std::atan2(across.y(), across.x());
    // The direction in which a board that is only rotated reports what goes down.
    const Eigen::Vector2d square(-std::sin(rotation), std::cos(rotation));
    const double along = down.dot(across.normalized());
    return {affine.offset.x(), affine.offset.y(), across.norm(),
            down.dot(square),  rotation / degree, std::atan2(along, down.dot(square)) / degree};
}

std::vector<Touched> calibrated(std::vector<Touched> touched, const Affine &affine, const Scale &scale)
{
    const Eigen::Matrix2d inverse = affine.linear.inverse();
    for (Touched &pair : touched) {
        const Eigen::Vector2d corrected = inverse * (vectorTo(pair.at, scale) - affine.offset);
        pair.at = placeOf(corrected, scale);
    }
    return touched;
}

} // namespace

const char *nameOf(Advice advice)
{
    switch (advice) {
    case Advice::good:
        return "good";
    case Advice::calibrate:
        return "calibrate";
    case Advice::replace:
        break;
    }
    return "replace";
}

Errors errorsOf(const std::vector<Touched> &touched, const Scale &scale)
{
    Errors errors;
    for (const Touched &pair : touched) {
        errors.each.push_back(scale.length({pair.at.x - pair.target.x, pair.at.y - pair.target.y}));
        errors.mean += errors.each.back() / static_cast<double>(touched.size());
    }
    if (errors.each.empty())
        return errors;
    const auto worst = std::max_element(errors.each.begin(), errors.each.end());
    errors.worst = *worst;
    errors.worstAt = static_cast<std::size_t>(worst - errors.each.begin());
    return errors;
}

std::optional<Calibration> calibrationOf(const std::vector<Touched> &touched, const Scale &scale,
                                         const Limits &limits)
{
    if (touched.size() < fewest)
        return {};
    const auto affine = fit(touched, scale);
    if (!affine)
        return {};
    Calibration found;
    found.errors = errorsOf(touched, scale);
    found.mapping = mappingOf(*affine);
    found.left = errorsOf(calibrated(touched, *affine, scale), scale);
    if (found.errors.areWithin(limits))
        found.advice = Advice::good;
    else
        found.advice = found.left.areWithin(limits) ? Advice::calibrate : Advice::replace;
    return found;
}

} // namespace acceptance
