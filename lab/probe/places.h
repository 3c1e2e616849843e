#pragma once

#include "probe/answer.h"

#include "language.h"

#include <string>
#include <string_view>
#include <vector>

namespace probe {

/// The file name by which the program asks for the driver.
inline constexpr const char *driverName = "libzorvicboardex.so.1";

/// What is at a place of a library of another kind: its bits and its architecture.
inline constexpr const char *skippedFile = lab::trLater("skipped: %d-bit, for %s");
/// Takes it apart again, as for sscanf.
inline constexpr const char *skippedPattern = "skipped: %d-bit, for %39[^\n]";

/// The places where the loader has looked for the driver, in its order.
/// @p trace: what the loader has written with LD_DEBUG=libs. @p folders: the value of LD_LIBRARY_PATH,
/// because the loader is silent about folders that it has found missing before.
std::vector<Place> placesIn(std::string_view trace, std::string_view folders);

/// Fills in what is at each place. @p taken: the file that was opened, or is empty.
void lookAt(std::vector<Place> &places, const std::string &taken);

/// The file that the driver is: @p taken, or the one of @p places with which the loader ended; empty if there
/// is nothing at any of them.
std::string driverAt(const std::vector<Place> &places, const std::string &taken);

} // namespace probe
