#pragma once

#include "hardware/zorvicexports.h"

#include <cstddef>
#include <cstdint>

namespace recorder {

/// The functions of the board driver, in the order of the table of exports.
enum class Function : std::uint8_t {
#define NAME(name, ...) name,
    ZORVIC_EXPORTS(NAME)
#undef NAME
};

struct FunctionNames
{
    const char *name;      ///< as it is exported
    const char *signature; ///< as the table writes it: "int(int board, const char *command)"
};

constexpr FunctionNames functionNames[] = {
#define NAMES(name, ...) {"zorvic" #name, #__VA_ARGS__},
    ZORVIC_EXPORTS(NAMES)
#undef NAMES
};

constexpr std::size_t functionCount = sizeof functionNames / sizeof *functionNames;

} // namespace recorder
