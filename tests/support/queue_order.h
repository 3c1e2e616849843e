#pragma once

#include <QObject>

/// Tells ThreadSanitizer what it cannot see in Qt's own, uninstrumented code: what was done before a signal
/// was emitted has happened before the slots that its queued connections call. Nothing in other builds. For
/// the application's thread; needs the linker option of lanternix_queue_order.
class QueueOrder : public QObject
{
public:
    QueueOrder();

    bool eventFilter(QObject *, QEvent *event) override;
};
