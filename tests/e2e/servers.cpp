#include "e2e/servers.h"

#include "e2e/desktop.h"
#include "e2e/xwindow.h"

#include <QFile>

#include <stdexcept>

namespace {

constexpr const char *xorg = "/usr/lib/xorg/Xorg"; // without the wrapper that asks who sits at the machine
constexpr const char *dummy_driver = "/usr/lib/xorg/modules/drivers/dummy_drv.so";

constexpr const char *configuration = R"(Section "Device"
    Identifier "device"
    Driver "dummy"
    VideoRam 256000
EndSection
Section "Monitor"
    Identifier "monitor"
    HorizSync 5.0 - 1000.0
    VertRefresh 5.0 - 200.0
EndSection
Section "Screen"
    Identifier "screen"
    Device "device"
    Monitor "monitor"
    DefaultDepth 24
    SubSection "Display"
        Depth 24
        Modes "1024x768"
    EndSubSection
EndSection
)";

using Packages = QMap<QString, QString>; ///< by what is in them

QStringList missing_of(const Packages &packages)
{
    QStringList names;
    for (const QString &file : missing(packages.keys()))
        names << packages[file];
    return names;
}

QString output_name(std::size_t screen)
{
    return QStringLiteral("DUMMY%1").arg(screen);
}

QString mode_name(QSize size)
{
    return QStringLiteral("test-%1x%2").arg(size.width()).arg(size.height());
}

/// A mode that no monitor would take.
QStringList mode_line(QSize size)
{
    constexpr int blank = 32; // columns
    constexpr int retrace = 8;
    const int width = size.width();
    const int height = size.height();
    const double clock = (width + blank) * (height + retrace) * 60 / 1e6;
    return {QString::number(clock),      QString::number(width),         QString::number(width + 8),
            QString::number(width + 16), QString::number(width + blank), QString::number(height),
            QString::number(height + 1), QString::number(height + 2),    QString::number(height + retrace)};
}

} // namespace

QStringList ScreensServer::missing_packages()
{
    return missing_of({{xorg, "xserver-xorg-core"},
                       {dummy_driver, "xserver-xorg-video-dummy"},
                       {"xrandr", "x11-xserver-utils"},
                       {"openbox", "openbox"}});
}

ScreensServer::ScreensServer()
{
    QFile file(m_folder.filePath("xorg.conf"));
    file.open(QIODevice::WriteOnly);
    file.write(configuration);
    file.close();
    m_server = std::make_unique<Helper>(QStringList{xorg, "-config", file.fileName(), "-logfile",
                                                    m_folder.filePath("log"), "-novtswitch", "-sharevts",
                                                    "-nolisten", "tcp", "-noreset", "-displayfd", "1"});
    m_display = ":" + m_server->await("^(\\d+)$");
}

/// One command for each step: xrandr skips what follows a new mode.
void ScreensServer::add_modes(const std::vector<QRect> &screens)
{
    const auto once = [this](const QString &name, const QStringList &arguments) {
        if (m_added.contains(name))
            return;
        m_added << name;
        run(QStringList{"xrandr"} + arguments, environment());
    };
    for (std::size_t i = 0; i < screens.size(); ++i) {
        const QString output = output_name(i);
        const QString mode = mode_name(screens[i].size());
        // The driver takes a screen for connected once it has a size, which Qt wants, too.
        once(output + " is wide", {"--output", output, "--set", "WIDTH_MM", "508"});
        once(output, {"--output", output, "--set", "HEIGHT_MM", "286"});
        once(mode, QStringList{"--newmode", mode} + mode_line(screens[i].size()));
        once(output + mode, {"--addmode", output, mode});
    }
}

void ScreensServer::arrange(const std::vector<QRect> &screens, int primary)
{
    add_modes(screens);
    QStringList command{"xrandr"};
    std::size_t i = 0;
    for (; i < screens.size(); ++i) {
        command << "--output" << output_name(i) << "--mode" << mode_name(screens[i].size()) << "--pos"
                << QStringLiteral("%1x%2").arg(screens[i].x()).arg(screens[i].y());
        if (static_cast<int>(i) == primary)
            command << "--primary";
    }
    for (; m_added.contains(output_name(i)); ++i)
        command << "--output" << output_name(i) << "--off";
    run(command, environment());
    // The server asks its driver again, or it would tell programs that begin that a new screen is off.
    run({"xrandr", "--query"}, environment());
}

void ScreensServer::add_window_manager()
{
    m_window_manager = std::make_unique<Helper>(QStringList{"openbox"}, environment());
    if (!eventually([this] { return XWindow::is_managed(m_display); }))
        throw std::runtime_error("openbox does not start");
}

void ScreensServer::add_compositor()
{
    // Without the GPU, and without a configuration of the person's.
    m_compositor = std::make_unique<Helper>(
        QStringList{"picom", "--backend", "xrender", "--config", "/dev/null"}, environment());
    if (!eventually([this] { return XWindow::is_composited(m_display); }))
        throw std::runtime_error("picom does not start");
}

void ScreensServer::set_dots_per_inch(double dots)
{
    QFile file(m_folder.filePath("resources"));
    file.open(QIODevice::WriteOnly);
    file.write("Xft.dpi: " + QByteArray::number(dots) + '\n');
    file.close();
    run({"xrdb", "-nocpp", "-load", file.fileName()}, environment());
}
