#include "item.h"

#include "keptpicture.h"

#include <QFont>
#include <QFontMetrics>
#include <QPainter>

#include <array>
#include <cmath>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace {

constexpr double default_radius = 25; // pixels, for contacts without a size
constexpr double tag_width = 150;     // pixels
constexpr double tag_height = 125;    // pixels
constexpr int text_size = 16;         // pixels

constexpr double most_kept_pixels = 1 << 20; // of a shape: a larger one is drawn again each time

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

/// A line of a tag as it was last drawn.
struct TagLine
{
    QString value;
    KeptPicture picture;
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
        const bool in_pixels = KeptPicture::can_replace(painter);
        for (std::size_t line = 0; line < line_count; ++line) {
            corner.ry() += m_line_height;
            const QPointF origin = in_steps(corner);
            if (in_pixels)
                draw_pixels(painter, PixelPosition(painter.transform().map(origin)), line, values.at(line),
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
        std::map<Subpixel, KeptPicture> coverage; ///< guarded by m_mutex
    };

    struct Placed
    {
        Piece *piece;
        QPointF origin;
    };

    static constexpr qsizetype enough_coverage_memory = 1 << 24; ///< bytes; with more, all is forgotten

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

    void draw_pixels(QPainter &painter, const PixelPosition &at, std::size_t line, const QString &value,
                     TagLine &known)
    {
        if (known.value != value || !known.picture.suits(at.subpixel))
            known = {value, compose(at.subpixel, line, value)};
        known.picture.show(painter, at.pixel);
    }

    /// Adds up what the pieces of a line cover, as if they were one outline.
    KeptPicture compose(Subpixel subpixel, std::size_t line, const QString &value)
    {
        std::vector<std::pair<QPoint, KeptPicture>> parts;
        QRect area;
        {
            const std::lock_guard lock(m_mutex);
            forget_when_full();
            for (const Placed &part : place({subpixel.x, subpixel.y}, line, value)) {
                const PixelPosition at(part.origin);
                parts.emplace_back(at.pixel, cover(*part.piece, at.subpixel));
                area |= parts.back().second.covered(at.pixel);
            }
        }
        return KeptPicture(area, subpixel, [&parts, &area](QPainter &painter) {
            painter.setCompositionMode(QPainter::CompositionMode_Plus);
            for (const auto &[pixel, picture] : parts)
                picture.show(painter, pixel - area.topLeft());
        });
    }

    /// Under the lock.
    void forget_when_full()
    {
        if (m_coverage_memory < enough_coverage_memory)
            return;
        for (std::vector<Piece> *const pieces : {&m_labels, &m_numerals}) {
            for (Piece &piece : *pieces)
                piece.coverage.clear();
        }
        m_coverage_memory = 0;
    }

    /// The black that a piece leaves there. Under the lock.
    const KeptPicture &cover(Piece &piece, Subpixel subpixel)
    {
        const auto known = piece.coverage.find(subpixel);
        if (known != piece.coverage.end())
            return known->second;

        KeptPicture coverage(piece.outline.boundingRect(), subpixel,
                             [&piece](QPainter &painter) { painter.fillPath(piece.outline, Qt::black); });
        m_coverage_memory += coverage.memory();
        return piece.coverage.emplace(subpixel, std::move(coverage)).first->second;
    }

    const QString m_characters = QStringLiteral("0123456789-+.einfa"); ///< of QString::number's results
    const int m_line_height;                                           ///< pixels
    std::vector<Piece> m_labels;                                       ///< by line
    std::vector<Piece> m_numerals;                                     ///< by place in m_characters
    std::mutex m_mutex;                                                ///< guards all coverage
    qsizetype m_coverage_memory = 0;
};

} // namespace

/// Circle, tag and cross, and the lines of the tag, as they were last drawn: from one record to the next most
/// of it stays.
struct EventItem::Drawn
{
    QPointF radius; ///< of the circle in the last rebuild, pixels; never (0, 0) after one
    KeptPicture shape;
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
    // Exactly, since QPointF compares with a tolerance.
    if (m_drawn->radius.x() != r.x() || m_drawn->radius.y() != r.y())
        m_drawn->shape = {};
    m_drawn->radius = r;
}

void EventItem::redraw(QPainter &painter)
{
    const QSizeF size = m_shape.boundingRect().size();
    if (KeptPicture::can_replace(painter) && size.width() * size.height() < most_kept_pixels)
        draw_kept_shape(painter);
    else
        draw_shape(painter);
    TagText::instance().draw(painter, m_text_corner, m_values, m_drawn->lines);
}

void EventItem::draw_kept_shape(QPainter &painter)
{
    const PixelPosition origin(painter.transform().map(QPointF()));
    KeptPicture &shape = m_drawn->shape;
    if (!shape.suits(origin.subpixel))
        shape = KeptPicture(m_shape.boundingRect(), origin.subpixel,
                            [this](QPainter &own_painter) { draw_shape(own_painter); });
    if (shape.is_null())
        draw_shape(painter);
    else
        shape.show(painter, origin.pixel);
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
