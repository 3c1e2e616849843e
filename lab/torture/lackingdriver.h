#pragma once

#include "torture/fault.h"

#include <string>

namespace torture {

/// Copies the driver library @p library to @p copy so that the loader finds none of @p functions in it: they
/// are hidden there, as the ELF specification (System V gABI, symbol visibility) calls it, so that the
/// library's own calls still reach them. Returns what is wrong, e.g. "is no ELF file"; empty if all went
/// well. A function that the library lacks by itself is no fault.
std::string copyWithout(const Lines &functions, const std::string &library, const std::string &copy);

} // namespace torture
