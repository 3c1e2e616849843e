#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <exception>

class LanternixDialog;

/// Ends the process well if it is not its user who ends it. SIGTERM, SIGINT and SIGHUP close the window; a
/// second one of a kind ends the process at once. Before exit(), which Qt calls when the X server is gone,
/// can destroy anything that the driver needs, the boards' reports are switched off and the driver is
/// detached. The same is done before the process ends because an allocation fails, with one line on standard
/// error and status 1. If Qt crashes because it has not asked whether an allocation failed, the line and the
/// status are the same, but the driver is not detached.
///
/// One in a process, made by main before the window and outliving it. GUI thread only.
class Ending : public QObject
{
    Q_OBJECT

public:
    /// From here on the signals only wake the event loop. One that the process ignores, as a background job
    /// of a shell ignores SIGINT, stays ignored.
    Ending();
    ~Ending() override;

    /// Runs the window until it is closed. Returns its result, or 128 and the number of the signal that
    /// closed it, as a shell would say.
    int run(LanternixDialog &dialog);

private:
    QSocketNotifier m_signals;
    std::terminate_handler m_former = nullptr;
};
