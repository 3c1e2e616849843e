#pragma once

#include <cstddef>

/// Bytes of heap that the program holds, including mapped blocks.
std::size_t heap_in_use();

/// Bytes that a sanitizer's heap may hold besides: AddressSanitizer keeps what has been freed for a while. 0
/// without a sanitizer.
std::size_t quarantine();

/// The process's address space in pages; see proc_pid_statm(5).
long long address_space();
