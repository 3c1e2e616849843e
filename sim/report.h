#pragma once

#include "hardware/reportlayout.h"

#include <array>
#include <cstdint>
#include <set>
#include <vector>

namespace boardsim {

/// The bytes of one report as it leaves the board.
using Bytes = std::vector<std::uint8_t>;

constexpr int maxPosition = 65535; ///< raw board units; 32768 is the width or height of the screen
constexpr int maxContactId = reportlayout::contact::idMask;
constexpr int maxPen = reportlayout::pen::numberMask >> reportlayout::pen::numberShift;

/// What a pen report says. Positions are in raw board units.
struct PenSample
{
    int pen = 0; ///< 0 to maxPen
    int x = 0;
    int y = 0;
    bool tip = false;
    bool button = false;
    bool bit2 = false;
};

/// One contact of a touch report. Positions and the extent are in raw board units.
struct TouchContact
{
    int id = 0; ///< 0 to maxContactId
    int x = 0;
    int y = 0;
    int extent = 0;
    bool down = false;
};

/// One contact of an erase report. Positions and sizes are in raw board units.
struct EraseContact
{
    int id = 0; ///< 0 to maxContactId
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool down = false;
};

/// The bytes of a touch-status report that follow its kind.
using StatusValues = std::array<std::uint8_t, reportlayout::status::valueCount>;

Bytes penReport(const PenSample &sample);
Bytes touchReport(const std::vector<TouchContact> &contacts);
Bytes eraseReport(const std::vector<EraseContact> &contacts);

Bytes touchStatusReport(const StatusValues &values);

/// Updates @p down, the set of contacts that touch the board, with @p report. A report of another kind, or
/// one that is too short, changes nothing.
void trackContacts(const Bytes &report, std::set<int> &down);

} // namespace boardsim
