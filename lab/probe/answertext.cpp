#include "probe/answer.h"

#include "language.h"
#include "probe/missing.h"
#include "probe/places.h"

#include "recorder/function.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

namespace probe {

namespace {

using lab::Audience;
using lab::format;
using lab::padded;
using lab::whole;

/// Lines of a label and what belongs to it; the label stands beside its first line only.
class Table
{
public:
    explicit Table(Audience audience) : m_audience(audience) { }

    void add(const std::string &label, const std::string &text)
    {
        constexpr std::size_t width = 14;
        const std::string line = label == m_label ? "" : label;
        m_label = label;
        m_text += padded(padded(line, width - 1) + " ", width) + text + "\n";
    }
    [[gnu::format_arg(2)]] const char *tr(const char *english) const { return lab::tr(english, m_audience); }
    Audience audience() const { return m_audience; }
    const std::string &text() const { return m_text; }

private:
    const Audience m_audience;
    std::string m_label;
    std::string m_text;
};

/// Control characters, which a terminal would obey, as '?'.
std::string printable(std::string text)
{
    constexpr char rubOut = 0x7F;
    std::replace_if(
        text.begin(), text.end(), [](char byte) { return (byte >= 0 && byte < ' ') || byte == rubOut; }, '?');
    return text;
}

void addFile(Table &table, const Answer &answer)
{
    const char *const label = table.tr("driver");
    table.add(label, answer.path.empty() ? table.tr("none") : answer.path);
    if (answer.path.empty())
        return;
    table.add(label, format(table.tr("%lld bytes, SHA-256 %s"), whole(answer.size), answer.sha256.c_str()));
    if (answer.elf.isElf)
        table.add(label,
                  // TRANSLATORS: 32 or 64, and an architecture, such as x86-64.
                  format(answer.elf.isLibrary ? table.tr("%d-bit library for %s")
                                              : table.tr("%d-bit program for %s"),
                         answer.elf.bits, answer.elf.architecture.c_str()));
    else
        table.add(label, table.tr("not a library"));
    for (const std::string &name : answer.missingLibraries)
        table.add(label, format(table.tr("needs %s, which the loader does not find"), name.c_str()));
}

/// Whether a place is a folder for special processors, of which the loader tries many.
bool isSpecial(const Place &place)
{
    constexpr const char *folders[] = {"/glibc-hwcaps/", "/tls/", "/x86_64/"};
    return place.found == "not there"
        && std::any_of(std::begin(folders), std::end(folders),
                       [&place](const char *folder) { return place.path.find(folder) != std::string::npos; });
}

std::string foundText(const Table &table, const std::string &found)
{
    int bits = 0;
    std::array<char, 40> architecture{};
    if (std::sscanf(found.c_str(), skippedPattern, &bits, architecture.data()) == 2)
        return format(table.tr(skippedFile), bits, architecture.data());
    return table.tr(found.c_str());
}

void addPlaces(Table &table, const Answer &answer)
{
    const char *const label = table.tr("looked at");
    for (const Place &place : answer.places) {
        if (!isSpecial(place))
            table.add(label,
                      place.path + " (" + table.tr(place.why.c_str())
                          + "): " + foundText(table, place.found));
    }
    const auto special = std::count_if(answer.places.begin(), answer.places.end(), isSpecial);
    if (special > 0)
        // TRANSLATORS: places at which the loader has looked for the driver.
        table.add(label, format(table.tr("%lld more for special processors: not there"), whole(special)));
}

std::string endingText(const Table &table, const Ending &ending)
{
    const char *const step = ending.step.c_str();
    const char *const cause = ending.cause.c_str();
    switch (ending.kind) {
    case Ending::Kind::notRun:
        // TRANSLATORS: this and the next five say what has become of the driver.
        return table.tr("was not opened");
    case Ending::Kind::whole:
        return table.tr("has done everything");
    case Ending::Kind::refused:
        return format(table.tr("could not be opened: %s"), cause);
    case Ending::Kind::crashed:
        return format(table.tr("has crashed in %s: %s"), step, cause);
    case Ending::Kind::exited:
        return format(table.tr("has ended the process in %s, status %d"), step, ending.status);
    case Ending::Kind::hung:
        return format(table.tr("has not returned from %s"), step);
    }
    return {};
}

void addFunctions(Table &table, const Answer &answer)
{
    if (!answer.elf.isElf)
        return;
    // TRANSLATORS: how many functions of the driver there are.
    table.add(table.tr("functions"),
              format(table.tr("%zu of %zu"), answer.elf.functions.size(), recorder::functionCount));
    for (const std::string &name : answer.missingFunctions)
        table.add(table.tr("without"), name + ": " + table.tr(withoutFunction(name).c_str()));
}

/// The record as lines of bytes with their offsets; lines of zeros are left out.
void addRecord(Table &table, const std::string &record)
{
    constexpr std::size_t digits = 64;
    for (std::size_t at = 0; at < record.size(); at += digits) {
        const std::string line = record.substr(at, digits);
        if (line.find_first_not_of('0') == std::string::npos)
            continue;
        std::array<char, 32> offset{};
        std::snprintf(offset.data(), offset.size(), "%04zx  ", at / 2);
        table.add("", offset.data() + line);
    }
}

void addDevices(Table &table, const Answer &answer)
{
    for (const Device &device : answer.devices) {
        const std::string kind = kindName(device.kind, table.audience());
        const std::string type = device.type.empty() ? table.tr("not told") : printable(device.type);
        // TRANSLATORS: the label of a device; at most 13 letters with its number.
        table.add(format(table.tr("device %d"), device.index),
                  // TRANSLATORS: vid, pid, xp, xt and xl are the driver's own names.
                  format(table.tr("%s, number %d, type %s, vid %04x, pid %04x, xp %d, xt %d, xl %d"),
                         kind.c_str(), device.board, type.c_str(), static_cast<unsigned int>(device.vid),
                         static_cast<unsigned int>(device.pid), device.xp, device.xt, device.xl));
        if (!device.info.empty())
            table.add("", printable(device.info));
        addRecord(table, device.record);
    }
}

void addReports(Table &table, const Reports &reports)
{
    const char *const label = table.tr("reports");
    if (reports.count == 0) {
        table.add(label, format(table.tr("none in %.1f s"), reports.listened));
        return;
    }
    table.add(label,
              // TRANSLATORS: 12 reports in 5.0 s; the first came 0.120 s after the beginning, and this is
              // what it holds.
              format(table.tr("%lld in %.1f s; the first after %.3f s, of board %d: %s"),
                     whole(reports.count), reports.listened, reports.after, reports.board,
                     reports.first.c_str()));
}

void addAnswers(Table &table, const Answer &answer)
{
    table.add(table.tr("result"), printable(endingText(table, answer.ending)));
    std::string version;
    for (const int part : answer.version)
        version += (version.empty() ? "" : ".") + std::to_string(part);
    table.add(table.tr("versions"),
              format(table.tr("driver %s, lanternix-lab %s, Qt %s"),
                     version.empty() ? table.tr("not told") : version.c_str(), LANTERNIX_VERSION,
                     answer.qt.c_str()));
    if (answer.attached)
        table.add(table.tr("attach"),
                  // TRANSLATORS: the driver's answer, and how long it took.
                  format(*answer.attached ? table.tr("yes, %.6f s") : table.tr("no, %.6f s"),
                         answer.attachSeconds));
    if (answer.deviceCount)
        table.add(table.tr("devices"), std::to_string(*answer.deviceCount));
    addDevices(table, answer);
    if (answer.reports.listened > 0)
        addReports(table, answer.reports);
}

/// "HID device: may be opened by you": a device's name or kind, if it is one, and its state.
std::string stateText(const Table &table, const std::string &state)
{
    const std::size_t colon = state.rfind(": ");
    if (colon == std::string::npos)
        return table.tr(state.c_str());
    return table.tr(state.substr(0, colon).c_str()) + std::string(": ")
        + table.tr(state.substr(colon + 2).c_str());
}

void addSurroundings(Table &table, const Answer &answer)
{
    // TRANSLATORS: a label: who has the driver open.
    const char *const label = table.tr("held by");
    for (const Holder &holder : answer.holders)
        table.add(label,
                  format(table.tr("%s, process %d"), printable(holder.program).c_str(), holder.process));
    if (answer.isRecorded)
        table.add(label, table.tr("a recording"));
    if (answer.holders.empty() && !answer.isRecorded)
        table.add(label, table.tr("nobody who can be seen"));
    for (const auto &[path, state] : answer.permissions)
        table.add(table.tr("permissions"), path + ": " + printable(stateText(table, state)));
}

} // namespace

std::string answerText(const Answer &answer, Audience audience)
{
    Table table(audience);
    addFile(table, answer);
    addPlaces(table, answer);
    addFunctions(table, answer);
    addAnswers(table, answer);
    addSurroundings(table, answer);
    return printable(verdictOf(answer, audience).text) + "\n\n" + table.text();
}

} // namespace probe
