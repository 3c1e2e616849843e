#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// libFuzzer's entry point, see https://llvm.org/docs/LibFuzzer.html.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

/// Ends the process when a promise to the caller is broken, so that the fuzzer keeps the input.
inline void require(bool promise)
{
    if (!promise)
        std::abort();
}
