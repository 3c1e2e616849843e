#include "capture/contacts.h"

#include "hardware/reportlayout.h"
#include "language.h"

namespace capture {

namespace {

using namespace reportlayout;

/// The bytes of a report without its prefix. Reading beyond the end is up to the caller.
struct Span
{
    const std::uint8_t *data;
    std::size_t size;

    int byte(int at) const { return data[at]; }
    int word(int at) const { return byte(at) | byte(at + 1) << 8; }
};

Span withoutPrefix(const std::uint8_t *data, std::size_t size)
{
    const bool prefixed = size >= prefix::size && data[kindAt] == prefix::kind;
    const std::size_t skipped = prefixed ? prefix::size : 0;
    return {data + skipped, size - skipped};
}

ReportKind kindOf(const Span &bytes)
{
    if (bytes.size <= kindAt)
        return ReportKind::other;
    switch (bytes.byte(kindAt)) {
    case pen::kind:
        return bytes.size == pen::size && bytes.byte(pen::identifierAt) == pen::identifier
            ? ReportKind::pen
            : ReportKind::other;
    case touch::kind:
        return ReportKind::touch;
    case erase::kind:
        return ReportKind::erase;
    case status::kind:
        return bytes.size == status::size ? ReportKind::status : ReportKind::other;
    default:
        return ReportKind::other;
    }
}

Contact penOf(const Span &bytes)
{
    const int state = bytes.byte(pen::stateAt);
    Contact contact;
    contact.id = (state & pen::numberMask) >> pen::numberShift;
    contact.x = bytes.word(pen::xAt);
    contact.y = bytes.word(pen::yAt);
    contact.down = (state & pen::tipBit) != 0;
    contact.button = (state & pen::buttonBit) != 0;
    contact.bit2 = (state & pen::stateBit2) != 0;
    return contact;
}

Contact contactOf(const Span &bytes, int at, ReportKind kind)
{
    const int state = bytes.byte(at + contact::stateAt);
    Contact found;
    found.id = state & contact::idMask;
    found.down = (state & contact::downBit) != 0;
    found.x = bytes.word(at + contact::xAt);
    found.y = bytes.word(at + contact::yAt);
    if (kind == ReportKind::touch) {
        found.width = bytes.word(at + touch::extentAt);
    } else {
        found.width = bytes.word(at + erase::widthAt);
        found.height = bytes.word(at + erase::heightAt);
    }
    return found;
}

void readContacts(const Span &bytes, Report &report)
{
    const int size = report.kind == ReportKind::touch ? touch::contactSize : erase::contactSize;
    const auto listed = static_cast<int>(bytes.size) - contact::firstAt;
    for (int i = 0; i < listed / size; ++i)
        report.contacts.push_back(contactOf(bytes, contact::firstAt + i * size, report.kind));
    report.surplus = static_cast<std::size_t>(listed % size);
}

} // namespace

std::string_view nameOf(ReportKind kind)
{
    switch (kind) {
    case ReportKind::pen:
        return lab::trLater("pen");
    case ReportKind::touch:
        return lab::trLater("touch");
    case ReportKind::erase:
        return lab::trLater("erase");
    case ReportKind::status:
        return lab::trLater("status");
    case ReportKind::other:
        break;
    }
    return lab::trLater("other");
}

void decode(const std::uint8_t *bytes, std::size_t size, Report &report)
{
    const Span plain = withoutPrefix(bytes, size);
    report.kind = kindOf(plain);
    report.contacts.clear();
    report.surplus = 0;
    if (report.kind == ReportKind::pen)
        report.contacts.push_back(penOf(plain));
    else if (report.kind == ReportKind::touch || report.kind == ReportKind::erase)
        readContacts(plain, report);
}

const char *kindText(ReportKind kind)
{
    return lab::tr(nameOf(kind).data());
}

} // namespace capture
