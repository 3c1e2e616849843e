#pragma once

#include <cstddef>

/// Bytes that the program holds of the heap, mapped blocks included.
std::size_t heap_in_use();
