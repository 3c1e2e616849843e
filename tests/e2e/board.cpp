#include "e2e/board.h"

#include "e2e/desktop.h"

#include <QFile>

#include <algorithm>
#include <stdexcept>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr int number_of_board = 7;

QStringList devices()
{
    return {R"({"type":"device","kind":1,"board":7,"info":"hid<true>"})"};
}

int listen_at(const QByteArray &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= static_cast<int>(sizeof address.sun_path))
        throw std::runtime_error("the path of the board's socket is too long");
    std::copy(path.begin(), path.end(), address.sun_path);
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0
        || listen(listener, 1) != 0)
        throw std::runtime_error("no socket for the board");
    return listener;
}

const char *text(bool value)
{
    return value ? "true" : "false";
}

int word_at(const QByteArray &bytes, int at)
{
    return static_cast<unsigned char>(bytes[at]) | static_cast<unsigned char>(bytes[at + 1]) << 8;
}

/// Adds where the contacts of one report to the system are down. docs/wire-formats.md lists its bytes.
void add_places(const QByteArray &report, Places &places)
{
    constexpr char pen_kind = 0x21;
    constexpr char down_bit = static_cast<char>(0x80);
    constexpr int kind_at = 1;
    constexpr int first_at = 2;
    constexpr int contact_size = 7;
    const int last = report[kind_at] == pen_kind ? first_at : report.size() - contact_size;
    for (int at = first_at; at <= last; at += contact_size) {
        const QPoint place(word_at(report, at + 1), word_at(report, at + 3));
        if ((report[at] & down_bit) && std::find(places.begin(), places.end(), place) == places.end())
            places.push_back(place);
    }
}

} // namespace

Board::Board() : m_driver(devices()), m_listener(listen_at(QFile::encodeName(socket()))) { }

Board::~Board()
{
    if (m_connection >= 0)
        close(m_connection);
    close(m_listener);
}

QString Board::socket() const
{
    return m_folder.filePath("board");
}

bool Board::is_opened()
{
    return eventually([this] {
        if (m_connection < 0)
            m_connection = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        return m_connection >= 0;
    });
}

void Board::play(const QStringList &lines)
{
    const QString mark = QString::number(++m_marks);
    const QByteArray sent =
        (lines.join('\n') + QStringLiteral("\n{\"type\":\"mark\",\"text\":\"%1\"}\n").arg(mark)).toUtf8();
    if (write(m_connection, sent.constData(), static_cast<std::size_t>(sent.size())) != sent.size()
        || !eventually([&] { return m_driver.has_mark(mark.toStdString()); }))
        throw std::runtime_error("the board does not play");
}

QString Board::sample_line(Kind kind, const Places &places, int first, bool down) const
{
    if (kind == Kind::pen)
        return QStringLiteral(R"({"type":"pen","board":%1,"pen":%2,"x":%3,"y":%4,"tip":%5,"button":false})")
            .arg(number_of_board)
            .arg(first)
            .arg(places.front().x())
            .arg(places.front().y())
            .arg(text(down));
    const QString size = kind == Kind::touch ? QStringLiteral(R"("extent":%1)").arg(touch_extent)
                                             : QStringLiteral(R"("width":%1,"height":%1)").arg(eraser_size);
    QStringList contacts;
    for (const QPoint place : places)
        contacts << QStringLiteral(R"({"id":%1,"x":%2,"y":%3,%4,"down":%5})")
                        .arg(first++)
                        .arg(place.x())
                        .arg(place.y())
                        .arg(size, text(down));
    return QStringLiteral(R"({"type":"%1","board":%2,"contacts":[%3]})")
        .arg(kind == Kind::touch ? "touch" : "erase")
        .arg(number_of_board)
        .arg(contacts.join(','));
}

void Board::put(Kind kind, const Places &places)
{
    if (kind != Kind::pen)
        return play({sample_line(kind, places, 0, true)});
    QStringList lines;
    for (const QPoint place : places) {
        // Two samples, since a stroke begins with the second one.
        lines << sample_line(kind, {place}, 0, true) << sample_line(kind, {place + QPoint(1, 0)}, 0, true)
              << sample_line(kind, {place + QPoint(1, 0)}, 0, false);
    }
    play(lines);
}

void Board::sample(Kind kind, int number, QPoint place, bool down)
{
    play({sample_line(kind, {place}, number, down)});
}

void Board::lift(Kind kind, const Places &places)
{
    if (kind != Kind::pen)
        play({sample_line(kind, places, 0, false)});
}

Places Board::handed_back() const
{
    Places places;
    for (const DriverCall &call : m_driver.calls("SendTouchPacketToSystem"))
        add_places(QByteArray::fromHex(QByteArray::fromStdString(call.arguments["data"])), places);
    return places;
}
