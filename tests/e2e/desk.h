#pragma once

#include "e2e/board.h"
#include "e2e/helper.h"
#include "e2e/mapping.h"
#include "e2e/xwindow.h"

#include <QProcess>
#include <QTemporaryDir>

#include <memory>
#include <optional>

/// Where a contact has left its mark in a picture: the centre of what it has drawn, as an offset from the
/// place in the picture's centre. Nothing if there is no mark, or one of another size.
std::optional<QPointF> mark_in(const QImage &picture, Kind kind, QPointF radius);

/// The real program with the board of a test, at a display of the test.
class Desk
{
public:
    /// Starts the program; throws std::runtime_error if it shows no window on the X server @p display.
    Desk(const QString &display, const Environment &changes);
    ~Desk();
    Desk(const Desk &) = delete;
    Desk &operator=(const Desk &) = delete;

    Board &board() { return m_board; }
    XWindow &window() { return *m_window; }

    /// Waits until the window fills this screen, apart from its title, and shows its pattern there.
    bool fills(const QRect &screen);
    /// Moves the window to another screen as a person does: Enter, dragged there, Enter.
    bool moves_to(const QRect &screen);
    /// Shows the window no longer maximized, with this content; the window manager decides how far its title
    /// moves it.
    bool shrinks_to(const QRect &area);
    /// Waits until the window shows the mark of a contact at @p place; false if it does not in time.
    bool shows(Kind kind, QPointF place, QPointF radius, double error);
    /// Waits until the window shows the tag of a contact, or of none; false if that does not come in time.
    bool shows_tags();
    bool shows_no_tags();
    /// Lets the program draw all that it has got.
    void settle();
    /// Puts a contact of each kind on the places, and lifts it. Each must appear at the place, and with the
    /// size, that the rules say, or go to the system; returns what is wrong with the first that does not.
    QString judge(const Mapping &mapping, const Places &places);
    /// The same for contacts that touch down beside the edges of the window: only whose they are.
    QString judge_edges(const Mapping &mapping);
    /// Ends the program with Escape and returns its status; -1 if it crashes or does not end in time.
    int end();

private:
    void start(const Environment &changes);
    QRgb corner(bool last) const;
    bool has_tags() const;

    QTemporaryDir m_runtime_folder;
    Board m_board;
    QProcess m_process;
    std::unique_ptr<XWindow> m_window;
};
