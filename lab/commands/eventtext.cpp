#include "commands/eventtext.h"

#include "commands/json.h"
#include "commands/text.h"

#include "scenarioreader.h"

namespace lab {

namespace {

using capture::Contact;
using capture::Line;
using capture::Report;
using capture::ReportKind;

std::string stateText(const Contact &contact, ReportKind kind)
{
    if (kind != ReportKind::pen)
        return contact.down ? "down" : "lifted";
    std::string state = contact.down ? "tip" : "hovering";
    if (contact.button)
        state += "+button";
    if (contact.bit2)
        state += "+bit2";
    return state;
}

std::string sizeText(const Contact &contact, ReportKind kind)
{
    if (kind == ReportKind::touch)
        return format(" extent %d", contact.width);
    if (kind == ReportKind::erase)
        return format(" size %dx%d", contact.width, contact.height);
    return {};
}

/// The name of an export without the prefix that all have, the arguments and the result of a call.
std::string callText(const Json &call)
{
    std::string name = call.value("export", "");
    if (name.rfind("zorvic", 0) == 0)
        name.erase(0, 6);
    std::string text = name + "(";
    if (const auto arguments = call.find("arguments"); arguments != call.end() && arguments->is_object()) {
        for (const auto &argument : arguments->items())
            text += (text.back() == '(' ? "" : ", ") + argument.key() + " " + argument.value().dump();
    }
    text += ")";
    if (const auto result = call.find("result"); result != call.end() && !result->is_null())
        text += " = " + result->dump();
    if (const auto inside = call.find("inside"); inside != call.end() && inside->is_number())
        text += format(", %.1f us", inside->get<double>());
    return text;
}

Json contactJson(const Contact &contact, ReportKind kind)
{
    Json json{{"id", contact.id}, {"x", contact.x}, {"y", contact.y}, {"down", contact.down}};
    if (kind == ReportKind::pen) {
        json["button"] = contact.button;
        json["bit2"] = contact.bit2;
    } else if (kind == ReportKind::touch) {
        json["extent"] = contact.width;
    } else {
        json["width"] = contact.width;
        json["height"] = contact.height;
    }
    return json;
}

} // namespace

std::string timeText(const Line &line)
{
    return line.at ? format("%14.6f", static_cast<double>(*line.at) / 1e6) : std::string(14, ' ');
}

std::string reportText(const Line &line, const Report &report)
{
    std::string text = format("board %d  %-6s", line.board, std::string(nameOf(report.kind)).c_str());
    const char *separator = " ";
    for (const Contact &contact : report.contacts) {
        text += format("%s%d %s at %d,%d", separator, contact.id, stateText(contact, report.kind).c_str(),
                       contact.x, contact.y)
            + sizeText(contact, report.kind);
        separator = "; ";
    }
    if (report.kind == ReportKind::status || report.kind == ReportKind::other)
        text += " " + hexOf(line);
    if (report.surplus > 0)
        text += format(" and %zu bytes too many", report.surplus);
    if (line.inside)
        text += format("  (%.1f us)", *line.inside);
    return text;
}

std::string eventText(const Line &line)
{
    const Json json = Json::parse(line.text);
    switch (line.type) {
    case Line::Type::first:
        return "recording of version " + json.value("version", Json()).dump();
    case Line::Type::call:
        return "call   " + callText(json);
    case Line::Type::handback:
        return format("board %d  back to the system %s", line.board, hexOf(line).c_str());
    case Line::Type::lost:
        return "lost   " + json.value("count", Json()).dump() + " reports";
    case Line::Type::note:
    case Line::Type::mark:
        return (line.type == Line::Type::note ? "note   " : "mark   ")
            + boardsim::oneLine(json.value("text", ""));
    case Line::Type::device:
        return format("board %d  device of kind %d  ", line.board, json.value("kind", 0))
            + boardsim::oneLine(json.value("info", ""));
    case Line::Type::plug:
        return format("board %d  plugged in", line.board);
    case Line::Type::unplug:
        return format("board %d  unplugged", line.board);
    case Line::Type::end:
        return "end of the recording";
    default:
        return boardsim::oneLine(std::string(line.text));
    }
}

Json eventJson(const Line &line, const Report &report)
{
    Json json = Json::parse(line.text);
    json["line"] = line.number;
    if (line.type != Line::Type::report)
        return json;
    json["kind"] = nameOf(report.kind);
    json["contacts"] = Json::array();
    for (const Contact &contact : report.contacts)
        json["contacts"].push_back(contactJson(contact, report.kind));
    return json;
}

} // namespace lab
