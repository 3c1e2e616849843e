#pragma once

#include "probe/answer.h"

#include <functional>
#include <string>

namespace probe {

struct Wish
{
    std::string driver;   ///< a path, or empty for the driver that the loader finds
    std::string helper;   ///< the path of driver-probe
    double seconds = 5;   ///< to listen for reports
    double patience = 10; ///< seconds that the driver may take for one step
};

/// Finds out everything. What runs code of the driver is in processes of their own. If another process has
/// the driver open, it is opened, but not attached to, because the end of a probe would switch off the
/// boards' reports. @p onListen is called when somebody should touch the board.
Answer find(const Wish &wish, const std::function<void()> &onListen);

} // namespace probe
