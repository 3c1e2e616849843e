#pragma once

#include <cstdint>
#include <set>
#include <vector>

namespace boardsim {

/// One report as it leaves the board.
using Bytes = std::vector<std::uint8_t>;

constexpr int maxPosition = 65535; ///< raw board units; 32768 is the width or height of the screen
constexpr int maxContactId = 127;
constexpr int maxPen = 15;

/// The contacts of the three kinds of report; positions and sizes in raw board units.
struct PenSample
{
    int pen = 0; ///< 0 to maxPen
    int x = 0;
    int y = 0;
    bool tip = false;
    bool button = false;
    bool bit2 = false;
};

struct TouchContact
{
    int id = 0; ///< 0 to maxContactId
    int x = 0;
    int y = 0;
    int extent = 0;
    bool down = false;
};

struct EraseContact
{
    int id = 0; ///< 0 to maxContactId
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool down = false;
};

Bytes penReport(const PenSample &sample);
Bytes touchReport(const std::vector<TouchContact> &contacts);
Bytes eraseReport(const std::vector<EraseContact> &contacts);

/// @p values fill the six bytes after the header.
Bytes touchStatusReport(const std::uint8_t (&values)[6]);

/// Keeps @p down as the set of contacts that touch the board after @p report. A report of another kind, or
/// one too short, changes nothing.
void trackContacts(const Bytes &report, std::set<int> &down);

} // namespace boardsim
