#include "tagtext.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr int text_size = 16;                // pixels
constexpr qsizetype enough_memory = 1 << 24; // bytes of coverage; with more, all is forgotten

QFont make_tag_font()
{
    QFont font;
    font.setStyleHint(QFont::Serif, QFont::PreferAntialias);
    font.setPixelSize(text_size);
    return font;
}

/// Qt lays text out in steps of a 64th of a pixel, and drops what is less.
QPointF in_steps(QPointF point)
{
    constexpr double steps = 64;
    return {std::trunc(point.x() * steps) / steps, std::trunc(point.y() * steps) / steps};
}

/// A piece of a line, and the pixel in which its baseline starts.
struct Part
{
    QPoint pixel;
    KeptPicture picture;
};

/// Whether any two parts share a pixel. What they leave there together depends on their outlines: one that
/// lies over another cancels it.
bool any_touch(const std::vector<Part> &parts)
{
    for (auto part = parts.begin(); part != parts.end(); ++part) {
        const bool touches = std::any_of(parts.begin(), part, [part](const Part &earlier) {
            return part->picture.touches(part->pixel, earlier.picture, earlier.pixel);
        });
        if (touches)
            return true;
    }
    return false;
}

} // namespace

/// A label or a character of a number.
struct TagText::Piece
{
    QPainterPath outline;         ///< its baseline starts at (0, 0)
    std::vector<double> advances; ///< to the character that follows, by its position in m_characters
    std::map<Subpixel, KeptPicture> coverage; ///< guarded by m_mutex
};

struct TagText::Placed
{
    Piece *piece;
    QPointF origin;
};

std::shared_ptr<TagText> TagText::in_application_font()
{
    // The last one only: an older one goes with the last tag that uses it.
    static std::shared_ptr<TagText> text;
    static QFont
        font; // only compared: an engine, which layout would give it, must not outlive the application

    const QFont wanted = make_tag_font();
    if (!text || wanted != font) {
        font = wanted;
        text = std::make_shared<TagText>(make_tag_font());
    }
    return text;
}

TagText::TagText(const QFont &font) : m_line_height(QFontMetrics(font).height())
{
    for (const char *const label : {"FID: ", "X: ", "Y: ", "X Radius: ", "Y Radius: ", "Buttons: "})
        m_labels.push_back(lay_out(QString::fromLatin1(label), font));
    for (const QChar character : m_characters)
        m_numerals.push_back(lay_out(character, font));
}

TagText::~TagText() = default;

void TagText::draw(QPainter &painter, QPointF corner, const Values &values, Lines &lines)
{
    const bool in_pixels = KeptPicture::can_replace(painter);
    for (std::size_t i = 0; i < line_count; ++i) {
        corner.ry() += m_line_height;
        const QPointF origin = in_steps(corner);
        const QString &value = values.at(i);
        if (!in_pixels) {
            painter.fillPath(outline(place(origin, i, value)), Qt::black);
            continue;
        }
        const PixelPosition at(painter.transform().map(origin));
        Line &line = lines.at(i);
        if (line.value != value || !line.picture.suits(at.subpixel))
            line = {value, compose(at.subpixel, i, value)};
        line.picture.show(painter, at.pixel);
    }
}

TagText::Piece TagText::lay_out(const QString &text, const QFont &font) const
{
    Piece piece;
    piece.outline.addText(0, 0, font, text);
    const QFontMetricsF metrics(font);
    // Measured together, since fonts kern. For a QChar alone Qt leaves the font's letter spacing out.
    for (const QChar next : m_characters)
        piece.advances.push_back(metrics.horizontalAdvance(text + next)
                                 - metrics.horizontalAdvance(QString(next)));
    return piece;
}

std::vector<TagText::Placed> TagText::place(QPointF origin, std::size_t line, const QString &value)
{
    std::vector<Placed> placed = {{&m_labels.at(line), origin}};
    for (const QChar character : value) {
        const auto next = static_cast<std::size_t>(m_characters.indexOf(character));
        origin.rx() += placed.back().piece->advances.at(next);
        placed.push_back({&m_numerals.at(next), origin});
    }
    return placed;
}

QPainterPath TagText::outline(const std::vector<Placed> &placed)
{
    const std::lock_guard lock(m_mutex); // paths share their data, and note in it what they have computed
    QPainterPath text;
    for (const Placed &part : placed)
        text.addPath(part.piece->outline.translated(part.origin));
    return text;
}

KeptPicture TagText::compose(Subpixel subpixel, std::size_t line, const QString &value)
{
    std::vector<Part> parts;
    QRect area;
    {
        const std::lock_guard lock(m_mutex);
        forget_when_full();
        for (const Placed &part : place({subpixel.x, subpixel.y}, line, value)) {
            const PixelPosition at(part.origin);
            parts.push_back({at.pixel, cover(*part.piece, at.subpixel)});
            area |= parts.back().picture.covered(at.pixel);
        }
    }
    if (any_touch(parts))
        return fill(subpixel, line, value);
    return {area, subpixel, [&parts, &area](QPainter &painter) {
                for (const Part &part : parts)
                    part.picture.show(painter, part.pixel - area.topLeft());
            }};
}

KeptPicture TagText::fill(Subpixel subpixel, std::size_t line, const QString &value)
{
    const QPainterPath text = outline(place({}, line, value));
    return KeptPicture::around(text.boundingRect(), subpixel,
                               [&text](QPainter &painter) { painter.fillPath(text, Qt::black); });
}

const KeptPicture &TagText::cover(Piece &piece, Subpixel subpixel)
{
    const auto known = piece.coverage.find(subpixel);
    if (known != piece.coverage.end())
        return known->second;

    KeptPicture coverage =
        KeptPicture::around(piece.outline.boundingRect(), subpixel,
                            [&piece](QPainter &painter) { painter.fillPath(piece.outline, Qt::black); });
    m_coverage_memory += coverage.memory();
    return piece.coverage.emplace(subpixel, std::move(coverage)).first->second;
}

void TagText::forget_when_full()
{
    if (m_coverage_memory < enough_memory)
        return;
    for (std::vector<Piece> *const pieces : {&m_labels, &m_numerals}) {
        for (Piece &piece : *pieces)
            piece.coverage.clear();
    }
    m_coverage_memory = 0;
}
