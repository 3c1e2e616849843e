#include "support/widgets.h"

#include <QApplication>
#include <QEvent>
#include <QPixmap>
#include <QScreen>
#include <QtTest/QTest>

#include <utility>

Deafness::Deafness(QWidget &widget)
{
    widget.installEventFilter(this);
}

bool Deafness::eventFilter(QObject *, QEvent *event)
{
    return event->type() == QEvent::Resize;
}

PaintWatch::PaintWatch(QWidget &widget)
{
    widget.installEventFilter(this);
}

bool PaintWatch::wait()
{
    return QTest::qWaitFor([this] { return std::exchange(m_painted, false); });
}

bool PaintWatch::eventFilter(QObject *, QEvent *event)
{
    m_painted |= event->type() == QEvent::Paint;
    return false;
}

QImage picture_on_screen(const QWidget &widget)
{
    const QPixmap picture = QApplication::primaryScreen()->grabWindow(widget.winId());
    return picture.toImage().convertToFormat(QImage::Format_RGB32);
}
