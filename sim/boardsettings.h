#pragma once

#include <map>
#include <utility>

namespace boardsim {

/// What the program has set for one board; the defaults are those of a board at power-up. Owned by the
/// driver, whose mutex guards it.
struct BoardSettings
{
    using PointingDevice = std::pair<int, int>; ///< pen and flag

    int transferMask = 0;
    std::map<PointingDevice, int> pointingDeviceDestinations; ///< a missing one counts as 0
    int touchDestination = 0;
    int touchEnabled = 1;
    int touchSystemRedirectionEnabled = 0;
    int lateDetection = '0';
    int twoFingerScroll = 0;
    int calibrationMode = 0;
    int doubleClickDistance = 0;
    int debugMode = 0;
    int buttonsReversed = 0;
};

} // namespace boardsim
