#pragma once

#include <QByteArray>
#include <QString>

/// The lines of which the tests of lanternix-lab make recordings; all are of board 7.
namespace lab_testing {

inline const QByteArray first = "{\"type\":\"scenario\",\"version\":2}\n";
inline const QByteArray board = "{\"type\":\"device\",\"kind\":1,\"board\":7,\"info\":\"xp<4>\"}\n";

inline QByteArray pen(int at_us, int x, bool tip = true)
{
    return QStringLiteral(R"({"type":"pen","board":7,"at":%1,"pen":2,"x":%2,"y":5,"tip":%3,"button":false})")
               .arg(at_us)
               .arg(x)
               .arg(tip ? "true" : "false")
               .toLatin1()
        + "\n";
}

/// A raw line for board 7.
inline QByteArray raw(int at_us, const char *hex)
{
    return QStringLiteral(R"({"type":"raw","at":%1,"board":7,"hex":"%2"})").arg(at_us).arg(hex).toLatin1()
        + "\n";
}

inline QByteArray note(int at_us, const char *text)
{
    return QStringLiteral(R"({"type":"note","at":%1,"text":"%2"})").arg(at_us).arg(text).toLatin1() + "\n";
}

inline QByteArray end(int at_us)
{
    return QStringLiteral(R"({"type":"end","at":%1})").arg(at_us).toLatin1() + "\n";
}

} // namespace lab_testing
