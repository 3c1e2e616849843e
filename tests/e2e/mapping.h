#pragma once

#include "e2e/board.h"

#include <QPointF>
#include <QRect>
#include <QRectF>
#include <QSize>

#include <vector>

/// A screen as the X server has it, and the factor by which Qt scales what it shows.
struct ScaledScreen
{
    QRect area; ///< pixels
    double factor = 1;
};

/// What must become of a contact.
struct Fate
{
    enum What { drawn, handed_back, swallowed } what = swallowed;
    QPointF place; ///< pixels, if it is drawn
};

/// The rules by which the program decides whose a contact is, and where it appears, written down once more.
/// It decides with the size of the primary screen at its start, as if that began at the top left; it draws
/// with the size of the screen that holds the window, whose origin it adds for pens and subtracts for touches
/// and erasers.
class Mapping
{
public:
    Mapping(std::vector<ScaledScreen> screens, int primary);

    /// Of a contact that touches down at @p place, with the window's content at @p window.
    Fate fate(Kind kind, QPoint place, const QRect &window) const;
    /// Where a contact of the program's appears, be it outside of the window.
    QPointF drawn_at(Kind kind, QPoint place, const QRect &window) const;
    /// Where a board that shows the screen with the window is touched at @p place.
    QPointF touched_at(QPoint place, const QRect &window) const;
    /// Places on both sides of each edge of the window: the pixels there if nothing is scaled, else as close
    /// as rounding allows.
    Places beside_edges(const QRect &window) const;
    /// The factor of the screen that holds the window.
    double factor(const QRect &window) const { return screen_of(window).factor; }
    /// Half the size in pixels of what a contact of this kind shows.
    QPointF radius(Kind kind, const QRect &window) const;

private:
    const ScaledScreen &screen_of(const QRect &window) const;
    QPoint deciding(QPoint pixel) const;
    QPointF asked_pixel(QPoint place) const;

    std::vector<ScaledScreen> m_screens;
    QSize m_decides; ///< Qt's pixels
};
