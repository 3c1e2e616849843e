#include "support/reports.h"

namespace {

void append_word(QByteArray &report, int value)
{
    report.append(static_cast<char>(value % 256));
    report.append(static_cast<char>(value / 256));
}

char contact_state(int id, bool down)
{
    return static_cast<char>(id + (down ? 128 : 0));
}

} // namespace

QByteArray reports::pen(const ZorvicHardware::PenEvent &event)
{
    QByteArray report = QByteArray::fromHex("082100");
    append_word(report, event.x);
    append_word(report, event.y);
    report.append(static_cast<char>((event.tip ? 1 : 0) + (event.button ? 2 : 0) + (event.stateBit2 ? 4 : 0)
                                    + event.pen * 8));
    return report;
}

QByteArray reports::touch(const ZorvicHardware::TouchEvent &contacts)
{
    QByteArray report = QByteArray::fromHex("0045");
    for (const auto &contact : contacts) {
        report.append(contact_state(contact.id, contact.down));
        append_word(report, contact.x);
        append_word(report, contact.y);
        append_word(report, contact.extent);
    }
    return report;
}

QByteArray reports::erase(const ZorvicHardware::EraseEvent &contacts)
{
    QByteArray report = QByteArray::fromHex("0046");
    for (const auto &contact : contacts) {
        report.append(contact_state(contact.id, contact.down));
        append_word(report, contact.x);
        append_word(report, contact.y);
        append_word(report, contact.width);
        append_word(report, contact.height);
    }
    return report;
}

QByteArray reports::status(const std::vector<int> &six_bytes)
{
    QByteArray report = QByteArray::fromHex("00A5");
    for (const int value : six_bytes)
        report.append(static_cast<char>(value));
    return report;
}

QByteArray reports::prefixed(const QByteArray &report)
{
    return QByteArray::fromHex("004100") + report;
}

void reports::deliver(ZorvicHardware &hardware, const QByteArray &report)
{
    ZorvicHardware::processPacketCallback(1, reinterpret_cast<const unsigned char *>(report.constData()),
                                          static_cast<unsigned int>(report.size()), &hardware);
}
