#include "recorder/description.h"

#include "recorder/fileidentity.h"
#include "recorder/screens.h"

#include <QCoreApplication>

#include <array>
#include <clocale>
#include <cstdlib>

#include <sys/utsname.h>
#include <unistd.h>

namespace recorder {

namespace {

using Json = capture::Writer::Json;

/// The home folder's name holds the user's.
std::string masked(std::string path, bool identify)
{
    const char *const home = std::getenv("HOME");
    if (!identify && home && *home && path.rfind(std::string(home) + "/", 0) == 0)
        path.replace(0, std::string_view(home).size(), "~");
    return path;
}

Json versionOf(const RealDriver &driver)
{
    using Ask = void (*)(unsigned char *, unsigned char *, unsigned int *, unsigned int *);
    const auto ask = reinterpret_cast<Ask>(driver.at(Function::LibraryVersionNumber));
    if (!ask)
        return nullptr;
    unsigned char major = 0;
    unsigned char minor = 0;
    unsigned int revision = 0;
    unsigned int build = 0;
    ask(&major, &minor, &revision, &build);
    return {int(major), int(minor), revision, build};
}

Json describeDriver(const RealDriver &driver, bool identify)
{
    Json json{{"path", masked(driver.path(), identify)}};
    const FileIdentity file = recorder::identify(driver.path());
    if (!file.sha256.empty()) {
        json["size"] = file.size;
        json["sha256"] = file.sha256;
    }
    json["version"] = versionOf(driver);
    Json exports = Json::array();
    for (std::size_t i = 0; i < functionCount; ++i) {
        if (driver.at(static_cast<Function>(i)))
            exports.push_back(functionNames[i].name);
    }
    json["exports"] = exports;
    return json;
}

} // namespace

Json describe(const RealDriver &driver, bool identify)
{
    Json json{{"type", "scenario"}, {"version", 2}};
    json["recorder"] = LANTERNIX_VERSION;
    json["program"] = {{"name", QCoreApplication::applicationName().toStdString()},
                       {"version", QCoreApplication::applicationVersion().toStdString()}};
    json["qt"] = qVersion();
    json["driver"] = describeDriver(driver, identify);
    json["screens"] = describeScreens();
    const char *const locale = std::setlocale(LC_ALL, nullptr);
    json["locale"] = locale ? locale : "";
    utsname system{};
    if (uname(&system) == 0)
        json["kernel"] = std::string(system.sysname) + " " + system.release + " " + system.machine;
    if (identify) {
        json["host"] = system.nodename;
        const char *const user = std::getenv("USER");
        json["user"] = user ? user : std::to_string(getuid());
    }
    return json;
}

} // namespace recorder
