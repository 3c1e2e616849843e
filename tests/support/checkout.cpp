#include "support/checkout.h"

#include "support/simulated_driver.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <stdexcept>

#include <unistd.h>

namespace {

constexpr int patience_ms = 100'000;

void copy(const QString &file, const QString &to)
{
    QDir().mkpath(QFileInfo(to).path());
    if (!QFile::copy(file, to))
        throw std::runtime_error("cannot copy " + file.toStdString());
}

} // namespace

std::vector<std::string> Checkout::scripts()
{
    std::vector<std::string> names{".ci/run"};
    for (const QString &name : QDir(LANTERNIX_SOURCE "/scripts").entryList(QDir::Files, QDir::Name)) {
        if (name != "packages.txt")
            names.push_back("scripts/" + name.toStdString());
    }
    return names;
}

Checkout::Checkout()
{
    // Another user must be able to enter it.
    QFile::setPermissions(m_folder.path(), QFile::Permissions(0x7755));
    const QDir source(LANTERNIX_SOURCE);
    for (const std::string &name : scripts())
        copy(source.filePath(name.c_str()), folder() + '/' + name.c_str());
    for (const char *name : {"scripts/packages.txt", "CMakePresets.json"})
        copy(source.filePath(name), folder() + '/' + name);
    QDir().mkpath(folder() + "/tests");
    write("a checkout/tests/contacts_test.cpp", {});
    QFile::setPermissions(write("calls", {}), QFile::Permissions(0x6666));

    for (const char *name : {"apt-get", "sudo", "cmake", "ctest", "valgrind", "Xvfb"})
        stub(name, {});
    stub("dpkg-query", "echo installed");

    for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "LANTERNIX_BUILD", "CDPATH", "QT_QPA_PLATFORM"})
        environment.remove(name);
    environment.insert("PATH", path("bin") + ':' + environment.value("PATH"));
}

Checkout::~Checkout()
{
    // What is read-only cannot be removed.
    QProcess::execute("chmod", {"-R", "u+w", m_folder.path()});
}

QString Checkout::write(const QString &name, const QByteArray &content) const
{
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(content) != content.size())
        throw std::runtime_error("cannot write " + name.toStdString());
    return file.fileName();
}

void Checkout::stub(const QString &program, const QByteArray &commands) const
{
    QDir().mkpath(path("bin"));
    const QByteArray call = "echo " + program.toUtf8() + " \"$*\" >>'" + path("calls").toUtf8() + "'";
    QFile::setPermissions(write("bin/" + program, "#!/bin/sh\n" + call + '\n' + commands + '\n'),
                          QFile::Permissions(0x7755));
}

void Checkout::stub_build(const QString &program, const QByteArray &commands) const
{
    const QByteArray build = R"([ "$1" = --build ] || exit 0
mkdir -p "$2/src" "$2/sim"
ln -sfn ')"
        + program.toUtf8() + R"(' "$2/src/lanternix"
ln -sfn ')"
        + SimulatedDriver::folder().toUtf8() + R"(' "$2/sim/driver"
)";
    stub("cmake", build + commands);
}

QStringList Checkout::calls() const
{
    QFile file(path("calls"));
    file.open(QIODevice::ReadOnly);
    return QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
}

void Checkout::make_read_only()
{
    QProcess::execute("chmod", {"-R", "a-w", folder()});
    if (geteuid() == 0)
        m_as_user = QStringList{"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
}

void Checkout::start(QProcess &process, const QString &script, const QStringList &arguments) const
{
    QStringList command = m_as_user;
    // Files that are only sourced cannot be executed, but somebody may call a shell with them.
    if (!QFileInfo(path(script)).isExecutable())
        command << "bash";
    command << "./" + script << arguments;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(m_folder.path());
    process.start(command.takeFirst(), command);
    if (!process.waitForStarted())
        throw std::runtime_error(script.toStdString() + " does not start");
}

Ending Checkout::end(QProcess &process)
{
    Ending ending;
    if (process.state() == QProcess::NotRunning || process.waitForFinished(patience_ms))
        ending.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    ending.output = process.readAllStandardOutput();
    ending.errors = process.readAllStandardError();
    return ending;
}

Ending Checkout::run(const QString &script, const QStringList &arguments) const
{
    QProcess process;
    start(process, script, arguments);
    return end(process);
}
