#include "commands/files.h"

#include "language.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <string_view>
#include <vector>

#include <dlfcn.h>
#include <link.h>
#include <sys/wait.h>
#include <unistd.h>

namespace lab {

namespace {

namespace fs = std::filesystem;

constexpr const char *driverName = "libzorvicboardex.so.1";

/// The folder of this command, behind links.
fs::path ownFolder()
{
    return fs::path(ownPath()).parent_path();
}

/// The first of @p candidates, relative to the command, that exists.
std::string firstOf(const std::vector<std::string> &candidates, const char *what)
{
    for (const std::string &candidate : candidates) {
        const fs::path path = (ownFolder() / candidate).lexically_normal();
        std::error_code ignored;
        if (fs::exists(path, ignored))
            return path.string();
    }
    // TRANSLATORS: "the recorder", "the scenario tags.jsonl (package lanternix-sim)" and so on.
    complain(tr("%s is not installed"), what);
    return {};
}

/// Writes the path under which the loader finds the driver to @p file. A driver's own code runs as it is
/// loaded, so this is for a process of its own.
void tellLoadedPath(int file)
{
    void *const library = dlopen(driverName, RTLD_LAZY);
    link_map *map = nullptr;
    if (library && dlinfo(library, RTLD_DI_LINKMAP, &map) == 0) {
        const std::string_view path = map->l_name;
        [[maybe_unused]] const ssize_t written = write(file, path.data(), path.size());
    }
}

std::string readAll(int file)
{
    std::string text;
    std::array<char, 256> block{};
    for (ssize_t count = 0; (count = read(file, block.data(), block.size())) > 0;)
        text.append(block.data(), static_cast<std::size_t>(count));
    return text;
}

} // namespace

std::string absolute(const std::string &path)
{
    return fs::absolute(path).lexically_normal().string();
}

std::string folderOf(const std::string &path)
{
    return fs::path(path).parent_path().string();
}

std::string namedAfterTime(const std::string &before, const std::string &after)
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 32> time{};
    std::strftime(time.data(), time.size(), "%Y-%m-%d-%H%M%S", &local);
    return before + time.data() + after;
}

std::string findRecorder()
{
    return firstOf(
        {LANTERNIX_RECORDER_FROM_BIN "/libzorvicboardex.so.1", "recorder-driver/libzorvicboardex.so.1"},
        tr("the recorder"));
}

std::string findLatencyDriver()
{
    return firstOf(
        {LANTERNIX_LATENCY_DRIVER_FROM_BIN "/libzorvicboardex.so.1", "latency-driver/libzorvicboardex.so.1"},
        tr("the driver that measures latency"));
}

std::string findSimulatedDriver()
{
    return firstOf(
        {LANTERNIX_DRIVER_FROM_BIN "/libzorvicboardex.so.1", "../sim/driver/libzorvicboardex.so.1"},
        tr("the simulated board (package lanternix-sim)"));
}

std::string findHostileDriver()
{
    return firstOf(
        {LANTERNIX_HOSTILE_DRIVER_FROM_BIN "/libzorvicboardex.so.1", "../sim/hostile/libzorvicboardex.so.1"},
        tr("the board that misbehaves (package lanternix-sim)"));
}

std::string findProgram()
{
    return firstOf({"lanternix", "../src/lanternix"}, "lanternix");
}

std::string findScenario(const std::string &name)
{
    return firstOf({LANTERNIX_SCENARIOS_FROM_BIN "/" + name, "scenarios/" + name},
                   format(tr("the scenario %s (package lanternix-sim)"), name.c_str()).c_str());
}

std::string ownPath()
{
    std::error_code ignored;
    return fs::read_symlink("/proc/self/exe", ignored).string();
}

std::string findDriverProbe()
{
    return firstOf({LANTERNIX_DRIVER_PROBE_FROM_BIN, "driver-probe"}, "driver-probe");
}

std::string findProfile(const std::string &name)
{
    if (name.find_first_of("/.") != std::string::npos)
        return name;
    return firstOf({LANTERNIX_PROFILES_FROM_BIN "/" + name + ".json", "profiles/" + name + ".json"},
                   format(tr("a profile %s"), name.c_str()).c_str());
}

std::string findDriver(const std::string &given)
{
    if (!given.empty())
        return absolute(given);
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        return {};
    const pid_t child = fork();
    if (child == 0) {
        tellLoadedPath(ends[1]);
        _exit(0);
    }
    close(ends[1]);
    const std::string path = readAll(ends[0]);
    close(ends[0]);
    waitpid(child, nullptr, 0);
    if (path.empty()) {
        complain(tr("the loader finds no driver %s"), driverName);
        return {};
    }
    return absolute(path);
}

} // namespace lab
