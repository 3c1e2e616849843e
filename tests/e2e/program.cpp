#include "e2e/program.h"

#include <QFile>

#include <stdexcept>
#include <utility>

#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr int patience_ms = 10'000;

} // namespace

Program::Program(const QStringList &scenario, Driver driver, const QString &locale,
                 const QString &redirections)
    : Program(std::make_shared<Desktop>(), scenario, driver, locale, redirections)
{
}

Program::Program(std::shared_ptr<Desktop> desktop, const QStringList &scenario, Driver driver,
                 const QString &locale, const QString &redirections)
    : m_driver(scenario), m_desktop(std::move(desktop))
{
    start(driver, locale, "exec \"$0\" " + redirections);
    if (!m_desktop->has_active_window("Lanternix", m_process.processId()))
        throw std::runtime_error("lanternix shows no window: "
                                 + m_process.readAllStandardError().toStdString());
}

Program::Program(std::shared_ptr<Desktop> desktop, const QString &command) : m_desktop(std::move(desktop))
{
    start(Driver::missing, "C", command);
}

void Program::start(Driver driver, const QString &locale, const QString &command)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DISPLAY", m_desktop->display());
    environment.insert("QT_QPA_PLATFORM", "xcb");
    environment.insert("LC_ALL", locale);
    environment.insert("XDG_RUNTIME_DIR", m_runtime_folder.path());
    if (driver == Driver::simulated)
        environment.insert("LD_LIBRARY_PATH", SimulatedDriver::folder());
    m_process.setProcessEnvironment(environment);
    m_process.start("/bin/sh", {"-c", command, LANTERNIX_PROGRAM});
    if (!m_process.waitForStarted(patience_ms))
        throw std::runtime_error("the shell does not start");
}

Program::~Program()
{
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished(patience_ms);
    }
}

bool Program::shows_a_window()
{
    bool shown = false;
    return eventually([&] {
               shown = m_desktop->has_active_window_now("Lanternix", m_process.processId());
               return shown || m_process.state() == QProcess::NotRunning;
           })
        && shown;
}

bool Program::has_ended()
{
    return m_process.state() == QProcess::NotRunning || m_process.waitForFinished(patience_ms);
}

int Program::exit_status()
{
    return has_ended() && m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
}

void Program::take_its_memory()
{
    const rlimit none = {0, 0};
    prlimit(static_cast<pid_t>(m_process.processId()), RLIMIT_AS, &none, nullptr);
}

void Program::send(int signal)
{
    kill(static_cast<pid_t>(m_process.processId()), signal);
}

int Program::ending_signal()
{
    if (!has_ended())
        return -1;
    // After a crash the exit code is waitid's si_status, the number of the signal that ended the process.
    return m_process.exitStatus() == QProcess::CrashExit ? m_process.exitCode() : 0;
}

qint64 Program::resident_memory() const
{
    QFile pages(QStringLiteral("/proc/%1/statm").arg(m_process.processId()));
    if (!pages.open(QIODevice::ReadOnly))
        return 0;
    return pages.readAll().split(' ').value(1).toLongLong() * sysconf(_SC_PAGESIZE);
}

bool Program::maps(const QByteArray &name) const
{
    QFile maps(QStringLiteral("/proc/%1/maps").arg(m_process.processId()));
    return maps.open(QIODevice::ReadOnly) && maps.readAll().contains(name);
}

QByteArray Program::standard_output()
{
    return m_process.readAllStandardOutput();
}

QByteArray Program::standard_error()
{
    return m_process.readAllStandardError();
}
