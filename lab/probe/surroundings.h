#pragma once

#include "probe/answer.h"

#include <string>
#include <utility>
#include <vector>

namespace probe {

/// The other processes of which can be seen that they have the driver open. @p root: where /proc is.
std::vector<Holder> holdersOf(const std::string &path, const std::string &root = "");

/// What must be readable or open to this user, and whether it is: the driver with its folders, and the nodes
/// of the boards' USB devices, or of all HID devices if @p devices has no board. @p root: where /sys and /dev
/// are.
std::vector<std::pair<std::string, std::string>>
permissionsOf(const std::string &path, const std::vector<Device> &devices, const std::string &root = "");

/// The libraries that the loader does not find for the one at @p path, which it looks for without running any
/// code of it.
std::vector<std::string> librariesMissingFor(const std::string &path);

} // namespace probe
