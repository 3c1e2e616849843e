#include "commands/stream.h"

#include "commands/text.h"

#include <nlohmann/json.hpp>

namespace lab {

namespace {

using capture::Line;

/// What a call says, without addresses, which differ from run to run.
std::string callText(const Line &line)
{
    const auto call = nlohmann::ordered_json::parse(line.text);
    std::string text = call.value("export", "");
    if (const auto arguments = call.find("arguments"); arguments != call.end()) {
        for (const auto &argument : arguments->items()) {
            const std::string value = argument.value().dump();
            if (value.rfind("\"0x", 0) != 0)
                text += " " + argument.key() + "=" + value;
        }
    }
    return text + " -> " + (call.contains("result") ? call["result"].dump() : "null");
}

std::optional<std::string> boardText(const Line &line)
{
    const std::string board = "board " + std::to_string(line.board);
    switch (line.type) {
    case Line::Type::report:
        return board + " reports " + hexOf(line);
    case Line::Type::plug:
        return board + " is plugged in";
    case Line::Type::unplug:
        return board + " is unplugged";
    case Line::Type::device: {
        const auto device = nlohmann::json::parse(line.text);
        return board + " is of kind " + std::to_string(device.value("kind", 0)) + " "
            + device.value("info", "");
    }
    default:
        return {};
    }
}

std::optional<std::string> programText(const Line &line)
{
    if (line.type == Line::Type::handback)
        return "hands back " + hexOf(line) + " through board " + std::to_string(line.board);
    if (line.type == Line::Type::call)
        return "calls " + callText(line);
    return {};
}

} // namespace

Stream::Stream(const std::string &file, Side side, Input::Progress progress)
    : m_input(file, progress), m_side(side)
{
}

const Stream::Event *Stream::peek(std::size_t ahead)
{
    while (m_events.size() <= ahead) {
        if (!readOne())
            return nullptr;
    }
    return &m_events[ahead];
}

void Stream::drop(std::size_t count)
{
    m_events.erase(m_events.begin(), m_events.begin() + static_cast<std::ptrdiff_t>(count));
}

bool Stream::readOne()
{
    while (m_input.next()) {
        const Line &line = m_input.line();
        const auto what = m_side == Side::board ? boardText(line) : programText(line);
        if (!what)
            continue;
        const std::int64_t at = line.at.value_or(m_last);
        m_events.push_back({line.number, at, at - m_last, *what});
        m_last = at;
        return true;
    }
    return false;
}

} // namespace lab
