#pragma once

#include "capture/contacts.h"

#include <cstdint>
#include <vector>

namespace grading {

using capture::boardWidth;
constexpr std::int64_t second = 1'000'000; ///< microseconds

/// One report of a contact that is down. Small, since a long contact has many.
struct Sample
{
    Sample() = default;
    Sample(std::int64_t time, const capture::Contact &contact, bool isAlone = true)
        : at(time), x(static_cast<std::uint16_t>(contact.x)), y(static_cast<std::uint16_t>(contact.y)),
          alone(isAlone)
    {
    }

    std::int64_t at = 0; ///< microseconds since the recording began
    std::uint16_t x = 0; ///< board units, as the next
    std::uint16_t y = 0;
    bool alone = true; ///< whether no other contact of the board was down
};

/// How far two samples are from each other, in board units.
double distance(const Sample &a, const Sample &b);

/// What lies between touching down and lifting of one identifier.
struct Track
{
    enum class End { lifted, unplugged, stillDown };

    int board = 0;
    capture::ReportKind kind = capture::ReportKind::touch; ///< pen, touch or erase
    int id = 0;
    std::int64_t serial = 0;     ///< from 1 on, no two of a recording alike
    std::int64_t from = 0;       ///< microseconds: when it touched down
    std::int64_t to = 0;         ///< when it lifted; else the time of its last sample
    Sample first;                ///< also of a track whose beginning has been taken out of samples
    std::int64_t count = 0;      ///< samples in all
    std::vector<Sample> samples; ///< in the order of the reports; never empty
    int lowestX = 65535;         ///< of all samples, as the next
    int highestX = 0;
    int lowestY = 65535;
    int highestY = 0;

    /// Whether its samples span more than 1 percent of the board's width in a direction.
    bool isMoving() const;
    /// Whether it stayed in place for a second or more.
    bool isResting() const { return !isMoving() && to - from >= second; }
    void add(const Sample &sample);
};

} // namespace grading
