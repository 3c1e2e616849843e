#include "recorder/settings.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace recorder {

namespace {

std::string variable(const char *name)
{
    const char *const value = std::getenv(name);
    return value ? value : "";
}

/// Microseconds from a number of seconds. Anything else is told on standard error and gives 0, so that
/// everything is recorded.
std::int64_t timeIn(const std::string &text)
{
    constexpr double longest = 1e6; // as long as the times in a recording may be
    double seconds = 0;
    const char *const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, seconds); // whatever the locale
    if (result.ec == std::errc() && result.ptr == end && seconds >= 1e-6 && seconds <= longest)
        return static_cast<std::int64_t>(seconds * 1e6);
    if (!text.empty())
        std::fprintf(stderr, "recorder: BOARDREC_KEEP is no number of seconds: \"%s\"; all is recorded\n",
                     text.c_str());
    return 0;
}

} // namespace

Settings Settings::fromEnvironment()
{
    Settings settings;
    settings.driver = variable("BOARDREC_DRIVER");
    settings.capture = variable("BOARDREC_CAPTURE");
    settings.socket = variable("BOARDREC_SOCKET");
    settings.vcd = variable("BOARDREC_VCD");
    settings.keep = settings.capture.empty() ? 0 : timeIn(variable("BOARDREC_KEEP"));
    settings.identify = !variable("BOARDREC_IDENTIFY").empty();
    return settings;
}

} // namespace recorder
