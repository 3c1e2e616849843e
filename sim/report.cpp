#include "report.h"

#include <cstddef>

namespace boardsim {

namespace {

constexpr std::size_t kindAt = 1;
constexpr std::uint8_t downBit = 0x80; // first byte of a touch or erase contact: bit 7 down, bits 0 to 6 id
constexpr std::uint8_t idMask = 0x7f;
constexpr std::size_t headerSize = 2; // touch and erase: the contacts follow, without a count

namespace pen { // exactly 8 bytes; 16-bit values low byte first
constexpr std::uint8_t identifier = 0x08;
constexpr std::uint8_t kind = 0x21;
constexpr std::size_t size = 8;
constexpr std::size_t stateAt = 7; // bit 0 tip, bit 1 button, bit 2, bits 3 to 6 pen number
constexpr std::uint8_t tipBit = 0x01;
constexpr std::uint8_t buttonBit = 0x02;
constexpr std::uint8_t bit2 = 0x04;
constexpr int penShift = 3;
constexpr std::uint8_t penMask = 0x78;
} // namespace pen

namespace touch { // state, x, y, extent
constexpr std::uint8_t kind = 0x45;
constexpr std::size_t contactSize = 7;
} // namespace touch

namespace erase { // state, x, y, width, height
constexpr std::uint8_t kind = 0x46;
constexpr std::size_t contactSize = 9;
} // namespace erase

namespace status {
constexpr std::uint8_t identifier = 0x08;
constexpr std::uint8_t kind = 0xa5;
} // namespace status

// Identities of contacts on the board: the three kinds must not meet.
constexpr int firstTouch = 256;
constexpr int firstErase = 512;

void putByte(Bytes &report, int value)
{
    report.push_back(static_cast<std::uint8_t>(value & 0xff));
}

void putWord(Bytes &report, int value)
{
    putByte(report, value);
    putByte(report, value >> 8);
}

void putState(Bytes &report, int id, bool down)
{
    putByte(report, (id & idMask) | (down ? downBit : 0));
}

void setDown(std::set<int> &contacts, int contact, bool down)
{
    if (down)
        contacts.insert(contact);
    else
        contacts.erase(contact);
}

void trackGroups(const Bytes &report, std::size_t contactSize, int firstContact, std::set<int> &down)
{
    for (std::size_t at = headerSize; at + contactSize <= report.size(); at += contactSize)
        setDown(down, firstContact + (report[at] & idMask), (report[at] & downBit) != 0);
}

} // namespace

Bytes penReport(const PenSample &sample)
{
    Bytes report;
    report.reserve(pen::size);
    putByte(report, pen::identifier);
    putByte(report, pen::kind);
    putByte(report, 0);
    putWord(report, sample.x);
    putWord(report, sample.y);
    putByte(report,
            (sample.tip ? pen::tipBit : 0) | (sample.button ? pen::buttonBit : 0)
                | (sample.bit2 ? pen::bit2 : 0) | ((sample.pen << pen::penShift) & pen::penMask));
    return report;
}

Bytes touchReport(const std::vector<TouchContact> &contacts)
{
    Bytes report;
    report.reserve(headerSize + contacts.size() * touch::contactSize);
    putByte(report, 0);
    putByte(report, touch::kind);
    for (const TouchContact &contact : contacts) {
        putState(report, contact.id, contact.down);
        putWord(report, contact.x);
        putWord(report, contact.y);
        putWord(report, contact.extent);
    }
    return report;
}

Bytes eraseReport(const std::vector<EraseContact> &contacts)
{
    Bytes report;
    report.reserve(headerSize + contacts.size() * erase::contactSize);
    putByte(report, 0);
    putByte(report, erase::kind);
    for (const EraseContact &contact : contacts) {
        putState(report, contact.id, contact.down);
        putWord(report, contact.x);
        putWord(report, contact.y);
        putWord(report, contact.width);
        putWord(report, contact.height);
    }
    return report;
}

Bytes touchStatusReport(const std::uint8_t (&values)[6])
{
    Bytes report;
    putByte(report, status::identifier);
    putByte(report, status::kind);
    for (const std::uint8_t value : values)
        putByte(report, value);
    return report;
}

void trackContacts(const Bytes &report, std::set<int> &down)
{
    if (report.size() <= kindAt)
        return;
    if (report[kindAt] == touch::kind)
        trackGroups(report, touch::contactSize, firstTouch, down);
    else if (report[kindAt] == erase::kind)
        trackGroups(report, erase::contactSize, firstErase, down);
    else if (report[kindAt] == pen::kind && report.size() == pen::size) {
        const std::uint8_t state = report[pen::stateAt];
        setDown(down, (state & pen::penMask) >> pen::penShift, (state & (pen::tipBit | pen::buttonBit)) != 0);
    }
}

} // namespace boardsim
