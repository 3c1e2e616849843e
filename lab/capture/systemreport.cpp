#include "capture/systemreport.h"

#include "hardware/reportlayout.h"

namespace capture {

namespace {

using namespace reportlayout;

int word(const std::uint8_t *bytes, std::size_t at)
{
    return bytes[at] | bytes[at + 1] << 8;
}

} // namespace

SystemReport decodeForSystem(const std::uint8_t *bytes, std::size_t size)
{
    SystemReport report;
    if (size <= kindAt)
        return report;
    if (bytes[kindAt] == pen::kind && size >= systemReport::penYAt + 2) {
        report.kind = ReportKind::pen;
        Contact contact;
        contact.down = (bytes[systemReport::penNumberAt] & systemReport::penTipBit) != 0;
        contact.id = bytes[systemReport::penNumberAt] & ~systemReport::penTipBit;
        contact.x = word(bytes, systemReport::penXAt);
        contact.y = word(bytes, systemReport::penYAt);
        report.contacts.push_back(contact);
    } else if (bytes[kindAt] == touch::kind) {
        report.kind = ReportKind::touch;
        for (std::size_t at = contact::firstAt; at + touch::contactSize <= size; at += touch::contactSize) {
            Contact contact;
            contact.id = bytes[at + contact::stateAt] & contact::idMask;
            contact.down = (bytes[at + contact::stateAt] & contact::downBit) != 0;
            contact.x = word(bytes, at + contact::xAt);
            contact.y = word(bytes, at + contact::yAt);
            report.contacts.push_back(contact);
        }
    }
    return report;
}

} // namespace capture
