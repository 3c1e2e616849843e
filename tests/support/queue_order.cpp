#include "support/queue_order.h"

#include <QCoreApplication>
#include <QEvent>

#ifdef __SANITIZE_THREAD__
#include <sanitizer/tsan_interface.h>
#else
static void __tsan_acquire(void *) { }
static void __tsan_release(void *) { }
#endif

namespace {

// Their addresses stand for the event queue, and for what lets a driver go on.
char queue;
char gate;

} // namespace

// The linker redirects the emissions of the program's own signals to the function with the prefix __wrap_.
extern "C" {
void __real__ZN11QMetaObject8activateEP7QObjectPKS_iPPv(QObject *, const QMetaObject *, int, void **);
void __wrap__ZN11QMetaObject8activateEP7QObjectPKS_iPPv(QObject *, const QMetaObject *, int, void **);

void __wrap__ZN11QMetaObject8activateEP7QObjectPKS_iPPv(QObject *sender, const QMetaObject *meta, int signal,
                                                        void **arguments)
{
    __tsan_acquire(&gate);
    __tsan_release(&queue);
    __real__ZN11QMetaObject8activateEP7QObjectPKS_iPPv(sender, meta, signal, arguments);
}
}

QueueOrder::QueueOrder()
{
    QCoreApplication::instance()->installEventFilter(this);
}

bool QueueOrder::eventFilter(QObject *, QEvent *event)
{
    if (event->type() == QEvent::MetaCall)
        __tsan_acquire(&queue);
    return false;
}

void happens_before_emissions()
{
    __tsan_release(&gate);
}
