#include "probe/surroundings.h"

#include "language.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

#include <fcntl.h>
#include <link.h>
#include <spawn.h>
#include <sys/auxv.h>
#include <sys/wait.h>
#include <unistd.h>

namespace probe {

namespace {

namespace fs = std::filesystem;
using Permissions = std::vector<std::pair<std::string, std::string>>;
using lab::trLater;

std::vector<fs::path> entriesOf(const std::string &folder)
{
    std::vector<fs::path> entries;
    std::error_code ignored;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder, ignored))
        entries.push_back(entry.path());
    std::sort(entries.begin(), entries.end());
    return entries;
}

std::string firstLineOf(const fs::path &file)
{
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    return line;
}

/// Whether a process has mapped the file @p path.
bool hasMapped(const fs::path &process, const std::string &path)
{
    std::ifstream maps(process / "maps");
    for (std::string line; std::getline(maps, line);) {
        const std::size_t at = line.find('/');
        if (at != std::string::npos && line.compare(at, std::string::npos, path) == 0)
            return true;
    }
    return false;
}

bool isBoard(const Device &device)
{
    return device.kind == 1;
}

bool isOneOf(const std::vector<Device> &devices, long vendor, long product)
{
    return std::any_of(devices.begin(), devices.end(), [&](const Device &device) {
        return isBoard(device) && device.vid == vendor && device.pid == product;
    });
}

void addNode(Permissions &permissions, const std::string &root, const std::string &node,
             const std::string &name)
{
    const std::string path = root + node;
    std::error_code ignored;
    std::string state = trLater("may be opened by you");
    if (!fs::exists(path, ignored))
        state = trLater("is not there");
    else if (access(path.c_str(), R_OK | W_OK) != 0)
        state = trLater("may not be opened by you");
    permissions.emplace_back(node, name + ": " + state);
}

/// "HID_ID=0003:000004D8:000000A1" holds the numbers of a USB device.
void addHidNode(Permissions &permissions, const std::string &root, const fs::path &entry,
                const std::vector<Device> &devices)
{
    std::ifstream properties(entry / "device/uevent");
    std::string name = trLater("HID device");
    unsigned int bus = 0;
    unsigned int vendor = 0;
    unsigned int product = 0;
    for (std::string line; std::getline(properties, line);) {
        if (line.rfind("HID_NAME=", 0) == 0)
            name = line.substr(9);
        std::sscanf(line.c_str(), "HID_ID=%x:%x:%x", &bus, &vendor, &product);
    }
    const bool areBoardsKnown = std::any_of(devices.begin(), devices.end(), isBoard);
    if (!areBoardsKnown || isOneOf(devices, vendor, product))
        addNode(permissions, root, "/dev/" + entry.filename().string(), name);
}

void addUsbNode(Permissions &permissions, const std::string &root, const fs::path &entry,
                const std::vector<Device> &devices)
{
    const auto number = [&entry](const char *name, int base) {
        const std::string text = firstLineOf(entry / name);
        return text.empty() ? -1 : std::strtol(text.c_str(), nullptr, base);
    };
    if (!isOneOf(devices, number("idVendor", 16), number("idProduct", 16)))
        return;
    char node[64];
    std::snprintf(node, sizeof node, "/dev/bus/usb/%03ld/%03ld", number("busnum", 10), number("devnum", 10));
    addNode(permissions, root, node, trLater("USB device"));
}

/// The loader of this process.
std::string ownLoader()
{
    std::string name;
    dl_iterate_phdr(
        [](dl_phdr_info *info, std::size_t, void *found) {
            if (info->dlpi_addr == getauxval(AT_BASE))
                *static_cast<std::string *>(found) = info->dlpi_name;
            return 0;
        },
        &name);
    return name;
}

/// Lets the loader list what it would load for @p library to @p output, without loading it. Returns the
/// process, or 0.
pid_t startLoader(std::string library, int output)
{
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::string loader = ownLoader();
    const std::array<char *, 3> arguments{loader.data(), library.data(), nullptr};
    std::string lists = "LD_TRACE_LOADED_OBJECTS=1"; // its option --list ends at the first missing library
    std::vector<char *> variables{lists.data()};
    for (char **variable = environ; *variable; ++variable)
        variables.push_back(*variable);
    variables.push_back(nullptr);
    pid_t process = 0;
    if (posix_spawn(&process, loader.c_str(), &files, nullptr, arguments.data(), variables.data()) != 0)
        process = 0;
    posix_spawn_file_actions_destroy(&files);
    return process;
}

} // namespace

std::vector<Holder> holdersOf(const std::string &path, const std::string &root)
{
    std::error_code ignored;
    const std::string mapped = fs::canonical(path, ignored).string();
    std::vector<Holder> holders;
    for (const fs::path &process : entriesOf(root + "/proc")) {
        const int number = std::atoi(process.filename().c_str());
        if (number > 0 && number != getpid() && !mapped.empty() && hasMapped(process, mapped))
            holders.push_back({number, firstLineOf(process / "comm")});
    }
    return holders;
}

Permissions permissionsOf(const std::string &path, const std::vector<Device> &devices,
                          const std::string &root)
{
    Permissions permissions;
    for (fs::path folder = fs::path(path).parent_path(); !folder.empty(); folder = folder.parent_path()) {
        if (access(folder.c_str(), X_OK) != 0)
            permissions.emplace_back(folder.string(), trLater("may not be entered by you"));
        if (folder == folder.root_path())
            break;
    }
    if (!path.empty() && access(path.c_str(), R_OK) != 0)
        permissions.emplace_back(path, trLater("may not be read by you"));
    for (const fs::path &entry : entriesOf(root + "/sys/class/hidraw"))
        addHidNode(permissions, root, entry, devices);
    for (const fs::path &entry : entriesOf(root + "/sys/bus/usb/devices"))
        addUsbNode(permissions, root, entry, devices);
    return permissions;
}

std::vector<std::string> librariesMissingFor(const std::string &path)
{
    std::vector<std::string> missing;
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        return missing;
    const pid_t process = startLoader(path, ends[1]);
    close(ends[1]);
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> lines(fdopen(ends[0], "r"), std::fclose);
    std::array<char, 4096> line{};
    while (lines && std::fgets(line.data(), line.size(), lines.get())) {
        // "\tlibdemo.so.3 => not found"
        const std::string text = line.data();
        const std::size_t arrow = text.find(" => not found");
        if (arrow != std::string::npos)
            missing.push_back(text.substr(1, arrow - 1));
    }
    if (process > 0)
        waitpid(process, nullptr, 0);
    return missing;
}

} // namespace probe
