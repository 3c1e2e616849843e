#include "probe/answer.h"

#include "probe/missing.h"
#include "probe/places.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace probe {

namespace {

using Kind = Ending::Kind;

std::string number(double value)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f", value);
    return text.data();
}

std::string joined(const std::vector<std::string> &names)
{
    std::string text;
    for (const std::string &name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

bool has(const Answer &answer, const char *what)
{
    return std::any_of(answer.places.begin(), answer.places.end(),
                       [what](const Place &place) { return place.found == what; });
}

/// What is to be done about the file; empty if it is a library that this program can open.
std::string adviceOnFile(const Answer &answer)
{
    constexpr const char *unreadable = "may not be read by you";
    if (answer.ending.kind == Kind::whole)
        return {};
    if (has(answer, unreadable)) {
        const auto place = std::find_if(answer.places.begin(), answer.places.end(),
                                        [](const Place &one) { return one.found == unreadable; });
        return "make " + place->path + " readable for everybody: you may not read it";
    }
    if (answer.path.empty())
        return std::string("install the board maker's driver: the loader finds no ") + driverName;
    if (!answer.elf.isElf)
        return "install the driver again: " + answer.path + " is not a library";
    if (!answer.elf.fitsThisProcess && answer.elf.bits == 32)
        return "install the 64-bit driver: " + answer.path + " is for 32-bit programs";
    if (!answer.elf.fitsThisProcess)
        return "install the driver for this machine: " + answer.path + " is for " + answer.elf.architecture;
    if (!answer.missingLibraries.empty())
        return "install " + joined(answer.missingLibraries) + ", which the driver needs";
    if (answer.ending.kind == Kind::refused)
        return "install a driver that fits this system; the loader says: " + answer.ending.cause;
    return {};
}

/// What is to be done about a driver that has not come to an end.
std::string adviceOnEnding(const Ending &ending)
{
    constexpr const char *other = "ask the board's maker for another version of the driver: it ";
    switch (ending.kind) {
    case Kind::crashed:
        return other + ("crashes in " + ending.step + " (" + ending.cause + ")");
    case Kind::exited:
        return other
            + ("ends the program in " + ending.step + " (status " + std::to_string(ending.status) + ")");
    case Kind::hung:
        return "unplug the board and plug it in again, and if that does not help, " + std::string(other)
            + "does not return from " + ending.step;
    default:
        return {};
    }
}

std::string adviceOnHolders(const Answer &answer)
{
    if (!answer.holders.empty()) {
        const Holder &holder = answer.holders.front();
        return "end " + holder.program + " (process " + std::to_string(holder.process)
            + "), which has the driver open, and probe again";
    }
    if (answer.isRecorded)
        return "end the recording of the board that goes on, and probe again";
    return {};
}

/// What is to be done about functions without which nothing can be drawn.
std::string adviceOnFunctions(const Answer &answer)
{
    const auto &missing = answer.missingFunctions;
    for (const char *const needed : {"zorvicGetDeviceCount", "zorvicEnumDeviceInfo", "zorvicSetCallback"}) {
        if (std::find(missing.begin(), missing.end(), needed) == missing.end())
            continue;
        const std::string others =
            missing.size() > 1 ? ", and " + std::to_string(missing.size() - 1) + " more" : "";
        return std::string("install another version of the driver: this one lacks ") + needed
            + ", without which there are " + withoutFunction(needed) + others;
    }
    return {};
}

/// What may be the cause as well if devices may not be opened, which is usual for those that are no boards.
std::string doubtOn(const Answer &answer)
{
    for (const auto &[node, state] : answer.permissions) {
        if (state.find("may not be opened by you") != std::string::npos)
            return "; if that does not help, your user may lack the permission for " + node;
    }
    return {};
}

std::string adviceOnDevices(const Answer &answer)
{
    const auto isBoard = [](const Device &device) { return device.kind == 1; };
    if (std::any_of(answer.devices.begin(), answer.devices.end(), isBoard))
        return {};
    if (!answer.devices.empty())
        return "switch on the board, or pair it: the driver sees a hub, but no board" + doubtOn(answer);
    return "check the board's cable and power: the driver sees no board" + doubtOn(answer);
}

std::vector<int> silentBoards(const Answer &answer)
{
    std::vector<int> silent;
    const std::vector<int> &heard = answer.reports.boards;
    for (const Device &device : answer.devices) {
        if (device.kind == 1 && std::find(heard.begin(), heard.end(), device.board) == heard.end())
            silent.push_back(device.board);
    }
    return silent;
}

} // namespace

Verdict verdictOf(const Answer &answer)
{
    for (const std::string &advice :
         {adviceOnFile(answer), adviceOnEnding(answer.ending), adviceOnHolders(answer),
          adviceOnFunctions(answer), adviceOnDevices(answer)}) {
        if (!advice.empty())
            return {false, advice};
    }
    const std::vector<int> silent = silentBoards(answer);
    if (silent.empty())
        return {true, "ready: each board reports"};
    std::string names;
    for (const int board : silent)
        names += (names.empty() ? "board " : " and board ") + std::to_string(board);
    return {true,
            "ready, but no report of " + names + " came in " + number(answer.reports.listened)
                + " s: touch the board" + doubtOn(answer)};
}

std::string kindName(int kind)
{
    switch (kind) {
    case 1:
        return "board";
    case 2:
        return "legacy hub";
    case 3:
        return "2.4 GHz hub";
    case 4:
        return "virtual hub";
    default:
        return "device of unknown kind " + std::to_string(kind);
    }
}

} // namespace probe
