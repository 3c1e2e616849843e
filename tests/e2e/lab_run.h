#pragma once

#include "e2e/desktop.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <string>
#include <vector>

/// Runs lanternix-lab with the real program on a desktop of the test, of the size that the command's own
/// screens have. Files are in a folder of the test.
class LabRun
{
public:
    LabRun();

    Desktop &desktop() { return m_desktop; }
    QString path(const QString &name) const { return m_folder.filePath(name); }
    /// Writes a file of lines and returns its path.
    QString write(const QString &name, const QStringList &lines) const;
    /// The lines of a file as they stand there, without cut off ones.
    std::vector<std::string> lines(const QString &name) const;
    /// The scenario line that waits until openGate() is called.
    QString gate() const { return R"({"type":"wait","file":")" + path("gate") + "\"}"; }
    void openGate() const { write("gate", {}); }
    /// The environment for the command: this desktop, folders of the test, and a driver's log of that name.
    QProcessEnvironment environment(const QString &log) const;
    /// The same as arguments of a program, which starts at once.
    void start(QProcess &lab, const QStringList &arguments, const QString &log) const;
    /// Saves what is on the desktop, once it rests.
    bool takePicture(const QString &name) const;

private:
    QTemporaryDir m_folder;
    QTemporaryDir m_runtime_folder;
    Desktop m_desktop{QSize(1920, 1080)};
};

/// What a driver's log or a recording holds of reports ("1 0821…") and of calls ("SetTouchDestination {…} =
/// 1"), without times, threads and addresses.
struct Events
{
    std::vector<std::string> reports;
    std::vector<std::string> calls;
};

Events eventsOf(const std::vector<std::string> &lines);
