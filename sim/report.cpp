#include "report.h"

#include <algorithm>
#include <cstddef>

namespace boardsim {

namespace {

using namespace reportlayout;

// Offsets that keep the identities of the three kinds of contacts apart; pens start at 0.
constexpr int firstTouch = 256;
constexpr int firstErase = 512;

/// A report of @p kind with @p count contacts, whose bytes are still zero.
Bytes emptyList(std::uint8_t kind, std::size_t count, int contactSize)
{
    Bytes report(contact::firstAt + count * static_cast<std::size_t>(contactSize));
    putByte(report, kindAt, kind);
    return report;
}

/// Writes what touch and erase contacts have in common into the contact that starts at byte @p start.
template <typename Contact> void putContact(Bytes &report, int start, const Contact &values)
{
    putByte(report, start + contact::stateAt,
            (values.id & contact::idMask) | (values.down ? contact::downBit : 0));
    putWord(report, start + contact::xAt, values.x);
    putWord(report, start + contact::yAt, values.y);
}

void setDown(std::set<int> &contacts, int contact, bool down)
{
    if (down)
        contacts.insert(contact);
    else
        contacts.erase(contact);
}

void trackList(const Bytes &report, std::size_t contactSize, int firstContact, std::set<int> &down)
{
    for (std::size_t start = contact::firstAt; start + contactSize <= report.size(); start += contactSize) {
        const std::uint8_t state = report[start + contact::stateAt];
        setDown(down, firstContact + (state & contact::idMask), (state & contact::downBit) != 0);
    }
}

} // namespace

Bytes penReport(const PenSample &sample)
{
    Bytes report(pen::size);
    putByte(report, pen::identifierAt, pen::identifier);
    putByte(report, kindAt, pen::kind);
    putWord(report, pen::xAt, sample.x);
    putWord(report, pen::yAt, sample.y);
    putByte(report, pen::stateAt,
            (sample.tip ? pen::tipBit : 0) | (sample.button ? pen::buttonBit : 0)
                | (sample.bit2 ? pen::stateBit2 : 0) | ((sample.pen << pen::numberShift) & pen::numberMask));
    return report;
}

Bytes touchReport(const std::vector<TouchContact> &contacts)
{
    Bytes report = emptyList(touch::kind, contacts.size(), touch::contactSize);
    int start = contact::firstAt;
    for (const TouchContact &each : contacts) {
        putContact(report, start, each);
        putWord(report, start + touch::extentAt, each.extent);
        start += touch::contactSize;
    }
    return report;
}

Bytes eraseReport(const std::vector<EraseContact> &contacts)
{
    Bytes report = emptyList(erase::kind, contacts.size(), erase::contactSize);
    int start = contact::firstAt;
    for (const EraseContact &each : contacts) {
        putContact(report, start, each);
        putWord(report, start + erase::widthAt, each.width);
        putWord(report, start + erase::heightAt, each.height);
        start += erase::contactSize;
    }
    return report;
}

Bytes touchStatusReport(const StatusValues &values)
{
    Bytes report(status::size);
    putByte(report, status::identifierAt, status::identifier);
    putByte(report, kindAt, status::kind);
    std::copy(values.begin(), values.end(), report.begin() + status::firstAt);
    return report;
}

void trackContacts(const Bytes &report, std::set<int> &down)
{
    if (report.size() <= kindAt)
        return;
    if (report[kindAt] == touch::kind)
        trackList(report, touch::contactSize, firstTouch, down);
    else if (report[kindAt] == erase::kind)
        trackList(report, erase::contactSize, firstErase, down);
    else if (report[kindAt] == pen::kind && report.size() == pen::size) {
        const std::uint8_t state = report[pen::stateAt];
        setDown(down, (state & pen::numberMask) >> pen::numberShift,
                (state & (pen::tipBit | pen::buttonBit)) != 0);
    }
}

} // namespace boardsim
