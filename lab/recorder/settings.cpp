#include "recorder/settings.h"

#include <cstdlib>

namespace recorder {

namespace {

std::string variable(const char *name)
{
    const char *const value = std::getenv(name);
    return value ? value : "";
}

} // namespace

Settings Settings::fromEnvironment()
{
    Settings settings;
    settings.driver = variable("BOARDREC_DRIVER");
    settings.capture = variable("BOARDREC_CAPTURE");
    settings.socket = variable("BOARDREC_SOCKET");
    settings.identify = !variable("BOARDREC_IDENTIFY").empty();
    return settings;
}

} // namespace recorder
