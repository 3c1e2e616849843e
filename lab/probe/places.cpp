#include "probe/places.h"

#include "language.h"
#include "probe/elffile.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

#include <unistd.h>

namespace probe {

namespace {

namespace fs = std::filesystem;
using lab::format;
using lab::trLater;

constexpr const char *folderVariable = "LD_LIBRARY_PATH";
constexpr const char *absent = trLater("not there");
constexpr const char *unnamed = trLater("does not name it"); ///< of the list of libraries

/// What stands behind @p mark in @p line, if it is there.
bool takeBehind(const std::string &line, std::string_view mark, std::string &rest)
{
    const std::size_t at = line.find(mark);
    if (at == std::string::npos)
        return false;
    rest = line.substr(at + mark.size());
    return true;
}

/// The last pair of brackets: "/a:/b\t\t(LD_LIBRARY_PATH)" names the reason for the folders before it.
std::string reasonIn(const std::string &searched)
{
    const std::size_t open = searched.rfind('(');
    const std::size_t close = searched.rfind(')');
    return open < close && close != std::string::npos ? searched.substr(open + 1, close - open - 1) : "";
}

/// What the loader has written about the driver alone.
std::vector<Place> triedIn(std::string_view trace)
{
    std::vector<Place> places;
    std::istringstream lines{std::string(trace)};
    std::string rest;
    std::string reason;
    bool isAboutDriver = false;
    for (std::string line; std::getline(lines, line);) {
        if (takeBehind(line, "find library=", rest))
            isAboutDriver = rest.rfind(driverName, 0) == 0;
        if (!isAboutDriver)
            continue;
        if (takeBehind(line, "search path=", rest)) {
            reason = reasonIn(rest);
        } else if (takeBehind(line, "search cache=", rest)) {
            reason = trLater("list of ldconfig");
            places.push_back({rest, reason, unnamed});
        } else if (takeBehind(line, "trying file=", rest)) {
            if (!places.empty() && places.back().found == unnamed && reason == places.back().why)
                places.pop_back(); // the list has named this file
            if (std::none_of(places.begin(), places.end(),
                             [&rest](const Place &place) { return place.path == rest; }))
                places.push_back({rest, reason, ""});
        }
    }
    return places;
}

std::vector<std::string> split(std::string_view folders)
{
    std::vector<std::string> names;
    while (!folders.empty()) {
        const std::size_t end = std::min(folders.find_first_of(":;"), folders.size());
        if (end > 0)
            names.emplace_back(folders.substr(0, end));
        folders.remove_prefix(std::min(end + 1, folders.size()));
    }
    return names;
}

std::string stateOf(const std::string &path)
{
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found)
        return absent;
    if (error || access(path.c_str(), R_OK) != 0)
        return trLater("may not be read by you");
    if (!fs::is_regular_file(status))
        return trLater("no file");
    const ElfFacts elf = readElf(path);
    if (!elf.isElf)
        return trLater("no library");
    if (!elf.fitsThisProcess)
        return format(skippedFile, elf.bits, elf.architecture.c_str());
    return trLater("a library that was not opened");
}

} // namespace

std::vector<Place> placesIn(std::string_view trace, std::string_view folders)
{
    std::vector<Place> tried = triedIn(trace);
    std::vector<Place> places;
    for (const std::string &folder : split(folders)) {
        const std::size_t before = places.size();
        const auto isInside = [&folder](const Place &place) {
            return place.why == folderVariable && place.path.rfind(folder + "/", 0) == 0;
        };
        std::copy_if(tried.begin(), tried.end(), std::back_inserter(places), isInside);
        tried.erase(std::remove_if(tried.begin(), tried.end(), isInside), tried.end());
        if (places.size() == before && !fs::exists(folder))
            places.push_back({folder + "/" + driverName, folderVariable, trLater("there is no such folder")});
    }
    places.insert(places.end(), tried.begin(), tried.end());
    return places;
}

void lookAt(std::vector<Place> &places, const std::string &taken)
{
    for (Place &place : places) {
        if (!place.found.empty())
            continue;
        std::error_code ignored;
        const bool isTaken = !taken.empty() && fs::equivalent(place.path, taken, ignored);
        place.found = isTaken ? trLater("taken") : stateOf(place.path);
    }
}

std::string driverAt(const std::vector<Place> &places, const std::string &taken)
{
    if (!taken.empty())
        return taken;
    // The loader goes on behind a file that it skips, and ends at one that it cannot open.
    const auto last = std::find_if(places.rbegin(), places.rend(), [](const Place &place) {
        std::error_code ignored;
        return fs::is_regular_file(place.path, ignored) && place.found != unnamed;
    });
    return last == places.rend() ? "" : last->path;
}

} // namespace probe
