#pragma once

#include "probe/answer.h"

#include <string>

namespace probe {

/// Reads an ELF file without loading it. A file that is none, or cannot be read, has no facts.
ElfFacts readElf(const std::string &path);

} // namespace probe
