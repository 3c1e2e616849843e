#pragma once

#include <QImage>
#include <QObject>
#include <QWidget>

/// Hides resize events from its widget while this object lives.
class Deafness : public QObject
{
public:
    explicit Deafness(QWidget &widget);

    bool eventFilter(QObject *, QEvent *event) override;
};

/// Waits for the paint events of its widget.
class PaintWatch : public QObject
{
public:
    explicit PaintWatch(QWidget &widget);

    /// Whether the widget has been painted since the last call, or is within a few seconds.
    bool wait();

    bool eventFilter(QObject *, QEvent *event) override;

private:
    bool m_painted = false;
};

/// What the screen shows of the widget, 32 bits a pixel without alpha.
QImage picture_on_screen(const QWidget &widget);
