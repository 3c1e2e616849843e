#pragma once

#include <nlohmann/json.hpp>

namespace recorder {

/// The screens of this process, of each x, y, width, height in pixels, scale and primary; none without a
/// QGuiApplication. Called on the GUI thread.
nlohmann::ordered_json describeScreens();

} // namespace recorder
