#include "commands/eventtext.h"

#include "commands/json.h"
#include "commands/text.h"
#include "language.h"

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
        return contact.down ? tr("down") : tr("lifted");
    // TRANSLATORS: a pen's tip touches the board; the same in one word.
    std::string state = contact.down ? tr("tip") : tr("hovering");
    if (contact.button)
        // TRANSLATORS: of a pen; follows the text before.
        state += tr("+button");
    if (contact.bit2)
        state += "+bit2";
    return state;
}

std::string sizeText(const Contact &contact, ReportKind kind)
{
    if (kind == ReportKind::touch)
        return format(tr(" extent %d"), contact.width);
    if (kind == ReportKind::erase)
        return format(tr(" size %dx%d"), contact.width, contact.height);
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
    std::string text = format(tr("board %d"), line.board) + "  " + padded(kindText(report.kind), 6);
    const char *separator = " ";
    for (const Contact &contact : report.contacts) {
        text += separator
            // TRANSLATORS: a number, "down" or "lifted", and a place.
            + format(tr("%d %s at %d,%d"), contact.id, stateText(contact, report.kind).c_str(), contact.x,
                     contact.y)
            + sizeText(contact, report.kind);
        separator = "; ";
    }
    if (report.kind == ReportKind::status || report.kind == ReportKind::other)
        text += " " + hexOf(line);
    if (report.surplus > 0)
        text += format(trCount(" and %zu bytes too many", static_cast<std::int64_t>(report.surplus)),
                       report.surplus);
    if (line.inside)
        text += format("  (%.1f us)", *line.inside);
    return text;
}

std::string eventText(const Line &line)
{
    const Json json = Json::parse(line.text);
    switch (line.type) {
    case Line::Type::first:
        return format(tr("recording of version %s"), json.value("version", Json()).dump().c_str());
    case Line::Type::call:
        // TRANSLATORS: of the program to the driver. The texts up to "mark" stand in a column of 7 letters.
        return padded(tr("call"), 7) + callText(json);
    case Line::Type::handback:
        // TRANSLATORS: a contact that goes back to the operating system; %s is its bytes.
        return format(tr("board %d  back to the system %s"), line.board, hexOf(line).c_str());
    case Line::Type::lost:
        return padded(tr("lost"), 7)
            + format(trCount("%s reports", json.value("count", std::int64_t{0})),
                     json.value("count", Json()).dump().c_str());
    case Line::Type::note:
    case Line::Type::mark:
        return padded(line.type == Line::Type::note ? tr("note") : tr("mark"), 7)
            + boardsim::oneLine(json.value("text", ""));
    case Line::Type::device:
        return format(tr("board %d  device of kind %d  "), line.board, json.value("kind", 0))
            + boardsim::oneLine(json.value("info", ""));
    case Line::Type::plug:
        return format(tr("board %d  plugged in"), line.board);
    case Line::Type::unplug:
        return format(tr("board %d  unplugged"), line.board);
    case Line::Type::end:
        return tr("end of the recording");
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
