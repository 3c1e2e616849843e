#pragma once

#include "keptpicture.h"

#include <QLineF>
#include <QRgb>

#include <array>
#include <cstddef>
#include <map>
#include <tuple>

class QColor;
class QPainter;

/// Pictures of short lines. The more often a pen reports, the shorter are its steps, and the fewer different
/// ones there are: rasterised once, they are only copied, which takes a sixth of the time.
///
/// Belongs to one image of strokes and to its thread. Lengths in pixels.
class ShortLines
{
public:
    /// Leaves the same pixels as draw_round_line with a painter that antialiases. False, and nothing is
    /// drawn, if there is no picture of the line. Sets the painter's composition mode; the painter has no
    /// transform.
    bool draw(QPainter &painter, const QLineF &line, float half_width, const QColor &colour);

private:
    using Key = std::tuple<double, double, float, QRgb>; ///< way across and down, half width, colour
    static constexpr std::size_t most_seen = 1024;

    /// Whether Qt fills the line alike wherever it lies. That holds for short lines from pixel to pixel; some
    /// of two pixels' width depend on how the last bit of a coordinate has been rounded.
    static bool suits(const QLineF &line, float half_width);
    static std::size_t hash(const Key &key);
    /// Null for a line that comes for the first time: only the second one gets a picture, because most lines
    /// of a changing width are drawn once.
    const KeptPicture *find_picture(const QLineF &line, float half_width, const QColor &colour);

    std::map<Key, KeptPicture> m_pictures; ///< null if there was no memory
    std::array<Key, most_seen> m_seen{};   ///< by hash: the last line that had no picture
};
