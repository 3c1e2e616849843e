#pragma once

#include <string>

namespace capture {

/// The additional information of a device without its serial numbers: the values of the items "serial", "sn"
/// and "mac" are empty.
std::string withoutSerialNumbers(std::string info);

/// What names this user and this machine.
struct Names
{
    std::string home; ///< the home folder; may be empty
    std::string host; ///< may be empty
};

Names ownNames();

/// @p text with "~" for the home folder, "/home/USER" for those of others, and "HOST" for the machine's name.
std::string masked(const std::string &text, const Names &names);

} // namespace capture
