#include "item.h"

#include <QFont>
#include <QFontMetrics>
#include <QPainter>

#include <array>
#include <cmath>
#include <map>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace {

constexpr double default_radius = 25; // pixels, for contacts without a size
constexpr double tag_width = 150;     // pixels
constexpr double tag_height = 125;    // pixels
constexpr int text_size = 16;         // pixels

constexpr double most_kept_pixels = 1 << 20; // of a shape: a larger one is drawn anew each time

QPointF rounded_down(QPointF point)
{
    return {std::floor(point.x()), std::floor(point.y())};
}

QString eight_bits(int value)
{
    return QString::number(value + 256, 2).right(8);
}

QFont make_tag_font()
{
    QFont font;
    font.setStyleHint(QFont::Serif, QFont::PreferAntialias);
    font.setPixelSize(text_size);
    return font;
}

/// Whether what @p painter draws can be kept in pixels: it is the same again after a move by whole pixels.
bool draws_in_pixels(const QPainter &painter)
{
    return painter.transform().type() <= QTransform::TxTranslate
        && painter.testRenderHint(QPainter::Antialiasing);
}

using Coordinates = std::pair<double, double>; ///< x and y; QPointF compares with a tolerance

/// A place in whole pixels, and what is left of it.
struct Place
{
    explicit Place(QPointF point)
        : pixel(rounded_down(point).toPoint()), between(point.x() - pixel.x(), point.y() - pixel.y())
    {
    }

    QPoint pixel;
    Coordinates between;
};

/// What was drawn at a place between the pixels.
struct Drawing
{
    Coordinates between;
    QImage picture; ///< premultiplied ARGB; null before the first drawing, and without memory
    QPoint offset;  ///< of the picture, from the pixel of the place
};

/// A picture of its own of what @p draw draws within @p area, antialiased, with the origin at @p between.
template <typename Draw> Drawing make_drawing(const Coordinates &between, const QRectF &area, Draw draw)
{
    const QPointF shift(between.first, between.second);
    const QRect pixels = area.translated(shift).toAlignedRect().adjusted(-1, -1, 1, 1);
    Drawing drawing{between, QImage(pixels.size(), QImage::Format_ARGB32_Premultiplied), pixels.topLeft()};
    if (drawing.picture.isNull())
        return drawing;
    drawing.picture.fill(Qt::transparent);
    QPainter painter(&drawing.picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(shift - pixels.topLeft());
    draw(painter);
    return drawing;
}

void show(QPainter &painter, const Drawing &drawing, QPoint pixel)
{
    painter.save();
    painter.resetTransform();
    painter.drawImage(pixel + drawing.offset, drawing.picture);
    painter.restore();
}

/// A line of a tag as it was last drawn.
struct TagLine
{
    QString value;
    Drawing drawing;
};

/// Writes what tags say. The toolkit would load the font anew on every render thread, and fill each outline
/// anew for every record: both take far longer than the rest of a render. So each label and each character of
/// a number is laid out once, filled once for each place between the pixels that it comes to lie at, and
/// shared by all threads.
class TagText
{
public:
    static constexpr std::size_t line_count = 6;
    using Lines = std::array<TagLine, line_count>;

    /// The first call lays all out, on its thread.
    static TagText &instance()
    {
        static TagText text(make_tag_font());
        return text;
    }

    /// Fills the lines in black, the first one a line's height below @p corner. @p values are results of
    /// QString::number, one for each label. @p lines is the caller's memory from one drawing to the next.
    void draw(QPainter &painter, QPointF corner, const std::array<QString, line_count> &values, Lines &lines)
    {
        const bool in_pixels = draws_in_pixels(painter);
        for (std::size_t line = 0; line < line_count; ++line) {
            corner.ry() += m_line_height;
            const QPointF origin = in_steps(corner);
            if (in_pixels)
                draw_pixels(painter, Place(painter.transform().map(origin)), line, values.at(line),
                            lines.at(line));
            else
                draw_outlines(painter, place(origin, line, values.at(line)));
        }
    }

private:
    struct Piece
    {
        QPainterPath outline;         ///< its baseline starts at (0, 0)
        std::vector<double> advances; ///< pixels to the character that follows, by its place in m_characters
        std::map<Coordinates, Drawing> coverage; ///< by place between the pixels; guarded by m_mutex
    };

    struct Placed
    {
        Piece *piece;
        QPointF origin;
    };

    static constexpr int enough_coverage_bytes = 1 << 24; ///< of pixels: with more, all is forgotten

    explicit TagText(const QFont &font) : m_line_height(QFontMetrics(font).height())
    {
        for (const char *const label : {"FID: ", "X: ", "Y: ", "X Radius: ", "Y Radius: ", "Buttons: "})
            m_labels.push_back(lay_out(QString::fromLatin1(label), font));
        for (const QChar character : m_characters)
            m_numerals.push_back(lay_out(character, font));
    }

    Piece lay_out(const QString &text, const QFont &font) const
    {
        Piece piece;
        piece.outline.addText(0, 0, font, text);
        const QFontMetricsF metrics(font);
        for (const QChar next : m_characters) // measured together, since fonts kern
            piece.advances.push_back(metrics.horizontalAdvance(text + next)
                                     - metrics.horizontalAdvance(next));
        return piece;
    }

    std::vector<Placed> place(QPointF origin, std::size_t line, const QString &value)
    {
        std::vector<Placed> placed{{&m_labels.at(line), origin}};
        for (const QChar character : value) {
            const auto next = static_cast<std::size_t>(m_characters.indexOf(character));
            origin.rx() += placed.back().piece->advances.at(next);
            placed.push_back({&m_numerals.at(next), origin});
        }
        return placed;
    }

    /// The toolkit lays text out in steps of a 64th of a pixel, and drops what is less.
    static QPointF in_steps(QPointF point)
    {
        constexpr double steps = 64;
        return {std::trunc(point.x() * steps) / steps, std::trunc(point.y() * steps) / steps};
    }

    void draw_outlines(QPainter &painter, const std::vector<Placed> &placed)
    {
        const std::lock_guard lock(m_mutex); // paths share their data, and note in it what they have computed
        QPainterPath text;
        for (const Placed &part : placed)
            text.addPath(part.piece->outline.translated(part.origin));
        painter.setBrush(Qt::black);
        painter.setPen(Qt::NoPen);
        painter.drawPath(text);
    }

    void draw_pixels(QPainter &painter, const Place &at, std::size_t line, const QString &value,
                     TagLine &known)
    {
        if (known.drawing.picture.isNull() || known.value != value || known.drawing.between != at.between)
            known = {value, compose(at.between, line, value)};
        show(painter, known.drawing, at.pixel);
    }

    /// Adds up what the pieces of a line cover, as if they were one outline.
    Drawing compose(const Coordinates &between, std::size_t line, const QString &value)
    {
        std::vector<std::pair<QPoint, QImage>> parts;
        QRect area;
        {
            const std::lock_guard lock(m_mutex);
            forget_when_full();
            for (const Placed &part : place({between.first, between.second}, line, value)) {
                const Place at(part.origin);
                const Drawing &coverage = cover(*part.piece, at.between);
                parts.emplace_back(at.pixel + coverage.offset, coverage.picture);
                area |= QRect(parts.back().first, coverage.picture.size());
            }
        }
        QImage sum(area.size(), QImage::Format_ARGB32_Premultiplied);
        sum.fill(Qt::transparent);
        QPainter adding(&sum);
        adding.setCompositionMode(QPainter::CompositionMode_Plus);
        for (const auto &[pixel, image] : parts)
            adding.drawImage(pixel - area.topLeft(), image);
        adding.end();
        return {between, std::move(sum), area.topLeft()};
    }

    /// Under the lock.
    void forget_when_full()
    {
        if (m_coverage_bytes < enough_coverage_bytes)
            return;
        for (std::vector<Piece> *const pieces : {&m_labels, &m_numerals}) {
            for (Piece &piece : *pieces)
                piece.coverage.clear();
        }
        m_coverage_bytes = 0;
    }

    /// The black that a piece leaves there. Under the lock.
    const Drawing &cover(Piece &piece, const Coordinates &between)
    {
        const auto known = piece.coverage.find(between);
        if (known != piece.coverage.end())
            return known->second;

        Drawing coverage = make_drawing(between, piece.outline.boundingRect(), [&piece](QPainter &painter) {
            painter.fillPath(piece.outline, Qt::black);
        });
        m_coverage_bytes += coverage.picture.sizeInBytes();
        return piece.coverage.emplace(between, std::move(coverage)).first->second;
    }

    const QString m_characters = QStringLiteral("0123456789-+.einfa"); ///< of QString::number's results
    const int m_line_height;                                           ///< pixels
    std::vector<Piece> m_labels;                                       ///< by line
    std::vector<Piece> m_numerals;                                     ///< by place in m_characters
    std::mutex m_mutex;                                                ///< guards all coverage
    qsizetype m_coverage_bytes = 0;
};

} // namespace

/// Circle, tag and cross, and the lines of the tag, as they were last drawn: from one record to the next most
/// of it stays.
struct EventItem::Drawn
{
    std::optional<Coordinates> radius; ///< pixels; of the last rebuild
    Drawing shape;
    TagText::Lines lines;
};

EventItem::EventItem(QPointF position, QColor colour)
    : Item(position, 0, 1.0F, 0), m_colour(std::move(colour)), m_drawn(std::make_unique<Drawn>())
{
    m_hit_testable = false;
    TagText::instance(); // here rather than on a render thread
}

EventItem::~EventItem()
{
    update_end();
}

void EventItem::refresh(const Korvane::Controls &event)
{
    m_position = event.pos;
    set_transforms();
    m_radius = event.radius;
    m_buttons = event.buttons;
    m_contact_id = event.id;
    m_update_flags = update_all;
}

void EventItem::rebuild()
{
    const bool has_size = QVector2D(m_radius).length() > 0;
    const QPointF r = has_size ? m_radius : QPointF(default_radius, default_radius);
    const QRectF circle(-r.x(), -r.y(), 2 * r.x(), 2 * r.y());
    const QRectF tag(circle.left() - tag_width, circle.top() - tag_height, tag_width, tag_height);

    m_shape = QPainterPath();
    m_shape.addEllipse(circle);
    m_shape.addRect(tag);

    m_text_corner = tag.topLeft();
    m_values = {QString::number(m_contact_id),   QString::number(m_position.x()),
                QString::number(m_position.y()), QString::number(m_radius.x()),
                QString::number(m_radius.y()),   eight_bits(m_buttons)};

    m_cross = QPainterPath();
    m_cross.moveTo(0, -r.y());
    m_cross.lineTo(0, r.y());
    m_cross.moveTo(-r.x(), 0);
    m_cross.lineTo(r.x(), 0);

    set_outline(m_shape);
    const Coordinates radius(m_radius.x(), m_radius.y());
    if (std::exchange(m_drawn->radius, radius) != radius)
        m_drawn->shape = {};
}

void EventItem::redraw(QPainter &painter)
{
    const QSizeF size = m_shape.boundingRect().size();
    if (draws_in_pixels(painter) && size.width() * size.height() < most_kept_pixels)
        draw_kept_shape(painter);
    else
        draw_shape(painter);
    TagText::instance().draw(painter, m_text_corner, m_values, m_drawn->lines);
}

void EventItem::draw_kept_shape(QPainter &painter)
{
    const Place place(painter.transform().map(QPointF()));
    Drawing &shape = m_drawn->shape;
    if (shape.picture.isNull() || shape.between != place.between)
        shape = make_drawing(place.between, m_shape.boundingRect(),
                             [this](QPainter &own_painter) { draw_shape(own_painter); });
    if (shape.picture.isNull())
        draw_shape(painter);
    else
        show(painter, shape, place.pixel);
}

void EventItem::draw_shape(QPainter &painter)
{
    QPen pen(Qt::black, 1, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);
    pen.setCosmetic(true);
    painter.setPen(pen);
    painter.setBrush(m_colour);
    painter.drawPath(m_shape);

    painter.setBrush(Qt::NoBrush);
    painter.drawPath(m_cross);
}

Pen::~Pen()
{
    update_end();
}

Touch::~Touch()
{
    update_end();
}

Erase::~Erase()
{
    update_end();
}
