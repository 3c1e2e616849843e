#include "capture/boards.h"

#include "capture/writer.h"

#include "report.h"

#include <nlohmann/json.hpp>

namespace capture {

namespace {

bool counts(const Contact &pen)
{
    return pen.down || pen.button;
}

boardsim::Bytes bytesOf(const Contact &pen, bool lifted)
{
    return boardsim::penReport({pen.id, pen.x, pen.y, pen.down && !lifted, pen.button && !lifted, pen.bit2});
}

boardsim::Bytes touchesOf(const std::map<int, Contact> &contacts, bool lifted)
{
    std::vector<boardsim::TouchContact> touches;
    touches.reserve(contacts.size());
    for (const auto &[id, contact] : contacts)
        touches.push_back({id, contact.x, contact.y, contact.width, !lifted});
    return boardsim::touchReport(touches);
}

boardsim::Bytes erasersOf(const std::map<int, Contact> &contacts, bool lifted)
{
    std::vector<boardsim::EraseContact> erasers;
    erasers.reserve(contacts.size());
    for (const auto &[id, contact] : contacts)
        erasers.push_back({id, contact.x, contact.y, contact.width, contact.height, !lifted});
    return boardsim::eraseReport(erasers);
}

void addContacts(std::int64_t at, int board, const Boards::Device &device, bool lifted, Writer &writer)
{
    const auto add = [&](const boardsim::Bytes &bytes) {
        writer.addReport(at, board, bytes.data(), bytes.size(), {}, {});
    };
    for (const Contact &pen : device.pens) {
        if (counts(pen))
            add(bytesOf(pen, lifted));
    }
    if (!device.touches.empty())
        add(touchesOf(device.touches, lifted));
    if (!device.erasers.empty())
        add(erasersOf(device.erasers, lifted));
}

} // namespace

void Boards::follow(const Line &line)
{
    if (line.type == Line::Type::report) {
        followReport(line);
    } else if (line.type == Line::Type::device) {
        const auto json = nlohmann::json::parse(line.text);
        Device &device = m_devices[line.board];
        device.kind = json.value("kind", 0);
        device.info = json.value("info", "");
        device.plugged = json.value("plugged", true);
    } else if (line.type == Line::Type::plug) {
        m_devices[line.board].plugged = true;
    } else if (line.type == Line::Type::unplug) {
        Device &device = m_devices[line.board];
        device = {device.kind, device.info, false, {}, {}, {}};
    }
}

void Boards::followReport(const Line &line)
{
    Device &device = m_devices[line.board];
    decode(line.bytes.data(), line.bytes.size(), m_report);
    if (m_report.kind == ReportKind::pen) {
        const Contact &pen = m_report.contacts.front();
        device.pens[pen.id] = pen;
        return;
    }
    auto &contacts = m_report.kind == ReportKind::touch ? device.touches : device.erasers;
    for (const Contact &contact : m_report.contacts) {
        if (contact.down)
            contacts[contact.id] = contact;
        else
            contacts.erase(contact.id);
    }
}

void Boards::restore(std::int64_t at, Writer &writer) const
{
    for (const auto &[board, device] : m_devices) {
        Writer::Json line{{"type", "device"}, {"at", at}, {"kind", device.kind}, {"board", board}};
        line["info"] = device.info;
        line["plugged"] = device.plugged;
        writer.add(line);
    }
    for (const auto &[board, device] : m_devices)
        addContacts(at, board, device, false, writer);
}

void Boards::lift(std::int64_t at, Writer &writer) const
{
    for (const auto &[board, device] : m_devices)
        addContacts(at, board, device, true, writer);
}

} // namespace capture
