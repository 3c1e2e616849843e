#include "grading/shape.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <deque>

#include <Eigen/Eigenvalues>

namespace grading {

namespace {

using Points = Eigen::Matrix2Xd; // a column for each sample

Points pointsOf(const std::vector<Sample> &samples, const Scale &scale)
{
    Points points(2, static_cast<Eigen::Index>(samples.size()));
    for (std::size_t i = 0; i < samples.size(); ++i)
        points.col(static_cast<Eigen::Index>(i)) << samples[i].x * scale.x, samples[i].y * scale.y;
    return points;
}

double lengthOf(const Sample &a, const Sample &b, const Scale &scale)
{
    return std::hypot((b.x - a.x) * scale.x, (b.y - a.y) * scale.y);
}

/// The direction in which the points extend most: the principal axis of their scatter. It points from the
/// first one to the last.
Eigen::Vector2d directionOf(const Points &centred)
{
    const Eigen::Matrix2d scatter = centred * centred.transpose();
    Eigen::SelfAdjointEigenSolver<Eigen::Matrix2d> axes;
    axes.computeDirect(scatter);
    Eigen::Vector2d direction = axes.eigenvectors().col(1);
    const Eigen::Vector2d way = centred.col(centred.cols() - 1) - centred.col(0);
    if (direction.dot(way) < 0)
        direction = -direction;
    return direction;
}

Straight fit(const std::vector<Sample> &samples, const Scale &scale)
{
    Points points = pointsOf(samples, scale);
    const Eigen::Vector2d mean = points.rowwise().mean();
    points.colwise() -= mean;
    const Eigen::Vector2d direction = directionOf(points);
    const Eigen::RowVectorXd along = direction.transpose() * points;
    const Eigen::RowVectorXd across = Eigen::RowVector2d(-direction.y(), direction.x()) * points;

    Straight straight;
    const double begin = along(0);
    straight.length = along(along.size() - 1) - begin;
    double squares = 0;
    double endsSquares = 0;
    std::size_t inside = 0;
    for (Eigen::Index i = 0; i < along.size(); ++i) {
        const double deviation = std::abs(across(i));
        const double place = along(i) - begin;
        const bool isMiddle = place >= 0.1 * straight.length && place <= 0.9 * straight.length;
        inside += isMiddle ? 1 : 0;
        (isMiddle ? squares : endsSquares) += deviation * deviation;
        double &largest = isMiddle ? straight.largest : straight.endsLargest;
        largest = std::max(largest, deviation);
        if (i > 0)
            straight.reverse += std::max(0.0, along(i - 1) - along(i));
        straight.deviations.push_back(across(i));
        straight.along.push_back(place);
    }
    const std::size_t outside = samples.size() - inside;
    straight.rms = inside > 0 ? std::sqrt(squares / static_cast<double>(inside)) : 0;
    straight.endsRms = outside > 0 ? std::sqrt(endsSquares / static_cast<double>(outside)) : 0;
    return straight;
}

} // namespace

double Rest::rms() const
{
    return std::max(rmsX, rmsY);
}

double Rest::peak() const
{
    return std::max(peakX, peakY);
}

Rest restOf(const std::vector<Sample> &samples, const Scale &scale)
{
    Rest rest;
    if (samples.size() < 2)
        return rest;
    const Points points = pointsOf(samples, scale);
    const Eigen::Vector2d mean = points.rowwise().mean();
    const Points centred = points.colwise() - mean;
    const Eigen::Vector2d variance = centred.rowwise().squaredNorm() / static_cast<double>(points.cols() - 1);
    const Eigen::Vector2d spread = points.rowwise().maxCoeff() - points.rowwise().minCoeff();
    const Eigen::Index quarter = std::max<Eigen::Index>(1, points.cols() / 4);
    rest.rmsX = std::sqrt(variance.x());
    rest.rmsY = std::sqrt(variance.y());
    rest.peakX = spread.x();
    rest.peakY = spread.y();
    rest.drift =
        (points.rightCols(quarter).rowwise().mean() - points.leftCols(quarter).rowwise().mean()).norm();
    rest.farthest = centred.colwise().norm().maxCoeff();
    return rest;
}

std::optional<Straight> straightOf(const Track &track, const Scale &scale)
{
    if (track.samples.size() < 3)
        return {};
    Straight straight = fit(track.samples, {});
    const double farthest = std::max(straight.largest, straight.endsLargest);
    if (straight.length <= 0.1 * boardWidth || farthest >= 0.05 * straight.length)
        return {};
    if (scale.x == 1 && scale.y == 1)
        return straight;
    return fit(track.samples, scale);
}

double spreadWithin(const Straight &straight, double travel)
{
    double largest = 0;
    std::size_t begin = 0;
    // The samples from begin to end that may yet be the lowest, or the highest, as in any sliding window.
    std::deque<std::size_t> lowest;
    std::deque<std::size_t> highest;
    const auto &deviations = straight.deviations;
    for (std::size_t end = 0; end < deviations.size(); ++end) {
        while (!lowest.empty() && deviations[lowest.back()] >= deviations[end])
            lowest.pop_back();
        while (!highest.empty() && deviations[highest.back()] <= deviations[end])
            highest.pop_back();
        lowest.push_back(end);
        highest.push_back(end);
        for (; std::abs(straight.along[end] - straight.along[begin]) > travel; ++begin) {
            if (lowest.front() == begin)
                lowest.pop_front();
            if (highest.front() == begin)
                highest.pop_front();
        }
        largest = std::max(largest, deviations[highest.front()] - deviations[lowest.front()]);
    }
    return largest;
}

double wobbleOf(const std::vector<Sample> &samples, const Scale &scale)
{
    double farthest = 0;
    for (const Sample &sample : samples)
        farthest = std::max(farthest, lengthOf(samples.front(), sample, scale));
    return farthest;
}

std::optional<double> firstMoveOf(const std::vector<Sample> &samples)
{
    constexpr double least = 0.0005 * boardWidth;
    double first = 0;
    for (std::size_t i = 1; i < samples.size(); ++i) {
        const double step = distance(samples[i - 1], samples[i]);
        if (first > 0 && step > 0)
            return first >= least ? std::optional(first / step) : std::nullopt;
        first = std::max(first, step);
    }
    return {};
}

std::vector<Jump> jumpsOf(const std::vector<Sample> &samples)
{
    std::vector<Jump> jumps;
    if (samples.size() < 2)
        return jumps;
    std::vector<double> steps;
    steps.reserve(samples.size());
    for (std::size_t i = 1; i < samples.size(); ++i)
        steps.push_back(distance(samples[i - 1], samples[i]));
    std::vector<double> sorted = steps;
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), middle, sorted.end());
    const double limit = std::max(5 * *middle, 0.01 * boardWidth);
    for (std::size_t i = 0; i < steps.size(); ++i) {
        if (steps[i] > limit)
            jumps.push_back({samples[i], samples[i + 1]});
    }
    return jumps;
}

} // namespace grading
