// What reports mean: the decoding operations of ZorvicHardware. They touch no member, so any thread may call
// them.

#include "hardware/reportlayout.h"
#include "hardware/zorvichardware.h"

using namespace reportlayout;

namespace {

quint8 byteAt(const QByteArray &report, int at)
{
    return static_cast<quint8>(report.at(at));
}

int wordAt(const QByteArray &report, int at)
{
    return byteAt(report, at) | byteAt(report, at + 1) << 8;
}

bool isKind(const QByteArray &report, quint8 kind)
{
    return report.size() > kindAt && byteAt(report, kindAt) == kind;
}

int wholeContacts(const QByteArray &report, int contactSize)
{
    return (report.size() - contact::firstAt) / contactSize;
}

} // namespace

bool ZorvicHardware::isPenPacket(const QByteArray &report)
{
    return report.size() == pen::size && isKind(report, pen::kind)
        && byteAt(report, pen::identifierAt) == pen::identifier;
}

bool ZorvicHardware::isTouchPacket(const QByteArray &report)
{
    return isKind(report, touch::kind);
}

bool ZorvicHardware::isErasePacket(const QByteArray &report)
{
    return isKind(report, erase::kind);
}

bool ZorvicHardware::isTouchStatusPacket(const QByteArray &report)
{
    return report.size() == status::size && isKind(report, status::kind);
}

void ZorvicHardware::getPenData(const QByteArray &report, PenEvent &event)
{
    if (report.size() < pen::size)
        return;
    const quint8 state = byteAt(report, pen::stateAt);
    event.pen = (state & pen::numberMask) >> pen::numberShift;
    event.x = wordAt(report, pen::xAt);
    event.y = wordAt(report, pen::yAt);
    event.tip = state & pen::tipBit;
    event.button = state & pen::buttonBit;
    event.stateBit2 = state & pen::stateBit2;
}

void ZorvicHardware::getTouchData(const QByteArray &report, QList<TouchContact> &contacts)
{
    const int count = wholeContacts(report, touch::contactSize);
    for (int i = 0; i < count; ++i) {
        const int at = contact::firstAt + i * touch::contactSize;
        const quint8 state = byteAt(report, at + contact::stateAt);
        TouchContact touched;
        touched.id = state & contact::idMask;
        touched.x = wordAt(report, at + contact::xAt);
        touched.y = wordAt(report, at + contact::yAt);
        touched.extent = wordAt(report, at + touch::extentAt);
        touched.down = state & contact::downBit;
        contacts.append(touched);
    }
}

void ZorvicHardware::getEraseData(const QByteArray &report, QList<EraseContact> &contacts)
{
    const int count = wholeContacts(report, erase::contactSize);
    for (int i = 0; i < count; ++i) {
        const int at = contact::firstAt + i * erase::contactSize;
        const quint8 state = byteAt(report, at + contact::stateAt);
        EraseContact erased;
        erased.id = state & contact::idMask;
        erased.x = wordAt(report, at + contact::xAt);
        erased.y = wordAt(report, at + contact::yAt);
        erased.width = wordAt(report, at + erase::widthAt);
        erased.height = wordAt(report, at + erase::heightAt);
        erased.down = state & contact::downBit;
        contacts.append(erased);
    }
}

void ZorvicHardware::getTouchStatusData(const QByteArray &report, TouchStatus &status)
{
    if (!isTouchStatusPacket(report))
        return;
    int at = status::firstAt;
    for (qint32 *value :
         {&status.byte2, &status.byte3, &status.byte4, &status.byte5, &status.byte6, &status.byte7})
        // NOLINTNEXTLINE(bugprone-signed-char-misuse): the values are signed, and to be sign-extended.
        *value = static_cast<qint8>(byteAt(report, at++));
}
