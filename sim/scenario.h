#pragma once

#include "path.h"
#include "report.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace boardsim {

struct Device
{
    int kind = 0;
    int board = 0;
    std::string info; ///< key<value> items; short enough for the device record
    bool plugged = true;
};

struct SendReport
{
    int board = 0;
    Bytes report;
};

/// One contact of a move; the fields that its kind lacks stay at their defaults.
struct MovingContact
{
    enum class Kind { pen, touch, erase };

    Kind kind = Kind::pen;
    int id = 0; ///< pen number or contact id
    Path path;
    bool tip = false;
    bool button = false;
    bool bit2 = false;
    int extent = 0;
    int width = 0;
    int height = 0;
};

/// Moves all its contacts at once along their paths.
struct Move
{
    int board = 0;
    std::int64_t rate = 0; ///< samples a second
    std::int64_t time = 0; ///< microseconds, the lift included
    bool lift = true;
    std::vector<MovingContact> contacts;
};

struct WaitForTime
{
    std::int64_t time = 0; ///< microseconds
};

struct WaitForFile
{
    std::string path;
};

struct Repeat
{
    std::optional<std::int64_t> count; ///< none: for ever
};

/// Ends the innermost block.
struct End
{
    std::size_t repeat = 0; ///< index of the block's Repeat among the steps
};

struct Plug
{
    int board = 0;
    bool plugged = true;
};

struct Mark
{
    std::string text;
};

using Step = std::variant<SendReport, Move, WaitForTime, WaitForFile, Repeat, End, Plug, Mark>;

/// What a simulated driver shows and does: its devices and the steps to play, in file order.
struct Scenario
{
    std::vector<Device> devices; ///< every board number once
    std::vector<Step> steps;     ///< every Repeat has its End
};

} // namespace boardsim
