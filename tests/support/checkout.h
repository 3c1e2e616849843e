#pragma once

#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include <string>
#include <vector>

/// How a script has ended and what it has printed.
struct Ending
{
    int status = -1; ///< -1: it crashed, or did not end in time
    QByteArray output;
    QByteArray errors;
};

/// A copy of the project's scripts, in a folder with blanks, whose scripts find stubs in place of the
/// programs that install and build. A stub appends a line with its name and arguments to the list of calls.
class Checkout
{
public:
    /// The scripts of the project, e.g. "scripts/run" and ".ci/run"; with them the files that scripts source.
    static std::vector<std::string> scripts();

    Checkout();
    ~Checkout();

    QString folder() const { return path("a checkout"); }
    /// Of a file beside the checkout.
    QString path(const QString &name) const { return m_folder.filePath(name); }
    /// Writes a file beside the checkout and returns its path.
    QString write(const QString &name, const QByteArray &content) const;
    /// Replaces a program: its name and arguments are recorded, then @p commands run in a shell.
    void stub(const QString &program, const QByteArray &commands) const;
    /// Makes the build that scripts/run asks for consist of a program and the simulated driver. @p commands
    /// run at its end.
    void stub_build(const QString &program, const QByteArray &commands = {}) const;
    QStringList calls() const;
    /// Makes the checkout read-only, and starts all further scripts as a user who cannot write to it.
    void make_read_only();

    /// Starts a script in the folder that holds the checkout. @p script: its path from there.
    void start(QProcess &process, const QString &script, const QStringList &arguments) const;
    static Ending end(QProcess &process);
    Ending run(const QString &script, const QStringList &arguments) const;

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment(); ///< of the scripts

private:
    QTemporaryDir m_folder;
    QStringList m_as_user; ///< command before each script
};
