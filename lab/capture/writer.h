#pragma once

#include "capture/line.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace capture {

/// Composes the lines of a recording, one after the other, for whoever writes them to a file or a reader.
/// Times are microseconds since the first line. Used on one thread.
class Writer
{
public:
    using Json = nlohmann::ordered_json;

    /// @p length is the report's own if more bytes came than are kept; @p inside is how long the program kept
    /// the driver's thread, in microseconds, if that is known.
    void addReport(std::int64_t at, int board, const std::uint8_t *bytes, std::size_t size,
                   std::optional<std::uint32_t> length, std::optional<double> inside);
    /// A report that goes back to the operating system; the line also says what it means.
    void addHandback(std::int64_t at, int board, const std::uint8_t *bytes, std::size_t size, int thread,
                     std::optional<double> inside);
    /// Any other line; @p fields hold its type first.
    void add(const Json &fields);
    /// A line that was read, at another time. Without a time it has none then either.
    void addAt(const Line &line, std::int64_t at);
    /// A line as it stands in another recording, without its newline.
    void addLine(std::string_view line) { m_text.append(line).push_back('\n'); }

    /// The lines since the last clear().
    const std::string &text() const { return m_text; }
    void clear() { m_text.clear(); }

private:
    void begin(const char *type, std::int64_t at, int board);
    void addHex(const std::uint8_t *bytes, std::size_t size);
    void end(std::optional<double> inside);

    std::string m_text;
};

} // namespace capture
