#pragma once

#include <QObject>

/// Tells ThreadSanitizer what it cannot see in Qt's own, uninstrumented code: what precedes the emission of a
/// signal happens before the slots that its queued connections call. Does nothing in other builds. Create it
/// on the application's thread; it needs the linker option of lanternix_queue_order.
class QueueOrder : public QObject
{
public:
    QueueOrder();

    bool eventFilter(QObject *, QEvent *event) override;
};

/// Tells ThreadSanitizer that what the calling thread has done so far happens before all later emissions. For
/// a test that then lets the driver go on through a file, an order that ThreadSanitizer cannot see either.
void happens_before_emissions();
