#include "probe/answer.h"

#include "probe/missing.h"

#include "recorder/function.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <iterator>

namespace probe {

namespace {

/// Lines of a label and what belongs to it; the label stands beside its first line only.
class Table
{
public:
    void add(const std::string &label, const std::string &text)
    {
        constexpr std::size_t width = 14;
        std::string line = label == m_label ? "" : label;
        m_label = label;
        line.resize(std::max(width, line.size() + 1), ' ');
        m_text += line + text + "\n";
    }
    const std::string &text() const { return m_text; }

private:
    std::string m_label;
    std::string m_text;
};

std::string formatted(const char *format, double value)
{
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), format, value);
    return text.data();
}

std::string hexNumber(int value)
{
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%04x", static_cast<unsigned int>(value));
    return text.data();
}

/// Control characters, which a terminal would obey, as '?'.
std::string printable(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](unsigned char byte) { return std::iscntrl(byte) != 0; }, '?');
    return text;
}

void addFile(Table &table, const Answer &answer)
{
    table.add("driver", answer.path.empty() ? "none" : answer.path);
    if (answer.path.empty())
        return;
    table.add("driver", std::to_string(answer.size) + " bytes, SHA-256 " + answer.sha256);
    if (answer.elf.isElf)
        table.add("driver",
                  std::to_string(answer.elf.bits) + "-bit " + (answer.elf.isLibrary ? "library" : "program")
                      + " for " + answer.elf.architecture);
    else
        table.add("driver", "not a library");
    for (const std::string &name : answer.missingLibraries)
        table.add("driver", "needs " + name + ", which the loader does not find");
}

/// Whether a place is a folder for special processors, of which the loader tries many.
bool isSpecial(const Place &place)
{
    constexpr const char *folders[] = {"/glibc-hwcaps/", "/tls/", "/x86_64/"};
    return place.found == "not there"
        && std::any_of(std::begin(folders), std::end(folders),
                       [&place](const char *folder) { return place.path.find(folder) != std::string::npos; });
}

void addPlaces(Table &table, const Answer &answer)
{
    for (const Place &place : answer.places) {
        if (!isSpecial(place))
            table.add("looked at", place.path + " (" + place.why + "): " + place.found);
    }
    const auto special = std::count_if(answer.places.begin(), answer.places.end(), isSpecial);
    if (special > 0)
        table.add("looked at", std::to_string(special) + " more for special processors: not there");
}

std::string endingText(const Ending &ending)
{
    switch (ending.kind) {
    case Ending::Kind::notRun:
        return "was not opened";
    case Ending::Kind::whole:
        return "has done everything";
    case Ending::Kind::refused:
        return "could not be opened: " + ending.cause;
    case Ending::Kind::crashed:
        return "has crashed in " + ending.step + ": " + ending.cause;
    case Ending::Kind::exited:
        return "has ended the process in " + ending.step + ", status " + std::to_string(ending.status);
    case Ending::Kind::hung:
        return "has not returned from " + ending.step;
    }
    return {};
}

void addFunctions(Table &table, const Answer &answer)
{
    if (!answer.elf.isElf)
        return;
    table.add("functions",
              std::to_string(answer.elf.functions.size()) + " of " + std::to_string(recorder::functionCount));
    for (const std::string &name : answer.missingFunctions)
        table.add("without", name + ": " + withoutFunction(name));
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
        table.add("device " + std::to_string(device.index),
                  kindName(device.kind) + ", number " + std::to_string(device.board) + ", type "
                      + (device.type.empty() ? "not told" : printable(device.type)) + ", vid "
                      + hexNumber(device.vid) + ", pid " + hexNumber(device.pid) + ", xp "
                      + std::to_string(device.xp) + ", xt " + std::to_string(device.xt) + ", xl "
                      + std::to_string(device.xl));
        if (!device.info.empty())
            table.add("", printable(device.info));
        addRecord(table, device.record);
    }
}

void addReports(Table &table, const Reports &reports)
{
    if (reports.count == 0) {
        table.add("reports", "none in " + formatted("%.1f s", reports.listened));
        return;
    }
    table.add("reports",
              std::to_string(reports.count) + " in " + formatted("%.1f s", reports.listened)
                  + "; the first after " + formatted("%.3f s", reports.after) + ", of board "
                  + std::to_string(reports.board) + ": " + reports.first);
}

void addAnswers(Table &table, const Answer &answer)
{
    table.add("result", printable(endingText(answer.ending)));
    std::string version;
    for (const int part : answer.version)
        version += (version.empty() ? "" : ".") + std::to_string(part);
    table.add("versions",
              "driver " + (version.empty() ? "not told" : version)
                  + ", lanternix-lab " LANTERNIX_VERSION ", Qt " + answer.qt);
    if (answer.attached)
        table.add("attach",
                  std::string(*answer.attached ? "yes" : "no") + ", "
                      + formatted("%.6f s", answer.attachSeconds));
    if (answer.deviceCount)
        table.add("devices", std::to_string(*answer.deviceCount));
    addDevices(table, answer);
    if (answer.reports.listened > 0)
        addReports(table, answer.reports);
}

void addSurroundings(Table &table, const Answer &answer)
{
    for (const Holder &holder : answer.holders)
        table.add("held by", printable(holder.program) + ", process " + std::to_string(holder.process));
    if (answer.isRecorded)
        table.add("held by", "a recording");
    if (answer.holders.empty() && !answer.isRecorded)
        table.add("held by", "nobody who can be seen");
    for (const auto &[path, state] : answer.permissions)
        table.add("permissions", path + ": " + printable(state));
}

} // namespace

std::string answerText(const Answer &answer)
{
    Table table;
    addFile(table, answer);
    addPlaces(table, answer);
    addFunctions(table, answer);
    addAnswers(table, answer);
    addSurroundings(table, answer);
    return printable(verdictOf(answer).text) + "\n\n" + table.text();
}

} // namespace probe
