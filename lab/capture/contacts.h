#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace capture {

constexpr double boardWidth = 32768; ///< board units across the screen, in either direction

/// What a report is about. A status is a board's answer to a question, other is what the program drops.
enum class ReportKind { pen, touch, erase, status, other };

/// "pen", "touch", "erase", "status" or "other".
std::string_view nameOf(ReportKind kind);

/// One contact of a report, in raw board units. Fields that its kind lacks are 0 or false.
struct Contact
{
    int id = 0;     ///< pen number, 0 to 15, or contact identifier, 0 to 127
    int x = 0;      ///< 0 to 65535, of which 0 to 32767 span the screen
    int y = 0;      ///< 0 to 65535, of which 0 to 32767 span the screen
    int width = 0;  ///< a touch's extent, an eraser's width
    int height = 0; ///< of an eraser
    bool down = false;
    bool button = false; ///< of a pen
    bool bit2 = false;   ///< of a pen; without a known meaning
};

/// What the bytes of a report mean.
struct Report
{
    ReportKind kind = ReportKind::other;
    std::vector<Contact> contacts; ///< in the report's order; one for a pen, none for a status
    std::size_t surplus = 0;       ///< bytes behind the last whole contact
};

/// What a kind is called, for a person.
const char *kindText(ReportKind kind);

/// Decodes a report as the program does, with or without the 3-byte prefix that some boards put before it.
/// Uses the vector of @p report again. No state; may be called on any thread.
void decode(const std::uint8_t *bytes, std::size_t size, Report &report);

} // namespace capture
