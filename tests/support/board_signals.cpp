#include "support/board_signals.h"

namespace {

std::string at(int x, int y)
{
    return " at " + std::to_string(x) + ", " + std::to_string(y);
}

std::string flag(bool set, const char *name)
{
    return set ? std::string(", ") + name : std::string();
}

template <typename Contact> std::string texts_of(const QList<Contact> &contacts)
{
    std::string text;
    for (const Contact &contact : contacts)
        text += (text.empty() ? "" : "; ") + text_of(contact);
    return text;
}

} // namespace

std::string text_of(const ZorvicHardware::PenEvent &event)
{
    return "pen " + std::to_string(event.pen) + at(event.x, event.y) + flag(event.tip, "tip")
        + flag(event.button, "button") + flag(event.stateBit2, "bit 2");
}

std::string text_of(const ZorvicHardware::TouchContact &contact)
{
    return "touch " + std::to_string(contact.id) + at(contact.x, contact.y) + ", extent "
        + std::to_string(contact.extent) + flag(contact.down, "down");
}

std::string text_of(const ZorvicHardware::EraseContact &contact)
{
    return "eraser " + std::to_string(contact.id) + at(contact.x, contact.y) + ", size "
        + std::to_string(contact.width) + ", " + std::to_string(contact.height) + flag(contact.down, "down");
}

std::string text_of(const ZorvicHardware::TouchEvent &contacts)
{
    return texts_of(contacts);
}

std::string text_of(const ZorvicHardware::EraseEvent &contacts)
{
    return texts_of(contacts);
}

std::string text_of(const ZorvicHardware::TouchStatus &status)
{
    std::string text = "status";
    for (const int value :
         {status.byte2, status.byte3, status.byte4, status.byte5, status.byte6, status.byte7})
        text += " " + std::to_string(value);
    return text;
}

std::string text_of(const ZorvicHardware::BoardInfo &info)
{
    std::string text = "board " + std::to_string(info.board) + " of type \"" + info.type.toStdString() + "\"";
    for (const int value : {info.vid, info.pid, info.xp, info.xt, info.xl})
        text += " " + std::to_string(value);
    return text;
}

BoardSignals::BoardSignals(const ZorvicHardware &hardware)
{
    const auto record = [this, &hardware](auto signal, auto text) {
        QObject::connect(
            &hardware, signal, &m_receiver,
            [this, text](const auto &...arguments) { texts.push_back(text(arguments...)); },
            Qt::DirectConnection);
    };
    record(&ZorvicHardware::pnpEvent, [] { return std::string("pnpEvent()"); });
    record(&ZorvicHardware::boardEnumerated, [](int index, const ZorvicHardware::BoardInfo &info) {
        return "boardEnumerated(" + std::to_string(index) + ", " + text_of(info) + ")";
    });
    record(&ZorvicHardware::hubEnumerated,
           [](const QString &type) { return "hubEnumerated(" + type.toStdString() + ")"; });
    record(&ZorvicHardware::deviceEnumCount,
           [](int count) { return "deviceEnumCount(" + std::to_string(count) + ")"; });
    record(&ZorvicHardware::penEvent,
           [](const ZorvicHardware::PenEvent &event) { return "penEvent(" + text_of(event) + ")"; });
    record(&ZorvicHardware::touchEvent, [](const ZorvicHardware::TouchEvent &contacts) {
        return "touchEvent(" + text_of(contacts) + ")";
    });
    record(&ZorvicHardware::eraseEvent, [](const ZorvicHardware::EraseEvent &contacts) {
        return "eraseEvent(" + text_of(contacts) + ")";
    });
    record(&ZorvicHardware::touchStatus, [](int id, const ZorvicHardware::TouchStatus &status) {
        return "touchStatus(" + std::to_string(id) + ", " + text_of(status) + ")";
    });
}
