#include "commands/stream.h"

#include "commands/text.h"
#include "language.h"

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

std::optional<Stream::What> ofBoard(const Line &line)
{
    switch (line.type) {
    case Line::Type::report:
        return Stream::What{line.type, line.board, hexOf(line)};
    case Line::Type::plug:
    case Line::Type::unplug:
        return Stream::What{line.type, line.board, {}};
    case Line::Type::device: {
        const auto device = nlohmann::json::parse(line.text);
        return Stream::What{line.type, line.board,
                            std::to_string(device.value("kind", 0)) + " " + device.value("info", "")};
    }
    default:
        return {};
    }
}

std::optional<Stream::What> ofProgram(const Line &line)
{
    if (line.type == Line::Type::handback)
        return Stream::What{line.type, line.board, hexOf(line)};
    if (line.type == Line::Type::call)
        return Stream::What{line.type, 0, callText(line)};
    return {};
}

} // namespace

std::string Stream::What::text(Audience audience) const
{
    switch (type) {
    case Line::Type::report: // TRANSLATORS: %s is the bytes of the report.
        return format(tr("board %d reports %s", audience), board, detail.c_str());
    case Line::Type::plug:
        return format(tr("board %d is plugged in", audience), board);
    case Line::Type::unplug:
        return format(tr("board %d is unplugged", audience), board);
    case Line::Type::device: // TRANSLATORS: %s is the number of the kind, and what the device says of itself.
        return format(tr("board %d is of kind %s", audience), board, detail.c_str());
    case Line::Type::handback: // TRANSLATORS: the program; so does the next text. %s is the bytes.
        return format(tr("hands back %s through board %d", audience), detail.c_str(), board);
    default:
        return format(tr("calls %s", audience), detail.c_str());
    }
}

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
        auto what = m_side == Side::board ? ofBoard(line) : ofProgram(line);
        if (!what)
            continue;
        const std::int64_t at = line.at.value_or(m_last);
        m_events.push_back({line.number, at, at - m_last, std::move(*what)});
        m_last = at;
        return true;
    }
    return false;
}

} // namespace lab
