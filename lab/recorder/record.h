#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace recorder {

/// What the driver's threads and the program's hand to the writer's thread: one event, as small as it can be.
struct Record
{
    enum class Kind : std::uint8_t {
        report,   ///< a callback has begun
        returned, ///< it has ended
        call,     ///< of the driver, which has ended
        change    ///< the plug-and-play callback has begun
    };

    static constexpr std::size_t inlineSize = 128;    ///< bytes: eighteen touches
    static constexpr std::size_t longestKept = 16384; ///< bytes of one report
    static constexpr std::size_t longestText = 8192;  ///< bytes; as JSON up to six times as many
    static constexpr std::size_t mostArguments = 5;

    Kind kind = Kind::report;
    std::uint8_t function = 0; ///< of a call: its place in the table of exports
    std::int32_t board = 0;
    std::int32_t thread = 0;                             ///< the kernel's number
    std::uint32_t length = 0;                            ///< bytes that came
    std::uint32_t kept = 0;                              ///< bytes that are kept
    std::int64_t begin = 0;                              ///< nanoseconds of CLOCK_MONOTONIC, as the next
    std::int64_t end = 0;                                ///< of returned and call
    std::uint64_t number = 0;                            ///< of a report, and of its return
    std::int64_t result = 0;                             ///< of a call
    std::array<std::int64_t, mostArguments> arguments{}; ///< of a call; addresses as numbers
    std::array<std::uint8_t, inlineSize> bytes{};
    std::uint8_t *longBytes = nullptr; ///< instead of bytes, if these are too few; from malloc
};

} // namespace recorder
