#include "hardware/destinations.h"

#include <QApplication>

#include <optional>

void Destinations::setWidgetOfInterest(QWidget *widget)
{
    const std::lock_guard lock(m_mutex);
    m_widgetOfInterest = widget;
    ++m_changes;
    if (widget)
        return;
    m_redirectedPen = -1;
    m_pens = {};
    m_touches = {};
}

Destinations::Verdict Destinations::judge(Contacts &contacts, int id, QPoint position,
                                          std::unique_lock<std::mutex> &lock)
{
    bool own = false;
    std::optional<unsigned int> asked; // the change of the widget of interest that the answer belongs to
    while (m_widgetOfInterest) {
        if (contacts.own.contains(id))
            return {true, false};
        if (contacts.redirected.contains(id))
            return {false, false};
        if (asked == m_changes) {
            (own ? contacts.own : contacts.redirected).append(id);
            return {own, true};
        }
        asked = m_changes;
        const QWidget *const widget = m_widgetOfInterest;
        lock.unlock();
        own = QApplication::widgetAt(position) == widget;
        lock.lock();
    }
    return {};
}

void Destinations::forget(Contacts &contacts, int id)
{
    contacts.own.removeOne(id);
    contacts.redirected.removeOne(id);
}

Destinations::Pen Destinations::ofPen(int pen, bool lifted, QPoint position)
{
    std::unique_lock lock(m_mutex);
    const Verdict verdict = judge(m_pens, pen, position, lock);
    if (verdict.first && !verdict.own && m_redirectedPen == -1)
        m_redirectedPen = pen;
    const bool ends = lifted && !verdict.first;
    if (pen == m_redirectedPen)
        return ends ? Pen::sendLift : Pen::send;
    if (ends)
        forget(m_pens, pen);
    return verdict.own ? Pen::own : Pen::swallowed;
}

void Destinations::forgetSentPen(int pen)
{
    const std::lock_guard lock(m_mutex);
    if (pen != m_redirectedPen) // forgotten already, with the widget of interest or by another thread
        return;
    m_redirectedPen = -1;
    forget(m_pens, pen);
}

bool Destinations::isOwnTouch(int id, bool lifted, QPoint position)
{
    std::unique_lock lock(m_mutex);
    const Verdict verdict = judge(m_touches, id, position, lock);
    if (lifted && !verdict.first)
        forget(m_touches, id);
    return verdict.own;
}
