#pragma once

#include <QByteArray>
#include <QMap>
#include <QProcess>
#include <QString>
#include <QStringList>

/// Variables that a program gets besides the test's own; null removes one.
using Environment = QMap<QString, QString>;

/// The test's own environment with these changes.
QProcessEnvironment changed_environment(const Environment &changes);

/// Names of @p programs, files or the names of commands, that are not installed.
QStringList missing(const QStringList &programs);

/// Runs a command and waits for it. Throws std::runtime_error with what it wrote if it does not succeed.
QByteArray run(const QStringList &command, const Environment &changes = {});

/// A program that a test needs beside Lanternix, such as a display server. It ends with this object, and also
/// if the test is killed.
class Helper
{
public:
    /// Starts @p command; throws std::runtime_error if that is impossible.
    explicit Helper(const QStringList &command, const Environment &changes = {});
    ~Helper();
    Helper(const Helper &) = delete;
    Helper &operator=(const Helper &) = delete;

    /// Waits until its output has a line with @p pattern, and returns the pattern's first group. Throws
    /// std::runtime_error if none comes in time.
    QString await(const QString &pattern);

private:
    QProcess m_process;
    QByteArray m_output;
};
