#include "probe/answer.h"

#include "language.h"
#include "probe/missing.h"
#include "probe/places.h"

#include <algorithm>

namespace probe {

namespace {

using Kind = Ending::Kind;
using lab::Audience;
using lab::format;
using lab::tr;

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
std::string adviceOnFile(const Answer &answer, Audience audience)
{
    constexpr const char *unreadable = "may not be read by you";
    if (answer.ending.kind == Kind::whole)
        return {};
    if (has(answer, unreadable)) {
        const auto place = std::find_if(answer.places.begin(), answer.places.end(),
                                        [](const Place &one) { return one.found == unreadable; });
        return format(tr("make %s readable for everybody: you may not read it", audience),
                      place->path.c_str());
    }
    if (answer.path.empty())
        return format(tr("install the board maker's driver: the loader finds no %s", audience), driverName);
    if (!answer.elf.isElf)
        return format(tr("install the driver again: %s is not a library", audience), answer.path.c_str());
    if (!answer.elf.fitsThisProcess && answer.elf.bits == 32)
        return format(tr("install the 64-bit driver: %s is for 32-bit programs", audience),
                      answer.path.c_str());
    if (!answer.elf.fitsThisProcess)
        return format(tr("install the driver for this machine: %s is for %s", audience), answer.path.c_str(),
                      answer.elf.architecture.c_str());
    if (!answer.missingLibraries.empty())
        return format(tr("install %s, which the driver needs", audience),
                      joined(answer.missingLibraries).c_str());
    if (answer.ending.kind == Kind::refused)
        return format(tr("install a driver that fits this system; the loader says: %s", audience),
                      answer.ending.cause.c_str());
    return {};
}

/// What is to be done about a driver that has not come to an end.
std::string adviceOnEnding(const Ending &ending, Audience audience)
{
    const char *const step = ending.step.c_str();
    switch (ending.kind) {
    case Kind::crashed:
        return format(
            // TRANSLATORS: a function, and the name of a signal.
            tr("ask the board's maker for another version of the driver: it crashes in %s (%s)", audience),
            step, ending.cause.c_str());
    case Kind::exited:
        return format(tr("ask the board's maker for another version of the driver: it ends the program in %s "
                         "(status %d)",
                         audience),
                      step, ending.status);
    case Kind::hung:
        return format(tr("unplug the board and plug it in again, and if that does not help, ask the board's "
                         "maker for another version of the driver: it does not return from %s",
                         audience),
                      step);
    default:
        return {};
    }
}

std::string adviceOnHolders(const Answer &answer, Audience audience)
{
    if (!answer.holders.empty()) {
        const Holder &holder = answer.holders.front();
        return format(tr("end %s (process %d), which has the driver open, and probe again", audience),
                      holder.program.c_str(), holder.process);
    }
    if (answer.isRecorded)
        return tr("end the recording of the board that goes on, and probe again", audience);
    return {};
}

/// What is to be done about functions without which nothing can be drawn.
std::string adviceOnFunctions(const Answer &answer, Audience audience)
{
    const auto &missing = answer.missingFunctions;
    for (const char *const needed : {"zorvicGetDeviceCount", "zorvicEnumDeviceInfo", "zorvicSetCallback"}) {
        if (std::find(missing.begin(), missing.end(), needed) == missing.end())
            continue;
        const std::string loss = withoutFunction(needed);
        std::string advice =
            // TRANSLATORS: a function, and "no devices", "no boards and hubs" or "no reports".
            format(tr("install another version of the driver: this one lacks %s, without which there are %s",
                      audience),
                   needed, tr(loss.c_str(), audience));
        if (missing.size() > 1)
            // TRANSLATORS: functions that the driver lacks as well; follows the text before.
            advice += format(tr(", and %zu more", audience), missing.size() - 1);
        return advice;
    }
    return {};
}

/// What may be the cause as well if devices may not be opened, which is usual for those that are no boards.
std::string doubtOn(const Answer &answer, Audience audience)
{
    for (const auto &[node, state] : answer.permissions) {
        if (state.find("may not be opened by you") != std::string::npos)
            return format(tr("; if that does not help, your user may lack the permission for %s", audience),
                          node.c_str());
    }
    return {};
}

std::string adviceOnDevices(const Answer &answer, Audience audience)
{
    const auto isBoard = [](const Device &device) { return device.kind == 1; };
    if (std::any_of(answer.devices.begin(), answer.devices.end(), isBoard))
        return {};
    if (!answer.devices.empty())
        return tr("switch on the board, or pair it: the driver sees a hub, but no board", audience)
            + doubtOn(answer, audience);
    return tr("check the board's cable and power: the driver sees no board", audience)
        + doubtOn(answer, audience);
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

Verdict verdictOf(const Answer &answer, Audience audience)
{
    for (const std::string &advice : {adviceOnFile(answer, audience), adviceOnEnding(answer.ending, audience),
                                      adviceOnHolders(answer, audience), adviceOnFunctions(answer, audience),
                                      adviceOnDevices(answer, audience)}) {
        if (!advice.empty())
            return {false, advice};
    }
    const std::vector<int> silent = silentBoards(answer);
    if (silent.empty())
        return {true, tr("ready: each board reports", audience)};
    std::string names;
    for (const int board : silent)
        // TRANSLATORS: "board 1 and board 2" becomes a part of "no report of %s came".
        names += format(names.empty() ? tr("board %d", audience) : tr(" and board %d", audience), board);
    return {true,
            format(tr("ready, but no report of %s came in %.1f s: touch the board", audience), names.c_str(),
                   answer.reports.listened)
                + doubtOn(answer, audience)};
}

std::string kindName(int kind, Audience audience)
{
    switch (kind) {
    case 1:
        return tr("board", audience);
    case 2:
        return tr("legacy hub", audience);
    case 3:
        return tr("2.4 GHz hub", audience);
    case 4:
        return tr("virtual hub", audience);
    default:
        return format(tr("device of unknown kind %d", audience), kind);
    }
}

} // namespace probe
