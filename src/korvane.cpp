#include "korvane.h"

#include <QVector2D>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <utility>

namespace {

// The normalised length of one raw board unit: 1.0 is the whole screen, 32768 units. The board layer maps to
// pixels by 32767 instead, so that the last position lies at the screen's far edge.
constexpr float screens_per_unit = 1.0F / 32768;
constexpr double same_position = 1e-12; // normalised units: closer than this is equal
constexpr int pen_count = 4;            // pens that are configured
constexpr ZorvicHardware::PenHardwareMode pen_hardware_mode{2};

QPointF normalised(int x, int y)
{
    return {x * double(screens_per_unit), y * double(screens_per_unit)};
}

QPointF raw_position(const ZorvicHardware::PenEvent &event)
{
    return normalised(event.x, event.y);
}

// One number space for all contacts: pens below zero, then 128 touches, then 128 erasers.

int record_id(const ZorvicHardware::PenEvent &event)
{
    return ~int(event.pen);
}

int record_id(const ZorvicHardware::TouchContact &contact)
{
    return 256 + contact.id;
}

int record_id(const ZorvicHardware::EraseContact &contact)
{
    return 512 + contact.id;
}

QPointF record_radius(const ZorvicHardware::TouchContact &contact)
{
    return normalised(contact.extent, contact.extent);
}

QPointF record_radius(const ZorvicHardware::EraseContact &contact)
{
    return normalised(contact.width, contact.height);
}

bool nearly_equal(QPointF a, QPointF b)
{
    return std::abs(a.x() - b.x()) <= same_position && std::abs(a.y() - b.y()) <= same_position;
}

/// Lets the hoop of the record's contact follow it, and gives the record the hoop's position.
void track(Korvane::Controls &record, QPointF raw, std::map<int, Korvane::Hoop> &hoops)
{
    Korvane::Hoop &hoop = hoops[record.id];
    hoop.follow(raw, record.buttons != 0);
    record.pos = hoop.pos;
    record.view_pos = hoop.pos;
}

bool is_taken(const Korvane::Controls &record)
{
    return record.flags & Korvane::Controls::taken;
}

bool same_contacts(const std::vector<Korvane::Controls> &a, const std::vector<Korvane::Controls> &b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), Korvane::repeats);
}

} // namespace

void Korvane::Hoop::follow(QPointF raw, bool contact_down)
{
    // Deliberate: the hoop is dragged without slack and lands on the contact.
    constexpr double slack = 0;
    if (down) {
        const QPointF way = raw - pos;
        const double length = double(QVector2D(way).length());
        // From left to right: this order lands on the raw point exactly.
        if (length > slack)
            pos += way * (length - slack) / length;
    } else {
        pos = raw;
    }
    down = contact_down;
}

bool Korvane::repeats(const Controls &a, const Controls &b)
{
    return a.id == b.id && a.buttons == b.buttons && nearly_equal(a.pos, b.pos)
        && nearly_equal(a.radius, b.radius);
}

Korvane::Korvane(QWidget *target, QObject *parent) : QObject(parent), m_hardware(new ZorvicHardware(this))
{
    m_hardware->setWidgetOfInterest(target);
    m_hardware->backlog().follow();
    // Automatic connections: queued for the GUI thread when the driver's thread emits, direct within init.
    connect(m_hardware, SIGNAL(deviceEnumCount(int)), this, SLOT(in_device_enum_count(int)));
    // clang-format off
    connect(m_hardware, SIGNAL(penEvent( const ZorvicHardware::PenEvent& )),
            this, SLOT(in_pen_event( const ZorvicHardware::PenEvent& )));
    connect(m_hardware, SIGNAL(touchEvent( const ZorvicHardware::TouchEvent& )),
            this, SLOT(in_touch_event( const ZorvicHardware::TouchEvent& )));
    connect(m_hardware, SIGNAL(eraseEvent( const ZorvicHardware::EraseEvent& )),
            this, SLOT(in_erase_event( const ZorvicHardware::EraseEvent& )));
    // clang-format on
    m_hardware->init();
    configureHardware(false);
}

Korvane::~Korvane()
{
    detach();
    // Deliberate: leaks the manager, and with it the open library, because a callback is still inside.
    if (!m_idle)
        m_hardware->setParent(nullptr);
}

void Korvane::detach()
{
    if (std::exchange(m_detached, true))
        return;
    configureHardware(true);
    m_hardware->uninit();
    m_idle = m_hardware->end();
}

void Korvane::configureHardware(bool off)
{
    const auto mode = [off](bool disabled) { return off || disabled ? 0 : 1; };
    for (int i = 0; i < pen_count; ++i) {
        const auto pen = static_cast<unsigned char>(i);
        // Deliberate: the hardware mode counts the pens from 0 and is written even when all goes off; the
        // report mode counts them from 1.
        m_hardware->setPenHardwareMode(pen, pen_hardware_mode);
        m_hardware->setPenReportMode(pen + 1, ZorvicHardware::PenReportMode(mode(m_pen_disabled[i])));
    }
    m_hardware->setTouchReportMode(ZorvicHardware::TouchReportMode(mode(m_touch_disabled)));
    m_hardware->setEraseReportMode(ZorvicHardware::EraseReportMode(mode(m_erase_disabled)));
}

bool Korvane::hands_back() const
{
    return std::any_of(m_redirected.begin(), m_redirected.end(),
                       [](const auto &entry) { return entry.second; });
}

void Korvane::in_device_enum_count(int count)
{
    std::cout << QStringLiteral("Enumerated %1 devices.\n").arg(count).toUtf8().constData();
    configureHardware(false);
}

void Korvane::in_pen_event(const ZorvicHardware::PenEvent &event)
{
    // Deliberate: contacts are the board's, not this object's, and are followed for the life of the process.
    static std::map<int, Hoop> m_id_to_hoop_map;
    static std::map<int, Controls> id_to_last_map;

    m_hardware->backlog().handled(ZorvicHardware::load(event));
    Controls record;
    record.id = record_id(event);
    record.buttons = (event.tip ? 1 : 0) | (event.button ? 2 : 0);
    track(record, raw_position(event), m_id_to_hoop_map);

    Controls &last = id_to_last_map[record.id];
    if (repeats(last, record))
        return;
    last = record;

    bool &redirected = m_redirected[record.id];
    if (redirected) {
        redirected = event.tip;
        m_hardware->redirectPenEvent(event);
        return;
    }
    emit out_korvane_pen_event(record);
    if (is_taken(record))
        return;
    redirected = true;
    m_hardware->redirectPenEvent(event);
}

void Korvane::in_touch_event(const ZorvicHardware::TouchEvent &event)
{
    static std::map<int, Hoop> m_id_to_hoop_map;
    static std::vector<Controls> last;

    m_hardware->backlog().handled(ZorvicHardware::load(event));
    const ZorvicHardware::TouchEvent unclaimed =
        convert(event, m_touch_contacts, m_id_to_hoop_map, last, &Korvane::out_korvane_touch_event);
    if (!unclaimed.isEmpty())
        m_hardware->redirectTouchEvent(unclaimed);
}

void Korvane::in_erase_event(const ZorvicHardware::EraseEvent &event)
{
    static std::map<int, Hoop> m_id_to_hoop_map;
    static std::vector<Controls> last;

    m_hardware->backlog().handled(ZorvicHardware::load(event));
    // Deliberate: the driver takes no erasers back; what no widget takes is swallowed until it lifts.
    convert(event, m_erase_contacts, m_id_to_hoop_map, last, &Korvane::out_korvane_erase_event);
}

template <typename Contact>
QList<Contact> Korvane::convert(const QList<Contact> &event, std::vector<Controls> &contacts,
                                std::map<int, Hoop> &hoops, std::vector<Controls> &last, ListSignal signal)
{
    merge(event, contacts, hoops);
    if (same_contacts(contacts, last))
        return {};
    // Deliberate: noted before the redirected contacts go, so that a repeated report is dropped whole.
    last = contacts;
    drop_redirected(contacts);
    if (!contacts.empty())
        emit(this->*signal)(contacts);
    return release_unclaimed(event, contacts);
}

template <typename Contact>
void Korvane::merge(const QList<Contact> &event, std::vector<Controls> &contacts, std::map<int, Hoop> &hoops)
{
    for (const Contact &contact : event) {
        Controls record;
        record.id = record_id(contact);
        record.buttons = contact.down ? 1 : 0;
        record.radius = record_radius(contact);
        track(record, normalised(contact.x, contact.y), hoops);

        const auto known = std::find_if(contacts.begin(), contacts.end(),
                                        [&record](const Controls &c) { return c.id == record.id; });
        if (known != contacts.end())
            *known = record;
        else
            contacts.push_back(record);
    }
}

void Korvane::drop_redirected(std::vector<Controls> &contacts)
{
    const auto redirected = [this](const Controls &record) { return m_redirected[record.id]; };
    contacts.erase(std::remove_if(contacts.begin(), contacts.end(), redirected), contacts.end());
}

/// Drops the contacts that no widget took, marks them as redirected while they are down, and returns their
/// raw samples. A contact that a widget took stays, even after it has lifted, and so does its mark of being
/// taken.
template <typename Contact>
QList<Contact> Korvane::release_unclaimed(const QList<Contact> &event, std::vector<Controls> &contacts)
{
    contacts.erase(
        std::remove_if(contacts.begin(), contacts.end(), [](const Controls &c) { return !is_taken(c); }),
        contacts.end());

    QList<Contact> unclaimed;
    for (const Contact &contact : event) {
        const int id = record_id(contact);
        const bool claimed =
            std::any_of(contacts.begin(), contacts.end(), [id](const Controls &c) { return c.id == id; });
        if (claimed)
            continue;
        m_redirected[id] = contact.down;
        unclaimed.append(contact);
    }
    return unclaimed;
}
