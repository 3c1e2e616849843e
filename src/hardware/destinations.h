#pragma once

#include <QList>
#include <QPoint>

#include <mutex>

class QWidget;

/// Whose each contact is: the program's if it starts over the widget of interest, else the operating
/// system's. A contact keeps its destination until it lifts. Without a widget of interest every contact is
/// the program's.
///
/// Owned by the board manager. Any thread may call any function: a mutex guards the state, and is never held
/// while widgets are looked at. If the widget of interest changes during that look, the answer is dropped:
/// the sample is judged again by the widget that is set then. Positions are global pixels.
class Destinations
{
public:
    enum class Pen {
        own,      ///< the program's: to be emitted
        send,     ///< the system's: to be sent there
        sendLift, ///< the same, and its lift: to be followed by forgetSentPen
        swallowed ///< the system's, which has one pointer: another pen is being sent
    };

    /// The pointer is only compared, never followed. Null forgets which contacts went where.
    void setWidgetOfInterest(QWidget *widget);

    /// Where one sample of a pen goes. @p position counts if it is the pen's first.
    Pen ofPen(int pen, bool lifted, QPoint position);
    /// Lets the next pen be sent. Until then every other pen is swallowed, so that none reaches the system
    /// before the lift of @p pen, which has been sent by now.
    void forgetSentPen(int pen);
    /// Whether one sample of a touch is the program's. @p position counts if it is the touch's first.
    bool isOwnTouch(int id, bool lifted, QPoint position);

private:
    /// The contacts of one kind that have not lifted yet.
    struct Contacts
    {
        QList<int> own;
        QList<int> redirected;
    };

    struct Verdict
    {
        bool own = true;
        bool first = false; ///< the sample is the contact's first, and has just decided its destination
    };

    /// Judges one sample and notes the destination of a new contact. @p lock is held, but not while widgets
    /// are looked at.
    Verdict judge(Contacts &contacts, int id, QPoint position, std::unique_lock<std::mutex> &lock);
    /// Called under the lock.
    static void forget(Contacts &contacts, int id);

    std::mutex m_mutex; ///< guards what follows
    QWidget *m_widgetOfInterest = nullptr;
    unsigned int m_changes = 0; ///< how often the widget of interest has been set
    int m_redirectedPen = -1;   ///< the one pen that is being sent to the system, -1 for none
    Contacts m_pens;
    Contacts m_touches;
};
