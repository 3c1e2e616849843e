#include "e2e/helper.h"

#include "e2e/desktop.h"

#include <QFile>
#include <QRegularExpression>
#include <QStandardPaths>

#include <stdexcept>

namespace {

constexpr int patience_ms = 10'000;

std::runtime_error failure(const QStringList &command, const QByteArray &written)
{
    return std::runtime_error((command.join(' ') + ": " + QString::fromUtf8(written)).toStdString());
}

} // namespace

QProcessEnvironment changed_environment(const Environment &changes)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (auto change = changes.begin(); change != changes.end(); ++change) {
        if (change.value().isNull())
            environment.remove(change.key());
        else
            environment.insert(change.key(), change.value());
    }
    return environment;
}

QStringList missing(const QStringList &programs)
{
    QStringList names;
    for (const QString &program : programs) {
        const bool is_there = program.startsWith('/') ? QFile::exists(program)
                                                      : !QStandardPaths::findExecutable(program).isEmpty();
        if (!is_there)
            names << program;
    }
    return names;
}

QByteArray run(const QStringList &command, const Environment &changes)
{
    QProcess process;
    process.setProcessEnvironment(changed_environment(changes));
    process.start(command.first(), command.mid(1));
    if (!process.waitForFinished(patience_ms) || process.exitStatus() != QProcess::NormalExit
        || process.exitCode() != 0)
        throw failure(command, process.readAllStandardError());
    return process.readAllStandardOutput();
}

Helper::Helper(const QStringList &command, const Environment &changes)
{
    m_process.setProcessEnvironment(changed_environment(changes));
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.start("setpriv", QStringList{"--pdeathsig", "TERM"} + command);
    if (!m_process.waitForStarted(patience_ms))
        throw failure(command, "does not start");
}

Helper::~Helper()
{
    m_process.terminate();
    if (!m_process.waitForFinished(patience_ms)) {
        m_process.kill();
        m_process.waitForFinished(patience_ms);
    }
}

QString Helper::await(const QString &pattern)
{
    const QRegularExpression line(pattern, QRegularExpression::MultilineOption);
    QRegularExpressionMatch match;
    eventually([&] {
        m_output += m_process.readAll();
        match = line.match(QString::fromUtf8(m_output.left(m_output.lastIndexOf('\n') + 1)));
        return match.hasMatch() || m_process.state() == QProcess::NotRunning;
    });
    if (!match.hasMatch())
        throw failure(m_process.arguments(), m_output);
    return match.captured(1);
}
