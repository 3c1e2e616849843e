#include "shortlines.h"

#include "roundline.h"

#include <QColor>
#include <QPainter>

#include <cmath>
#include <functional>
#include <utility>

namespace {

// Together the kept pictures take nine megabytes at most.
constexpr int longest_kept = 24;      // pixels across and down together
constexpr float widest_kept = 9;      // half a width, pixels: the widest that the keys set
constexpr float narrowest_unkept = 1; // half a width, pixels
constexpr std::size_t most_kept = 2048;

bool is_whole(double x)
{
    return x == std::floor(x);
}

} // namespace

bool ShortLines::draw(QPainter &painter, const QLineF &line, float half_width, const QColor &colour)
{
    if (!suits(line, half_width) || colour.alpha() != 255)
        return false;
    const KeptPicture *const picture = find_picture(line, half_width, colour);
    if (!picture || picture->is_null())
        return false;
    // Also in a rebuild: opaque, the line leaves the same pixels as with the source mode, which would clear
    // what lies around it.
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    picture->show(painter, line.p1().toPoint());
    return true;
}

bool ShortLines::suits(const QLineF &line, float half_width)
{
    return is_whole(line.x1()) && is_whole(line.y1()) && is_whole(line.x2()) && is_whole(line.y2())
        && std::abs(line.dx()) + std::abs(line.dy()) <= longest_kept && half_width > narrowest_unkept
        && half_width <= widest_kept;
}

std::size_t ShortLines::hash(const Key &key)
{
    const auto [across, down, width, colour] = key;
    const std::hash<double> of;
    return ((of(across) * 31 + of(down)) * 31 + of(double(width))) * 31 + colour;
}

const KeptPicture *ShortLines::find_picture(const QLineF &line, float half_width, const QColor &colour)
{
    const Key key(line.dx(), line.dy(), half_width, colour.rgb());
    const auto known = m_pictures.find(key);
    if (known != m_pictures.end())
        return &known->second;
    if (std::exchange(m_seen.at(hash(key) % most_seen), key) != key)
        return nullptr;
    if (m_pictures.size() >= most_kept)
        m_pictures.clear();
    const QLineF from_origin(0, 0, line.dx(), line.dy());
    KeptPicture picture(covered_pixels(from_origin, half_width), Subpixel{}, [&](QPainter &painter) {
        draw_round_line(painter, from_origin, half_width, colour);
    });
    return &(m_pictures[key] = std::move(picture));
}
