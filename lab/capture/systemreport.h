#pragma once

#include "capture/contacts.h"

namespace capture {

/// What a report means that the program writes back to the operating system through the driver. Its layout is
/// not that of what boards send: see docs/wire-formats.md.
struct SystemReport
{
    ReportKind kind = ReportKind::other; ///< pen, touch or other
    std::vector<Contact> contacts;       ///< without sizes, which are not handed back
};

/// Decodes what the program hands to SendTouchPacketToSystem. No state; may be called on any thread.
SystemReport decodeForSystem(const std::uint8_t *bytes, std::size_t size);

} // namespace capture
