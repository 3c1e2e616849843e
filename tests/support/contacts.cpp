#include "support/contacts.h"

#include "korvane.h"

namespace {

constexpr int nowhere = -1; // raw board units: no report has it, so that none repeats these contacts
constexpr int pens = 16;
constexpr int touches = 128;
constexpr int erasers = 128;

} // namespace

LiftsContacts::~LiftsContacts()
{
    Korvane korvane(nullptr, nullptr);
    for (int id = 0; id < pens; ++id)
        korvane.in_pen_event({static_cast<quint8>(id), nowhere, nowhere, false, false, false});

    ZorvicHardware::TouchEvent touch;
    for (int id = 0; id < touches; ++id)
        touch.append({static_cast<quint8>(id), nowhere, nowhere, 0, false});
    korvane.in_touch_event(touch);

    ZorvicHardware::EraseEvent erase;
    for (int id = 0; id < erasers; ++id)
        erase.append({static_cast<quint8>(id), nowhere, nowhere, 0, 0, false});
    korvane.in_erase_event(erase);
}
