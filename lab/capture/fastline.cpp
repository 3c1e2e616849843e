#include "capture/fastline.h"

#include "capture/lines.h"

#include "scenariolines.h"

#include <array>
#include <climits>

#include <simdjson.h>

namespace capture {

namespace {

using simdjson::ondemand::field;
using simdjson::ondemand::value;

static_assert(simdjson::SIMDJSON_PADDING <= padding);

constexpr std::uint8_t noDigit = 0xff;

constexpr std::array<std::uint8_t, 256> makeDigits()
{
    std::array<std::uint8_t, 256> values{};
    for (auto &digit : values)
        digit = noDigit;
    for (std::uint8_t i = 0; i < 16; ++i) {
        constexpr std::string_view lower = "0123456789abcdef";
        constexpr std::string_view upper = "0123456789ABCDEF";
        values[static_cast<unsigned char>(lower[i])] = values[static_cast<unsigned char>(upper[i])] = i;
    }
    return values;
}

constexpr std::array<std::uint8_t, 256> digitValues = makeDigits();

/// Two digits a byte without spaces, as recordings have them.
bool readHex(std::string_view text, Bytes &bytes)
{
    if (text.size() % 2 != 0)
        return false;
    bytes.resize(text.size() / 2);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::uint8_t high = digitValues[static_cast<unsigned char>(text[2 * i])];
        const std::uint8_t low = digitValues[static_cast<unsigned char>(text[2 * i + 1])];
        if (high == noDigit || low == noDigit)
            return false;
        bytes[i] = static_cast<std::uint8_t>(high << 4 | low);
    }
    return true;
}

bool readWhole(value &number, std::int64_t highest, std::int64_t &read)
{
    return !number.get_int64().get(read) && read >= 0 && read <= highest;
}

} // namespace

struct FastLine::Parser
{
    enum Field {
        type = 1,
        board = 2,
        at = 4,
        hex = 8,
        inside = 16,
        thread = 32,
        kind = 64,
        contacts = 128,
        required = type | board | hex
    };

    bool readFields(simdjson::ondemand::object &object, Line &line);
    bool readField(std::string_view name, value &held, Line &line);
    bool readType(value &held, Line &line);
    bool readInside(value &held, Line &line);
    bool isFirst(Field found);
    static bool isMeaning(Field found, value &held);
    static bool isContact(simdjson::ondemand::object &contact);

    simdjson::ondemand::parser parser;
    int seen = 0; ///< of Field
};

FastLine::FastLine() : m_parser(std::make_unique<Parser>()) { }
FastLine::~FastLine() = default;

bool FastLine::parse(std::string_view text, Line &line)
{
    line.text = text;
    line.at.reset();
    line.inside.reset();
    simdjson::ondemand::document document;
    simdjson::ondemand::object object;
    if (m_parser->parser.iterate(text.data(), text.size(), text.size() + padding).get(document)
        || document.get_object().get(object))
        return false;
    // There is no location behind the last token.
    return m_parser->readFields(object, line)
        && document.current_location().error() == simdjson::OUT_OF_BOUNDS;
}

bool FastLine::Parser::readFields(simdjson::ondemand::object &object, Line &line)
{
    seen = 0;
    for (auto next : object) {
        field found;
        std::string_view name;
        if (std::move(next).get(found) || found.unescaped_key().get(name))
            return false;
        if (!readField(name, found.value(), line))
            return false;
    }
    return (seen & required) == required;
}

bool FastLine::Parser::isFirst(Field found)
{
    const bool first = (seen & found) == 0;
    seen |= found;
    return first;
}

/// Whether a field that says what the bytes of a hand-back mean is of the shape that recorders write. A value
/// that is skipped would not be looked at, whatever stands there.
bool FastLine::Parser::isMeaning(Field found, value &held)
{
    std::string_view text;
    std::int64_t number = 0;
    if (found == thread)
        return !held.get_int64().get(number);
    if (found == kind)
        return !held.get_string().get(text);
    simdjson::ondemand::array list;
    if (held.get_array().get(list))
        return false;
    for (auto next : list) {
        simdjson::ondemand::object contact;
        if (next.get_object().get(contact) || !isContact(contact))
            return false;
    }
    return true;
}

bool FastLine::Parser::isContact(simdjson::ondemand::object &contact)
{
    constexpr std::array<std::string_view, 4> names{"id", "x", "y", "down"};
    std::size_t count = 0;
    for (auto next : contact) {
        field found;
        std::string_view name;
        std::int64_t number = 0;
        bool down = false;
        if (std::move(next).get(found) || found.unescaped_key().get(name) || count == names.size()
            || name != names.at(count++))
            return false;
        value held = found.value();
        if (name == "down" ? held.get_bool().get(down) : held.get_int64().get(number))
            return false;
    }
    return count == names.size();
}

bool FastLine::Parser::readType(value &held, Line &line)
{
    std::string_view text;
    if (held.get_string().get(text) || !isFirst(type))
        return false;
    line.type = text == "raw" ? Line::Type::report : Line::Type::handback;
    return text == "raw" || text == "handback";
}

bool FastLine::Parser::readInside(value &held, Line &line)
{
    double microseconds = 0;
    if (!isFirst(inside) || held.get_double().get(microseconds))
        return false;
    line.inside = microseconds;
    return true;
}

bool FastLine::Parser::readField(std::string_view name, value &held, Line &line)
{
    std::int64_t number = 0;
    std::string_view text;
    if (name == "type")
        return readType(held, line);
    if (name == "inside")
        return readInside(held, line);
    if (name == "hex")
        return isFirst(hex) && !held.get_string().get(text) && readHex(text, line.bytes);
    if (name == "board") {
        if (!isFirst(board) || !readWhole(held, INT_MAX, number))
            return false;
        line.board = static_cast<int>(number);
        return true;
    }
    if (name == "at") {
        if (!isFirst(at) || !readWhole(held, boardsim::latestTime, number))
            return false;
        line.at = number;
        return true;
    }
    if (name == "kind" || name == "contacts" || name == "thread") {
        const Field found = name == "kind" ? kind : name == "thread" ? thread : contacts;
        return line.type == Line::Type::handback && (seen & type) != 0 && isFirst(found)
            && isMeaning(found, held);
    }
    return false;
}

} // namespace capture
