#include "capture/writer.h"

#include "capture/systemreport.h"

#include <array>
#include <charconv>

namespace capture {

namespace {

constexpr std::string_view digits = "0123456789abcdef";

template <typename Number> void append(std::string &text, Number number)
{
    std::array<char, 24> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
    text.append(buffer.data(), result.ptr);
}

} // namespace

void Writer::begin(const char *type, std::int64_t at, int board)
{
    m_text += R"({"type":")";
    m_text += type;
    m_text += R"(","at":)";
    append(m_text, at);
    m_text += R"(,"board":)";
    append(m_text, board);
}

void Writer::addHex(const std::uint8_t *bytes, std::size_t size)
{
    m_text += R"(,"hex":")";
    for (std::size_t i = 0; i < size; ++i) {
        m_text += digits[bytes[i] >> 4];
        m_text += digits[bytes[i] & 0x0F];
    }
    m_text += '"';
}

void Writer::end(std::optional<double> inside)
{
    if (inside) {
        m_text += R"(,"inside":)";
        std::array<char, 40> buffer{};
        const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), *inside,
                                          std::chars_format::fixed, 2); // whatever the locale
        m_text.append(buffer.data(), result.ptr);
    }
    m_text += "}\n";
}

void Writer::addReport(std::int64_t at, int board, const std::uint8_t *bytes, std::size_t size,
                       std::optional<std::uint32_t> length, std::optional<double> inside)
{
    begin("raw", at, board);
    addHex(bytes, size);
    if (length) {
        m_text += R"(,"length":)";
        append(m_text, *length);
    }
    end(inside);
}

void Writer::addHandback(std::int64_t at, int board, const std::uint8_t *bytes, std::size_t size, int thread,
                         std::optional<double> inside)
{
    begin("handback", at, board);
    addHex(bytes, size);
    m_text += R"(,"thread":)";
    append(m_text, thread);
    const SystemReport report = decodeForSystem(bytes, size);
    m_text += R"(,"kind":")";
    m_text += nameOf(report.kind);
    m_text += R"(","contacts":[)";
    for (const Contact &contact : report.contacts) {
        if (m_text.back() == '}')
            m_text += ',';
        m_text += R"({"id":)";
        append(m_text, contact.id);
        m_text += R"(,"x":)";
        append(m_text, contact.x);
        m_text += R"(,"y":)";
        append(m_text, contact.y);
        m_text += contact.down ? R"(,"down":true})" : R"(,"down":false})";
    }
    m_text += ']';
    end(inside);
}

void Writer::addAt(const Line &line, std::int64_t at)
{
    const bool isPlain =
        line.type == Line::Type::report && line.at && line.text.find("\"length\"") == std::string_view::npos;
    if (isPlain) {
        addReport(at, line.board, line.bytes.data(), line.bytes.size(), {}, line.inside);
        return;
    }
    auto fields = Json::parse(line.text);
    if (line.at)
        fields["at"] = at;
    add(fields);
}

void Writer::add(const Json &fields)
{
    // Texts from the program or the driver need not be valid UTF-8.
    m_text += fields.dump(-1, ' ', false, Json::error_handler_t::replace);
    m_text += '\n';
}

} // namespace capture
