#pragma once

#include "e2e/desktop.h"
#include "support/simulated_driver.h"

#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

/// The real executable with a simulated driver that plays the given scenario, or with no driver at all.
/// The constructor starts it; the destructor kills it if it still runs.
class Program
{
public:
    enum class Driver { simulated, missing };

    /// Starts the program on its own desktop. Returns once the window has the keyboard focus; throws
    /// std::runtime_error if it never does. @p locale is the C library's, for all categories.
    explicit Program(const QStringList &scenario, Driver driver = Driver::simulated,
                     const QString &locale = QStringLiteral("C"), const QString &redirections = {});
    /// The same, but on a desktop that several programs use, one after the other. @p redirections are the
    /// shell's, e.g. "2>&-".
    Program(std::shared_ptr<Desktop> desktop, const QStringList &scenario, Driver driver = Driver::simulated,
            const QString &locale = QStringLiteral("C"), const QString &redirections = {});
    /// Starts it by @p command, in which "$0" is the executable, e.g. "ulimit -n 8; exec \"$0\"", and returns
    /// at once: it may end without a window. There is no driver.
    Program(std::shared_ptr<Desktop> desktop, const QString &command);
    ~Program();

    Desktop &desktop() { return *m_desktop; }
    SimulatedDriver &driver() { return m_driver; }

    /// Waits until the window has the keyboard focus, or for the end; false if the end comes first, or
    /// neither.
    bool shows_a_window();
    /// Waits for the end; false if it does not come within ten seconds.
    bool has_ended();
    /// Waits for the end and returns the exit status; -1 for a crash or if it does not end in time.
    int exit_status();
    /// From here on the program gets no more memory.
    void take_its_memory();
    /// Sends a signal, e.g. SIGTERM.
    void send(int signal);
    /// Waits for the end and returns the signal that ended the program; 0 if it ended by itself, -1 if it
    /// does not end in time.
    int ending_signal();
    /// Bytes; 0 once the program has ended.
    qint64 resident_memory() const;
    /// Whether a library whose file's name contains @p name is loaded.
    bool maps(const QByteArray &name) const;
    QByteArray standard_output();
    QByteArray standard_error();

private:
    void start(Driver driver, const QString &locale, const QString &command);

    SimulatedDriver m_driver; ///< its scenario and log; the library itself is loaded by the program
    std::shared_ptr<Desktop> m_desktop;
    QTemporaryDir m_runtime_folder;
    QProcess m_process;
};
