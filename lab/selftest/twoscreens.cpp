#include "selftest/twoscreens.h"

#include "commands/errand.h"
#include "language.h"
#include "selftest/check.h"

#include <fstream>

namespace selftest {

namespace {

constexpr const char *packages = "xserver-xorg-core, xserver-xorg-video-dummy and x11-xserver-utils";
constexpr double xrandrTime = 20; // seconds

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
        Virtual 3840 1080
        Modes "1920x1080"
    EndSubSection
EndSection
)";

/// The server, without a wrapper that would ask for a person at the machine.
std::string server()
{
    for (const char *const file : {"/usr/lib/xorg/Xorg", "/usr/bin/Xorg"}) {
        if (std::ifstream(file))
            return file;
    }
    throw LeftOut(lab::message("needs the packages %s", packages));
}

} // namespace

DummyConfiguration::DummyConfiguration()
{
    std::ofstream(pathOf("xorg.conf")) << configuration;
}

TwoScreens::TwoScreens()
    : lab::VirtualScreen({server(), "-config", pathOf("xorg.conf"), "-logfile", pathOf("xorg.log"),
                          "-novtswitch", "-sharevts"},
                         packages)
{
    // The driver takes a screen for connected once it has a width.
    const std::vector<std::vector<std::string>> steps{{"--output", "DUMMY1", "--set", "WIDTH_MM", "508"},
                                                      {"--output", "DUMMY1", "--set", "HEIGHT_MM", "286"},
                                                      {"--addmode", "DUMMY1", "1920x1080"},
                                                      {"--output", "DUMMY0", "--primary", "--output",
                                                       "DUMMY1", "--mode", "1920x1080", "--right-of",
                                                       "DUMMY0"}};
    for (const std::vector<std::string> &step : steps) {
        std::vector<std::string> command{"xrandr", "--display", display()};
        command.insert(command.end(), step.begin(), step.end());
        if (!isThere() || lab::run(command, "/", xrandrTime).status != 0)
            throw LeftOut(lab::message("needs the packages %s", packages));
    }
}

} // namespace selftest
