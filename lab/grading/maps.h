#pragma once

#include "grading/shape.h"
#include "grading/track.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace grading {

/// The cells into which a board is divided.
constexpr int columns = 32;
constexpr int rows = 18;
constexpr std::size_t cells = std::size_t{columns} * rows;

/// The cell of a place, by rows; nothing outside of the board's area.
std::optional<std::size_t> cellOf(int x, int y);

/// What was measured in each cell: a root mean square.
class CellMap
{
public:
    void add(int x, int y, double value);
    /// Nothing where nothing was measured.
    std::optional<double> at(std::size_t cell) const;
    bool isEmpty() const { return m_isEmpty; }

private:
    std::array<double, cells> m_squares{};
    std::array<std::uint32_t, cells> m_counts{};
    bool m_isEmpty = true;
};

/// The ways of contacts, thinned to what a picture can show: its memory is bounded. Used on one thread.
class Drawing
{
public:
    struct Point
    {
        std::uint16_t x = 0; ///< board units
        std::uint16_t y = 0;
    };
    struct Stroke
    {
        capture::ReportKind kind = capture::ReportKind::touch;
        std::vector<Point> points; ///< one of a contact that did not move
    };

    void add(const Track &track); ///< its newest sample
    void end(const Track &track);
    const std::vector<Stroke> &strokes() const { return m_strokes; }

private:
    struct Open
    {
        std::size_t stroke = 0; ///< index
        Sample last;            ///< seen, drawn or not
    };

    void thin();
    static double distance(const Point &a, const Sample &b);

    std::vector<Stroke> m_strokes;
    std::map<std::int64_t, Open> m_open; ///< of contacts that are down, by serial
    std::size_t m_points = 0;
    double m_step = 0.0005 * boardWidth; ///< what is nearer to the point before is left out
};

/// What one board's area has seen. Used on one thread.
class BoardMap
{
public:
    void add(const Track &track); ///< its newest sample
    void end(const Track &track);
    void addRest(const Track &track, const Rest &rest);
    void addStraight(const Track &track, const Straight &straight);

    /// Samples of contacts that were down, by cell.
    const std::array<std::uint32_t, cells> &counts() const { return m_counts; }
    double coveragePercent() const;
    bool isEmpty() const { return m_lowestX > m_highestX; }
    /// From the outermost sample to the edge, in percent of the axis.
    double leftPercent() const;
    double rightPercent() const;
    double topPercent() const;
    double bottomPercent() const;
    const CellMap &jitter() const { return m_jitter; }       ///< board units
    const CellMap &linearity() const { return m_linearity; } ///< board units
    const Drawing &drawing() const { return m_drawing; }

private:
    std::array<std::uint32_t, cells> m_counts{};
    CellMap m_jitter;
    CellMap m_linearity;
    Drawing m_drawing;
    int m_lowestX = 65535;
    int m_highestX = 0;
    int m_lowestY = 65535;
    int m_highestY = 0;
};

} // namespace grading
