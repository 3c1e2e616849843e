#include "grading/track.h"

#include <algorithm>
#include <cmath>

namespace grading {

double distance(const Sample &a, const Sample &b)
{
    return std::hypot(a.x - b.x, a.y - b.y);
}

bool Track::isMoving() const
{
    constexpr double rest = 0.01 * boardWidth;
    return highestX - lowestX > rest || highestY - lowestY > rest;
}

void Track::add(const Sample &sample)
{
    if (count++ == 0)
        first = sample;
    samples.push_back(sample);
    to = sample.at;
    lowestX = std::min<int>(lowestX, sample.x);
    highestX = std::max<int>(highestX, sample.x);
    lowestY = std::min<int>(lowestY, sample.y);
    highestY = std::max<int>(highestY, sample.y);
}

} // namespace grading
