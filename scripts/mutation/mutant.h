#pragma once

// Included on top of each source file that scripts/mutate has instrumented.

#include <cstdlib>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

// Every library that is loaded has its own, so that none of them is kept loaded.
#pragma GCC visibility push(hidden)

namespace lx_mutation {

/// The number of the mutant that the environment chooses, -1 without one.
inline int choice()
{
    const char *const number = std::getenv("LANTERNIX_MUTANT");
    return number ? std::atoi(number) : -1;
}

/// The file that notes with one byte for each mutant whether it was reached, or null. Mapped, because it then
/// outlives a process however that ends.
inline unsigned char *map_reached()
{
    const char *const name = std::getenv("LANTERNIX_REACHED");
    const int file = name ? open(name, O_RDWR | O_CLOEXEC) : -1;
    if (file == -1)
        return nullptr;
    const auto size = static_cast<std::size_t>(lseek(file, 0, SEEK_END));
    void *const bytes = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    return bytes == MAP_FAILED ? nullptr : static_cast<unsigned char *>(bytes);
}

inline const int chosen = choice();
inline unsigned char *const reached = map_reached();

} // namespace lx_mutation

/// Whether mutant @p id is the one that is tried. Any thread may call it.
inline bool lx_mutant(int id) noexcept
{
    if (lx_mutation::reached)
        __atomic_store_n(lx_mutation::reached + id, 1, __ATOMIC_RELAXED);
    return id == lx_mutation::chosen;
}

#pragma GCC visibility pop
