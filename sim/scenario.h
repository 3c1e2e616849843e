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

/// A board or hub as the driver lists it.
struct Device
{
    int kind = 0;     ///< as in the device record
    int board = 0;    ///< board number
    std::string info; ///< key<value> items; short enough for the device record
    bool plugged = true;
};

/// Delivers one report.
struct SendReport
{
    int board = 0;
    Bytes report;
};

constexpr std::int64_t longestTime = 1'000'000'000'000; ///< microseconds, 11 days; times rate it fits 64 bits

/// Lifts a moving contact for a while.
struct Dropout
{
    double after = 0;      ///< share of the way, 0 to 1
    std::int64_t time = 0; ///< microseconds
};

/// Lets a moving contact go on under another identifier.
struct Swap
{
    double after = 0; ///< share of the way, 0 to 1
    int id = 0;
};

/// What a board does wrong with a moving contact; nothing by default.
struct Faults
{
    double noise = 0;       ///< raw board units, on each axis: standard deviation of a normal distribution
    std::uint32_t seed = 1; ///< of the noise
    Point offset;           ///< raw board units, added to every position
    std::vector<Dropout> dropouts;
    std::optional<Swap> swap; ///< none for a pen
};

/// One contact of a move. Fields that its kind lacks keep their defaults; sizes are in raw board units.
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
    Faults faults;
};

/// Moves all its contacts along their paths at the same time.
struct Move
{
    int board = 0;
    std::int64_t rate = 0; ///< samples a second
    std::int64_t time = 0; ///< microseconds, including the lift
    bool lift = true;
    std::vector<MovingContact> contacts;
};

/// Lets time pass before the next step.
struct WaitForTime
{
    std::int64_t time = 0; ///< microseconds
};

/// Waits until a time of the play; at once if that has passed.
struct WaitUntilTime
{
    std::int64_t time = 0; ///< microseconds since the play began
};

/// Waits until a file exists.
struct WaitForFile
{
    std::string path;
};

/// Starts a block that is played count times.
struct Repeat
{
    std::optional<std::int64_t> count; ///< none: for ever
};

/// Ends the innermost open block.
struct End
{
    std::size_t repeat = 0; ///< index of the block's Repeat among the steps
};

/// Plugs a device in or unplugs it, and notifies the program.
struct Plug
{
    int board = 0;
    bool plugged = true;
};

/// Writes a line into the call log.
struct Mark
{
    std::string text;
};

using Step = std::variant<SendReport, Move, WaitForTime, WaitUntilTime, WaitForFile, Repeat, End, Plug, Mark>;

/// What a simulated driver shows and does: its devices and the steps to play, both in file order.
struct Scenario
{
    std::vector<Device> devices; ///< every board number once
    std::vector<Step> steps;     ///< every Repeat has its End
    std::vector<int> lines;      ///< of the file, that each step comes from
};

} // namespace boardsim
