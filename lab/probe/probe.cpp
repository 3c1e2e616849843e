#include "probe/probe.h"

#include "probe/child.h"
#include "probe/elffile.h"
#include "probe/places.h"
#include "probe/surroundings.h"

#include "commands/lock.h"
#include "commands/temporaryfolder.h"

#include "recorder/function.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

#include <unistd.h>

namespace probe {

namespace {

namespace fs = std::filesystem;
using Json = Child::Json;

std::string contentsOf(const std::string &folder)
{
    std::string contents;
    std::error_code ignored;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder, ignored)) {
        std::ifstream file(entry.path());
        contents.append(std::istreambuf_iterator<char>(file), {});
    }
    return contents;
}

/// Opens the driver as the program does, and notes where the loader has looked. Returns the path of the
/// opened library, or an empty one.
std::string open(const Wish &wish, Answer &answer)
{
    const lab::TemporaryFolder folder;
    Child child({wish.helper, "open", wish.driver.empty() ? driverName : wish.driver}, wish.patience);
    if (wish.driver.empty()) {
        child.set("LD_DEBUG", "libs");
        child.set("LD_DEBUG_OUTPUT", folder.path() + "/trace");
    }
    std::string path;
    answer.ending = child.run([&path](const Json &line) { path = line.value("path", path); });
    if (wish.driver.empty()) {
        const char *const folders = std::getenv("LD_LIBRARY_PATH");
        answer.places = placesIn(contentsOf(folder.path()), folders ? folders : "");
    } else {
        answer.places = {{wish.driver, "--driver", ""}};
    }
    return path;
}

void describeFile(const Wish &wish, Answer &answer)
{
    constexpr double patience = 60; // no driver runs meanwhile
    Child child({wish.helper, "identify", answer.path}, patience);
    child.run([&answer](const Json &line) {
        answer.size = line.value("size", answer.size);
        answer.sha256 = line.value("sha256", answer.sha256);
        answer.qt = line.value("qt", answer.qt);
    });
    if (answer.path.empty())
        return;
    answer.elf = readElf(answer.path);
    if (answer.elf.fitsThisProcess)
        answer.missingLibraries = librariesMissingFor(answer.path);
}

Device deviceIn(const Json &json)
{
    Device device;
    device.index = json.value("index", 0);
    device.kind = json.value("kind", 0);
    device.board = json.value("board", 0);
    device.info = json.value("info", "");
    device.type = json.value("type", "");
    device.vid = json.value("vid", 0);
    device.pid = json.value("pid", 0);
    device.xp = json.value("xp", 0);
    device.xt = json.value("xt", 0);
    device.xl = json.value("xl", 0);
    device.record = json.value("record", "");
    return device;
}

Reports reportsIn(const Json &json)
{
    Reports reports;
    reports.count = json.value("count", reports.count);
    reports.boards = json.value("boards", reports.boards);
    reports.board = json.value("board", 0);
    reports.after = json.value("after", 0.0);
    reports.first = json.value("first", "");
    reports.listened = json.value("listened", 0.0);
    return reports;
}

void take(const Json &line, Answer &answer)
{
    if (line.contains("functions"))
        answer.elf.functions = line["functions"].get<std::vector<std::string>>();
    else if (line.contains("version"))
        answer.version = line["version"].get<std::vector<int>>();
    else if (line.contains("attached")) {
        answer.attached = line["attached"].get<bool>();
        answer.attachSeconds = line.value("seconds", 0.0);
    } else if (line.contains("devices"))
        answer.deviceCount = line["devices"].get<int>();
    else if (line.contains("device"))
        answer.devices.push_back(deviceIn(line["device"]));
    else if (line.contains("reports"))
        answer.reports = reportsIn(line["reports"]);
}

/// Keeps recordings from beginning as long as it lives; null if one goes on. Without a folder for locks
/// nobody records.
std::unique_ptr<lab::Lock> lockFor(const std::string &driver, bool &isRecorded)
{
    try {
        auto lock = std::make_unique<lab::Lock>("recording", driver);
        isRecorded = !lock->isHeld();
        return lock;
    } catch (const std::runtime_error &) {
        isRecorded = false;
        return nullptr;
    }
}

void ask(const Wish &wish, const std::function<void()> &onListen, Answer &answer)
{
    answer.holders = holdersOf(answer.path);
    const auto lock = lockFor(answer.path, answer.isRecorded);
    if (!answer.holders.empty() || answer.isRecorded)
        return;
    answer.isAsked = true;
    Child child({wish.helper, "ask", answer.path, std::to_string(wish.seconds)}, wish.patience);
    answer.ending = child.run([&](const Json &line) {
        if (line.value("begin", "") == "listen")
            onListen();
        take(line, answer);
    });
}

std::vector<std::string> missingOf(const std::vector<std::string> &functions)
{
    std::vector<std::string> missing;
    for (const recorder::FunctionNames &function : recorder::functionNames) {
        if (std::find(functions.begin(), functions.end(), function.name) == functions.end())
            missing.emplace_back(function.name);
    }
    return missing;
}

} // namespace

Answer find(const Wish &wish, const std::function<void()> &onListen)
{
    Answer answer;
    const std::string opened = open(wish, answer);
    lookAt(answer.places, opened);
    answer.path = driverAt(answer.places, opened);
    describeFile(wish, answer);
    if (answer.ending.kind == Ending::Kind::whole)
        ask(wish, onListen, answer);
    if (answer.elf.isElf)
        answer.missingFunctions = missingOf(answer.elf.functions);
    answer.permissions = permissionsOf(answer.path, answer.devices);
    return answer;
}

} // namespace probe
