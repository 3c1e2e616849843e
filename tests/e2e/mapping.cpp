#include "e2e/mapping.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr double last_position = 32767;
constexpr double positions = 32768;

/// In Qt's pixels. A screen keeps its origin and shrinks.
QRect scaled(const ScaledScreen &screen)
{
    return {screen.area.topLeft(),
            QSize(qRound(screen.area.width() / screen.factor), qRound(screen.area.height() / screen.factor))};
}

/// One of Qt's pixels as a pixel of the X server.
QPointF unscaled(QPointF pixel, const ScaledScreen &screen)
{
    const QPointF origin = screen.area.topLeft();
    return (pixel - origin) * screen.factor + origin;
}

int overlap(const QRect &a, const QRect &b)
{
    const QRect both = a.intersected(b);
    return both.width() * both.height();
}

bool is_inside(QPointF point, const QRect &area)
{
    return QRectF(area).contains(point) && point.x() < area.x() + area.width()
        && point.y() < area.y() + area.height();
}

} // namespace

Mapping::Mapping(std::vector<ScaledScreen> screens, int primary)
    : m_screens(std::move(screens)), m_decides(scaled(m_screens.at(static_cast<std::size_t>(primary))).size())
{
}

const ScaledScreen &Mapping::screen_of(const QRect &window) const
{
    return *std::max_element(m_screens.begin(), m_screens.end(),
                             [&window](const ScaledScreen &a, const ScaledScreen &b) {
                                 return overlap(a.area, window) < overlap(b.area, window);
                             });
}

QPointF Mapping::asked_pixel(QPoint place) const
{
    const QPoint asked(static_cast<int>(m_decides.width() * (place.x() / last_position)),
                       static_cast<int>(m_decides.height() * (place.y() / last_position)));
    for (const ScaledScreen &screen : m_screens) {
        if (scaled(screen).contains(asked))
            return unscaled(asked, screen);
    }
    return unscaled(asked, m_screens.front());
}

QPointF Mapping::drawn_at(Kind kind, QPoint place, const QRect &window) const
{
    const ScaledScreen &screen = screen_of(window);
    const QRect area = scaled(screen);
    const QPoint on_screen(static_cast<int>(area.width() * (place.x() / positions)),
                           static_cast<int>(area.height() * (place.y() / positions)));
    const QPoint origin = area.topLeft();
    return unscaled(kind == Kind::pen ? on_screen + origin : on_screen - origin, screen);
}

QPointF Mapping::touched_at(QPoint place, const QRect &window) const
{
    const QRect area = screen_of(window).area;
    return area.topLeft()
        + QPointF(area.width() * (place.x() / positions), area.height() * (place.y() / positions));
}

Fate Mapping::fate(Kind kind, QPoint place, const QRect &window) const
{
    // Erasers are not asked about, and the system takes none.
    const Fate::What not_ours = kind == Kind::eraser ? Fate::swallowed : Fate::handed_back;
    if (kind != Kind::eraser && !is_inside(asked_pixel(place), window))
        return {not_ours, {}};
    const QPointF drawn = drawn_at(kind, place, window);
    return is_inside(drawn, window) ? Fate{Fate::drawn, drawn} : Fate{not_ours, {}};
}

/// The board's position for which a pixel of the X server is asked about.
QPoint Mapping::deciding(QPoint pixel) const
{
    const ScaledScreen &screen = screen_of({pixel, QSize(1, 1)});
    const QPointF origin = screen.area.topLeft();
    const QPointF asked = (pixel - origin) / screen.factor + origin;
    return {static_cast<int>((std::floor(asked.x()) + 0.5) * last_position / m_decides.width()),
            static_cast<int>((std::floor(asked.y()) + 0.5) * last_position / m_decides.height())};
}

Places Mapping::beside_edges(const QRect &window) const
{
    const double factor = this->factor(window);
    const int away = factor == 1 ? 0 : static_cast<int>(std::ceil(2 * factor));
    const QPoint centre = window.center();
    const QRect inner = window.adjusted(away, away, -away, -away);
    const QRect outer = window.adjusted(-away - 1, -away - 1, away + 1, away + 1);
    Places places;
    for (const QRect &edges : {inner, outer}) {
        for (const QPoint pixel : {QPoint(edges.left(), centre.y()), QPoint(edges.right(), centre.y()),
                                   QPoint(centre.x(), edges.top()), QPoint(centre.x(), edges.bottom())})
            places.push_back(deciding(pixel));
    }
    return places;
}

QPointF Mapping::radius(Kind kind, const QRect &window) const
{
    constexpr double pen_width = 9; // Qt's pixels, to each side
    const ScaledScreen &screen = screen_of(window);
    if (kind == Kind::pen)
        return QPointF(pen_width, pen_width) * screen.factor;
    if (kind == Kind::eraser)
        return {Board::eraser_size / positions * screen.area.width(),
                Board::eraser_size / positions * screen.area.height()};
    const double stroke =
        Board::touch_extent / positions * std::max(screen.area.width(), screen.area.height());
    return {stroke, stroke};
}
