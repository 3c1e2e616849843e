#include "hardware/destinations.h"

#include <QApplication>

namespace {

/// Once only: two reports of one contact may be looked at by two threads of the driver.
void remember(QList<int> &contacts, int id)
{
    if (!contacts.contains(id))
        contacts.append(id);
}

} // namespace

void Destinations::setWidgetOfInterest(QWidget *widget)
{
    const std::lock_guard lock(m_mutex);
    m_widgetOfInterest = widget;
    if (widget)
        return;
    m_redirectedPen = -1;
    m_redirectedPens.clear();
    m_ownPens.clear();
    m_redirectedTouches.clear();
    m_ownTouches.clear();
}

Destinations::Known Destinations::follow(QList<int> &redirected, QList<int> &own, int id, bool lifted)
{
    QList<int> *const known = redirected.contains(id) ? &redirected : own.contains(id) ? &own : nullptr;
    if (!known)
        return Known::no;
    if (lifted)
        known->removeOne(id);
    return known == &own ? Known::own : Known::redirected;
}

Destinations::Pen Destinations::ofPen(int pen, bool lifted, QPoint position)
{
    std::unique_lock lock(m_mutex);
    const QWidget *const widget = m_widgetOfInterest;
    if (!widget)
        return Pen::own;

    const bool isSent = pen == m_redirectedPen;
    if (isSent && lifted)
        m_redirectedPen = -1;
    const Known known = follow(m_redirectedPens, m_ownPens, pen, lifted);
    if (known == Known::own)
        return Pen::own;
    if (known == Known::redirected)
        return isSent ? Pen::send : Pen::swallowed;

    lock.unlock();
    const bool own = QApplication::widgetAt(position) == widget;
    lock.lock();
    if (!m_widgetOfInterest) // cleared meanwhile, and with it every destination
        return Pen::own;
    remember(own ? m_ownPens : m_redirectedPens, pen);
    if (own)
        return Pen::own;
    if (m_redirectedPen != -1)
        return Pen::swallowed;
    m_redirectedPen = pen;
    return Pen::send;
}

bool Destinations::isOwnTouch(int id, bool lifted, QPoint position)
{
    std::unique_lock lock(m_mutex);
    const QWidget *const widget = m_widgetOfInterest;
    if (!widget)
        return true;
    const Known known = follow(m_redirectedTouches, m_ownTouches, id, lifted);
    if (known != Known::no)
        return known == Known::own;

    lock.unlock();
    const bool own = QApplication::widgetAt(position) == widget;
    lock.lock();
    if (!m_widgetOfInterest) // cleared meanwhile, and with it every destination
        return true;
    remember(own ? m_ownTouches : m_redirectedTouches, id);
    return own;
}
