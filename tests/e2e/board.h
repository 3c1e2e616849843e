#pragma once

#include "support/simulated_driver.h"

#include <QPoint>
#include <QString>
#include <QStringList>

#include <vector>

/// The three kinds of contact. Pens draw in red, touches in green; erasers show nothing but their tag.
enum class Kind { pen, touch, eraser };

/// Positions in board units.
using Places = std::vector<QPoint>;

/// A simulated board, number 7, that does at once what a test says, without a scenario of its own.
class Board
{
public:
    static constexpr int touch_extent = 500; ///< board units: the radius of what a touch draws
    static constexpr int eraser_size = 800;  ///< board units: the radii of an eraser

    Board();
    ~Board();
    Board(const Board &) = delete;
    Board &operator=(const Board &) = delete;

    /// What a program needs in its environment to use the board.
    QString socket() const;
    SimulatedDriver &driver() { return m_driver; }

    /// Waits until the program has opened the board; false if it does not in time.
    bool is_opened();
    /// Puts one contact on each place, all at once; for pens, of which a board has few, each after the lift
    /// of the one before. Returns once the driver has called back for all.
    void put(Kind kind, const Places &places);
    /// One sample of the contact of this number.
    void sample(Kind kind, int number, QPoint place, bool down);
    /// Lifts what has been put.
    void lift(Kind kind, const Places &places);
    /// Where contacts that went to the system were down; of each place once.
    Places handed_back() const;

private:
    void play(const QStringList &lines);
    QString sample_line(Kind kind, const Places &places, int first, bool down) const;

    QTemporaryDir m_folder;
    SimulatedDriver m_driver;
    int m_listener = -1;
    int m_connection = -1;
    int m_marks = 0;
};
