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
/// while widgets are looked at. Positions are global pixels.
class Destinations
{
public:
    enum class Pen {
        own,      ///< the program's: to be emitted
        send,     ///< the system's: to be sent there
        swallowed ///< the system's, which has one pointer: another pen is being sent
    };

    /// The pointer is only compared, never followed. Null forgets which contacts went where.
    void setWidgetOfInterest(QWidget *widget);

    /// Where one sample of a pen goes. @p position counts if it is the pen's first.
    Pen ofPen(int pen, bool lifted, QPoint position);
    /// Whether one sample of a touch is the program's. @p position counts if it is the touch's first.
    bool isOwnTouch(int id, bool lifted, QPoint position);

private:
    enum class Known { no, own, redirected };

    /// Looks @p id up in the two lists of its kind and forgets it when it has lifted. Under the lock.
    static Known follow(QList<int> &redirected, QList<int> &own, int id, bool lifted);

    std::mutex m_mutex; ///< guards what follows
    QWidget *m_widgetOfInterest = nullptr;
    int m_redirectedPen = -1; ///< the one pen that is being sent to the system, -1 for none
    QList<int> m_redirectedPens;
    QList<int> m_ownPens;
    QList<int> m_redirectedTouches;
    QList<int> m_ownTouches;
};
