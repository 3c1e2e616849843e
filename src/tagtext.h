#pragma once

#include "keptpicture.h"

#include <QFont>
#include <QPointF>
#include <QString>

#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

class QPainter;
class QPainterPath;

/// Writes what info tags say: six labels, each with a number behind it. Qt would load the font on every
/// render thread and fill each outline for every record, which takes far longer than the rest of a render. So
/// each label and each character of a number is laid out once, rasterised once per subpixel offset, and
/// shared by all threads.
///
/// One for each font, shared by the tags that use it. A mutex guards what the threads share; lengths are
/// pixels.
class TagText
{
public:
    static constexpr std::size_t line_count = 6;

    /// A line of one tag as it was last drawn. Each tag keeps its own, which one thread uses at a time.
    struct Line
    {
        QString value; ///< the number behind the label
        KeptPicture picture;
    };
    using Lines = std::array<Line, line_count>;
    using Values = std::array<QString, line_count>; ///< results of QString::number, one for each label

    /// The text in the font that the application has now, laid out by the first call for it. GUI thread only.
    static std::shared_ptr<TagText> in_application_font();

    explicit TagText(const QFont &font);
    ~TagText();

    /// Fills the lines in black, the first one a line's height below @p corner. @p lines is what the last
    /// call for this tag has left there. May be called on any thread.
    void draw(QPainter &painter, QPointF corner, const Values &values, Lines &lines);

private:
    struct Piece;
    struct Placed;

    Piece lay_out(const QString &text, const QFont &font) const;
    std::vector<Placed> place(QPointF origin, std::size_t line, const QString &value);
    /// All pieces as one outline.
    QPainterPath outline(const std::vector<Placed> &placed);
    /// Draws a line for the origin at @p subpixel.
    KeptPicture compose(Subpixel subpixel, std::size_t line, const QString &value);
    /// Fills the outline of a line, which takes many times longer than to put its pieces together.
    KeptPicture fill(Subpixel subpixel, std::size_t line, const QString &value);
    /// The black that a piece leaves there. Called under the lock.
    const KeptPicture &cover(Piece &piece, Subpixel subpixel);
    /// Called under the lock.
    void forget_when_full();

    const QString m_characters = QStringLiteral("0123456789-+.einfa"); ///< of QString::number's results
    const int m_line_height;
    std::vector<Piece> m_labels;     ///< by line
    std::vector<Piece> m_numerals;   ///< by position in m_characters
    std::mutex m_mutex;              ///< guards the pieces' coverage and the next member
    qsizetype m_coverage_memory = 0; ///< bytes of all kept coverage
};
