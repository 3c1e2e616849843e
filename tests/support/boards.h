#pragma once

#include "support/recording_driver.h"

#include <string>
#include <vector>

// Boards and a hub that a driver may list, and the signals that tell of them.

using Lines = std::vector<std::string>;
using Device = RecordingDriver::Device;

inline const Device board_seven{1, 7, "hid<true>vid<04d8>"};
inline const Device board_three{1, 3, "hid<serial>xp<4>"};
inline const Device legacy_hub{2, 50, {}};

constexpr const char *seven_at_0 = "boardEnumerated(0, board 7 of type \"HID\" 1240 0 0 0 0)";
constexpr const char *three_at_0 = "boardEnumerated(0, board 3 of type \"serial\" 0 0 4 0 0)";
constexpr const char *three_at_1 = "boardEnumerated(1, board 3 of type \"serial\" 0 0 4 0 0)";
