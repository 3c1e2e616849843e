#pragma once

#include <cstddef>

/// Bytes of heap that the program holds, including mapped blocks.
std::size_t heap_in_use();
