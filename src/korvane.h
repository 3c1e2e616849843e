#pragma once

#include "hardware/zorvichardware.h"

#include <QObject>
#include <QPointF>

#include <map>
#include <vector>

class QWidget;

/// The input model: turns the samples of all boards into one kind of contact record, follows each contact
/// from its first to its last sample, drops samples that change nothing, and hands contacts that no widget
/// takes back to the operating system. Owns the board manager and configures it. GUI thread only.
///
/// Positions and radii leave in normalised units: 1.0 is the full width or height of the screen.
class Korvane : public QObject
{
    Q_OBJECT

public:
    /// One sample of one contact, on its way from the input model to whatever it touches.
    struct Controls
    {
        static constexpr unsigned int taken = 1; ///< bit 0 of flags: a widget has taken the contact

        int id = 0; ///< pen: complement of its number; touch: 256 + contact id; eraser: 512 + contact id
        unsigned int flags =
            0;            ///< the receiver sets taken; set already in a contact kept from an earlier report
        int buttons = 0;  ///< pen: 1 tip, 2 side button; touch and eraser: 1 while down. 0: not in contact
        QPointF radius;   ///< normalised as emitted, pixels after the dialog; pens have none
        QPointF pos;      ///< normalised as emitted, then pixels of the widget, then of the item
        QPointF view_pos; ///< as pos, but never of an item
    };

    /// The point that stands for one contact: while the contact is down, it drags this point along.
    struct Hoop
    {
        QPointF pos;       ///< normalised
        bool down = false; ///< the contact was down at its previous sample

        /// Takes the next sample at @p raw.
        void follow(QPointF raw, bool contact_down);
    };

    /// Creates the board manager, connects to it, opens the driver and configures the boards. Always
    /// succeeds; without a driver nothing arrives. @p target is the widget whose area keeps board input for
    /// the program.
    Korvane(QWidget *target, QObject *parent);
    /// Detaches from the driver. Leaves the board manager behind if a callback in it does not return.
    ~Korvane() override;

    /// Switches every report off and detaches from the driver, unless that has been done. Nothing arrives
    /// afterwards; a callback that is running is waited for half a second. May be called on any thread.
    void detach();
    /// Writes the modes to every board; @p off switches all reports off, and leaves the pens' hardware mode
    /// as it is written otherwise.
    void configureHardware(bool off);

    /// The reports of all boards on their way here, and how many have come.
    const Backlog &backlog() const { return m_hardware->backlog(); }
    /// Whether a contact goes back to the operating system, so that it should not be kept waiting.
    bool hands_back() const;

    /// Whether two records tell the same: id, buttons, and pos and radius within 1e-12.
    static bool repeats(const Controls &a, const Controls &b);

signals:
    // The lists hold all contacts known, not only those of the last report, and are never empty. A contact
    // that a widget took stays after it has lifted, with buttons 0, until its id comes up again. By reference
    // and to be connected directly: the receiver sets Controls::taken in the sender's records, and the sender
    // reads it once the emission has returned.
    void out_korvane_pen_event(Korvane::Controls &event);
    void out_korvane_touch_event(std::vector<Korvane::Controls> &event);
    void out_korvane_erase_event(std::vector<Korvane::Controls> &event);

public slots:
    /// Tells the number of devices on standard output and configures them.
    void in_device_enum_count(int count);
    // One report each. Contacts are followed across all instances, for the life of the process.
    void in_pen_event(const ZorvicHardware::PenEvent &event);
    void in_touch_event(const ZorvicHardware::TouchEvent &event);
    void in_erase_event(const ZorvicHardware::EraseEvent &event);

private:
    using ListSignal = void (Korvane::*)(std::vector<Controls> &);

    /// Takes one report into @p contacts, emits them unless nothing has changed since @p last, and returns
    /// the raw samples of the contacts that no widget took.
    template <typename Contact>
    QList<Contact> convert(const QList<Contact> &event, std::vector<Controls> &contacts,
                           std::map<int, Hoop> &hoops, std::vector<Controls> &last, ListSignal signal);
    template <typename Contact>
    static void merge(const QList<Contact> &event, std::vector<Controls> &contacts,
                      std::map<int, Hoop> &hoops);
    void drop_redirected(std::vector<Controls> &contacts);
    template <typename Contact>
    QList<Contact> release_unclaimed(const QList<Contact> &event, std::vector<Controls> &contacts);

    ZorvicHardware *m_hardware;             ///< a child of this object
    std::vector<Controls> m_touch_contacts; ///< at most one per id, in order of first appearance
    std::vector<Controls> m_erase_contacts; ///< the same for erasers
    std::map<int, bool> m_redirected;       ///< by id: true while its samples are emitted no more
    std::map<int, bool> m_pen_disabled;     ///< by pen, 0 to 3
    bool m_touch_disabled = false;
    bool m_erase_disabled = false;
    bool m_detached = false;
    bool m_idle = true; ///< no callback of the driver is inside the board manager
};
