#pragma once

#include <string>

namespace capture {

/// The additional information of a device without its serial numbers: the values of the items "serial", "sn"
/// and "mac" are empty.
std::string withoutSerialNumbers(std::string info);

} // namespace capture
