#include "e2e/desk.h"

#include "e2e/desktop.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace {

constexpr int patience_ms = 10'000;
constexpr QRgb white = 0xffffffff;
constexpr QRgb black = 0xff000000;
constexpr QRgb red = 0xffff0000;
constexpr QRgb green = 0xff00ff00;
constexpr int margin = 12; // pixels around a mark

/// A tag on white, not its text or outline.
bool is_tag(QRgb colour)
{
    constexpr int tinted = 255 - 32;
    return colour == qRgb(255, tinted, tinted) || colour == qRgb(tinted, 255, tinted)
        || colour == qRgb(tinted, tinted, 255);
}

/// Strokes that are enlarged have edges of other colours.
bool is_nearly(QRgb colour, QRgb stroke)
{
    constexpr int close = 100;
    return std::abs(qRed(colour) - qRed(stroke)) < close && std::abs(qGreen(colour) - qGreen(stroke)) < close
        && std::abs(qBlue(colour) - qBlue(stroke)) < close;
}

bool has_drawn(Kind kind, QRgb colour)
{
    return kind == Kind::eraser ? colour != white : is_nearly(colour, kind == Kind::pen ? red : green);
}

/// The smallest rectangle around the pixels for which @p wanted holds.
template <typename Wanted> QRect bounds(const QImage &picture, const Wanted &wanted)
{
    int left = picture.width();
    int right = -1;
    int top = picture.height();
    int bottom = -1;
    for (int y = 0; y < picture.height(); ++y) {
        const auto *const line = reinterpret_cast<const QRgb *>(picture.constScanLine(y));
        for (int x = 0; x < picture.width(); ++x) {
            if (!wanted(line[x] | 0xff000000))
                continue;
            left = std::min(left, x);
            right = std::max(right, x);
            top = std::min(top, y);
            bottom = std::max(bottom, y);
        }
    }
    return {QPoint(left, top), QPoint(right, bottom)};
}

QRect around(QPointF place, QPointF radius)
{
    const QPointF reach = radius + QPointF(margin, margin);
    return QRectF(place - reach, place + reach).toAlignedRect();
}

bool contains(const Places &places, QPoint place)
{
    return std::find(places.begin(), places.end(), place) != places.end();
}

QString describe(Kind kind, QPoint place, const Fate &fate)
{
    const char *const kinds[] = {"pen", "touch", "eraser"};
    const char *const fates[] = {"drawn", "handed back", "swallowed"};
    return QStringLiteral("%1 at %2, %3: %4 (%5, %6)")
        .arg(kinds[static_cast<int>(kind)])
        .arg(place.x())
        .arg(place.y())
        .arg(fates[fate.what])
        .arg(fate.place.x())
        .arg(fate.place.y());
}

} // namespace

std::optional<QPointF> mark_in(const QImage &picture, Kind kind, QPointF radius)
{
    const QRect mark = bounds(picture, [kind](QRgb colour) { return has_drawn(kind, colour); });
    constexpr double uneven = 4; // pixels: smoothed edges on both sides, and a line of one pixel
    if (!mark.isValid() || (kind != Kind::eraser && std::abs(mark.height() - 2 * radius.y()) > uneven))
        return {};
    // An eraser has wiped all else. Its tag lies to the left and above: the circle ends the mark at right and
    // bottom.
    const QPointF centre = kind == Kind::eraser ? QRectF(mark).bottomRight() - radius : QRectF(mark).center();
    return centre - QRectF(picture.rect()).center();
}

Desk::Desk(const QString &display, const Environment &changes)
{
    Environment all = changes;
    all["DISPLAY"] = display;
    start(all);
    m_window = std::make_unique<XWindow>(display, m_process.processId());
    m_window->press("9"); // strokes of pens as wide as they get
}

Desk::~Desk()
{
    m_process.kill();
    m_process.waitForFinished(patience_ms);
}

void Desk::start(const Environment &changes)
{
    Environment all{{"QT_QPA_PLATFORM", "xcb"},
                    {"LC_ALL", "C"},
                    {"XDG_RUNTIME_DIR", m_runtime_folder.path()},
                    {"LD_LIBRARY_PATH", SimulatedDriver::folder()},
                    {"BOARDSIM_CONTROL", m_board.socket()}};
    for (auto change = changes.begin(); change != changes.end(); ++change)
        all[change.key()] = change.value();
    m_process.setProcessEnvironment(changed_environment(all));
    m_process.start(LANTERNIX_PROGRAM, QStringList());
    if (!m_board.is_opened())
        throw std::runtime_error("lanternix does not start: "
                                 + m_process.readAllStandardError().toStdString());
}

QRgb Desk::corner(bool last) const
{
    const QRect area = m_window->area();
    const QPoint inner(3, 3);
    const QPoint point = last ? area.bottomRight() - inner : area.topLeft() + inner;
    const QImage pixel = m_window->picture({point, QSize(1, 1)});
    return pixel.isNull() ? 0 : pixel.pixel(0, 0);
}

void Desk::settle()
{
    for (const bool is_black : {true, false}) {
        m_window->press("b");
        if (!eventually(
                [&] { return (corner(false) == black) == is_black && (corner(true) == black) == is_black; }))
            throw std::runtime_error("the window does not change its pattern");
    }
}

bool Desk::shrinks_to(const QRect &area)
{
    const QSize maximized = m_window->area().size();
    m_window->press("BackSpace");
    m_window->press("Return");
    if (!eventually([&] { return m_window->area().size() != maximized; }))
        return false;
    // Again if what followed the key has come later.
    if (!eventually([&] {
            m_window->place(area);
            return m_window->area().size() == area.size();
        }))
        return false;
    settle();
    return m_window->area().size() == area.size();
}

bool Desk::moves_to(const QRect &screen)
{
    if (!shrinks_to({screen.topLeft() + QPoint(80, 80), QSize(480, 360)}))
        return false;
    m_window->press("Return");
    return fills(screen);
}

bool Desk::fills(const QRect &screen)
{
    const auto fills_now = [&] {
        const QRect area = m_window->area();
        return screen.contains(area) && area.width() == screen.width() && area.bottom() == screen.bottom();
    };
    if (!eventually(fills_now))
        return false;
    settle();
    return fills_now();
}

bool Desk::shows(Kind kind, QPointF place, QPointF radius, double error)
{
    return eventually([&] {
        const QRect square = around(place, radius);
        const QImage picture = m_window->picture(square);
        const std::optional<QPointF> offset = mark_in(picture, kind, radius);
        if (picture.size() != square.size() || !offset)
            return false;
        const QPointF from_place = QRectF(square).center() + *offset - place;
        return std::abs(from_place.x()) <= error && std::abs(from_place.y()) <= error;
    });
}

bool Desk::has_tags() const
{
    return bounds(m_window->picture(m_window->area()), is_tag).isValid();
}

bool Desk::shows_tags()
{
    return eventually([this] { return has_tags(); });
}

bool Desk::shows_no_tags()
{
    return eventually([this] { return !has_tags(); });
}

QString Desk::judge(const Mapping &mapping, const Places &places)
{
    const QRect window = m_window->area();
    const double error = mapping.factor(window) + 1.5; // one of Qt's pixels, and smoothed edges
    for (const Kind kind : {Kind::pen, Kind::touch, Kind::eraser}) {
        m_board.driver().clear_calls();
        m_board.put(kind, places);
        for (const QPoint place : places) {
            const Fate fate = mapping.fate(kind, place, window);
            const QString told = describe(kind, place, fate);
            if (fate.what == Fate::drawn && !shows(kind, fate.place, mapping.radius(kind, window), error))
                return "not " + told;
            // The program hands back on its own thread what is not over the window after all.
            if (fate.what == Fate::handed_back
                && !eventually([&] { return contains(m_board.handed_back(), place); }))
                return "not " + told;
            if (fate.what != Fate::handed_back && contains(m_board.handed_back(), place))
                return "handed back, not " + told;
        }
        m_board.lift(kind, places);
    }
    return {};
}

QString Desk::judge_edges(const Mapping &mapping)
{
    const QRect window = m_window->area();
    for (const Kind kind : {Kind::pen, Kind::touch}) {
        const Places places = mapping.beside_edges(window);
        m_board.driver().clear_calls();
        m_board.put(kind, places);
        for (const QPoint place : places) {
            const Fate fate = mapping.fate(kind, place, window);
            if (contains(m_board.handed_back(), place) != (fate.what == Fate::handed_back))
                return "not " + describe(kind, place, fate);
        }
        m_board.lift(kind, places);
    }
    return {};
}

int Desk::end()
{
    m_window->press("Escape");
    return m_process.waitForFinished(patience_ms) && m_process.exitStatus() == QProcess::NormalExit
        ? m_process.exitCode()
        : -1;
}
