// Whose each contact is, and the way back of those that are the operating system's: the operations of
// ZorvicHardware that need a screen's size and the driver, but no list of boards beyond its first.

#include "hardware/zorvichardware.h"

#include "hardware/abstracthardwarewrapper.h"
#include "hardware/reportlayout.h"

#include <algorithm>
#include <array>

using namespace reportlayout;

namespace {

using SystemReport = std::array<unsigned char, systemReport::bufferSize>;

// The driver counts 32768 positions across the screen, 0 to 32767, so that the last one maps to the screen's
// far edge. The input model divides by 32768 instead: there 1.0 is the whole width.
constexpr double rawPerScreen = 32767;

} // namespace

void ZorvicHardware::setWidgetOfInterest(QWidget *widget)
{
    m_destinations.setWidgetOfInterest(widget);
}

QPoint ZorvicHardware::mapUSBPosToDevicePos(QPoint raw) const
{
    // Deliberate: the screen's origin is not added.
    return {static_cast<int>(m_screen.width() * (raw.x() / rawPerScreen)),
            static_cast<int>(m_screen.height() * (raw.y() / rawPerScreen))};
}

int ZorvicHardware::mapUSBValToDeviceVal(int raw) const
{
    return static_cast<int>(raw / rawPerScreen * m_screen.width());
}

bool ZorvicHardware::preProcessPenEvent(const PenEvent &event)
{
    const bool lifted = !event.tip && !event.button;
    const Destinations::Pen destination =
        m_destinations.ofPen(event.pen, lifted, mapUSBPosToDevicePos({event.x, event.y}));
    if (destination == Destinations::Pen::send || destination == Destinations::Pen::sendLift)
        redirectPenEvent(event);
    if (destination == Destinations::Pen::sendLift)
        m_destinations.forgetSentPen(event.pen);
    return destination != Destinations::Pen::own;
}

QList<ZorvicHardware::TouchContact> ZorvicHardware::preProcessTouchEvent(const QList<TouchContact> &contacts)
{
    QList<TouchContact> kept;
    QList<TouchContact> redirected;
    for (const TouchContact &contact : contacts) {
        const QPoint position = mapUSBPosToDevicePos({contact.x, contact.y});
        const bool own = m_destinations.isOwnTouch(contact.id, !contact.down, position);
        (own ? kept : redirected).append(contact);
    }
    redirectTouchEvent(redirected);
    return kept;
}

void ZorvicHardware::redirectPenEvent(const PenEvent &event)
{
    SystemReport report{};
    putByte(report, systemReport::lengthAt, systemReport::penLength);
    putByte(report, kindAt, pen::kind);
    putByte(report, systemReport::penNumberAt, event.pen | (event.tip ? systemReport::penTipBit : 0));
    putWord(report, systemReport::penXAt, event.x);
    putWord(report, systemReport::penYAt, event.y);
    sendToSystem(systemReport::penLength, report.data());
}

void ZorvicHardware::redirectTouchEvent(const QList<TouchContact> &contacts)
{
    if (contacts.isEmpty())
        return;

    // Deliberate: the length byte counts every contact and wraps; the buffer ends after 36 of them.
    const auto length = static_cast<unsigned char>(touch::contactSize * contacts.size() + contact::firstAt);
    SystemReport report{};
    putByte(report, systemReport::lengthAt, length);
    putByte(report, kindAt, touch::kind);
    const int written = std::min(contacts.size(), systemReport::maxContacts);
    for (int i = 0; i < written; ++i) {
        const TouchContact &touched = contacts.at(i);
        const int at = contact::firstAt + i * touch::contactSize;
        putByte(report, at + contact::stateAt, touched.id | (touched.down ? contact::downBit : 0));
        putWord(report, at + contact::xAt, touched.x);
        putWord(report, at + contact::yAt, touched.y);
    }
    sendToSystem(length, report.data());
}

void ZorvicHardware::sendToSystem(unsigned char length, const unsigned char *report)
{
    // Deliberate: always through the board enumerated first, whichever board the report came from.
    const std::optional<int> board = firstBoard();
    if (!board)
        return;
    const Backlog::Opening opening(m_backlog);
    m_wrapper->SendTouchPacketToSystem(*board, length, report);
}
