#include "commands/command.h"
#include "commands/input.h"
#include "language.h"

#include "capture/contacts.h"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <string>

#include <nlohmann/json.hpp>

namespace lab {

namespace {

/// What a recording holds.
struct Contents
{
    std::int64_t lines = 0;
    std::array<std::int64_t, 5> reports{}; ///< by capture::ReportKind
    std::int64_t calls = 0;
    std::int64_t handbacks = 0;
    std::int64_t notes = 0;
    std::int64_t lost = 0; ///< reports
    std::int64_t last = 0; ///< microseconds: the time of the last line that has one
    bool hasEnd = false;
};

void count(const capture::Line &line, capture::Report &report, Contents &contents)
{
    ++contents.lines;
    contents.last = line.at.value_or(contents.last);
    switch (line.type) {
    case capture::Line::Type::report:
        capture::decode(line.bytes.data(), line.bytes.size(), report);
        ++contents.reports.at(static_cast<std::size_t>(report.kind));
        break;
    case capture::Line::Type::call:
        ++contents.calls;
        break;
    case capture::Line::Type::handback:
        ++contents.handbacks;
        break;
    case capture::Line::Type::note:
        ++contents.notes;
        break;
    case capture::Line::Type::lost:
        contents.lost += nlohmann::json::parse(line.text).at("count").get<std::int64_t>();
        break;
    case capture::Line::Type::end:
        contents.hasEnd = true;
        break;
    default:
        break;
    }
}

constexpr std::array<capture::ReportKind, 5> kinds{capture::ReportKind::pen, capture::ReportKind::touch,
                                                   capture::ReportKind::erase, capture::ReportKind::status,
                                                   capture::ReportKind::other};

std::int64_t allReports(const Contents &contents)
{
    std::int64_t sum = 0;
    for (const std::int64_t reports : contents.reports)
        sum += reports;
    return sum;
}

void print(const std::string &name, const Contents &contents)
{
    const std::int64_t all = allReports(contents);
    std::string reports = format(trCount("%lld reports", all), whole(all));
    const char *separator = " (";
    for (std::size_t kind = 0; kind < kinds.size(); ++kind) {
        if (contents.reports.at(kind) == 0)
            continue;
        reports += format("%s%lld %s", separator, whole(contents.reports.at(kind)),
                          capture::kindText(kinds.at(kind)));
        separator = ", ";
    }
    if (all > 0)
        reports += ")";
    const double seconds = static_cast<double>(contents.last) / 1e6;
    const char *const pattern = contents.hasEnd
        // TRANSLATORS: a file, and texts about lines, reports, calls, reports that went back, and lost ones.
        ? tr("%s: good; %s, %s, %s, %s, %s, %.6f s\n")
        : tr("%s: good; %s, %s, %s, %s, %s, %.6f s, without an end\n");
    std::printf(pattern, name.c_str(),
                format(trCount("%lld lines", contents.lines), whole(contents.lines)).c_str(), reports.c_str(),
                format(trCount("%lld calls", contents.calls), whole(contents.calls)).c_str(),
                format(trCount("%lld handed back", contents.handbacks), whole(contents.handbacks)).c_str(),
                format(trCount("%lld lost", contents.lost), whole(contents.lost)).c_str(), seconds);
}

void printJson(const std::string &name, const Contents &contents)
{
    nlohmann::ordered_json reports;
    for (std::size_t kind = 0; kind < kinds.size(); ++kind)
        reports[std::string(capture::nameOf(kinds.at(kind)))] = contents.reports.at(kind);
    const nlohmann::ordered_json object{{"version", 1},
                                        {"file", name},
                                        {"good", true},
                                        {"lines", contents.lines},
                                        {"reports", reports},
                                        {"calls", contents.calls},
                                        {"handbacks", contents.handbacks},
                                        {"notes", contents.notes},
                                        {"lost", contents.lost},
                                        {"duration_s", static_cast<double>(contents.last) / 1e6},
                                        {"ended", contents.hasEnd}};
    std::printf("%s\n",
                object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
}

int check(const std::string &name, bool asJson)
{
    Input input(name);
    Contents contents;
    capture::Report report;
    while (input.next())
        count(input.line(), report, contents);
    if (!input.tellEnd())
        return input.isOpen() ? findings : unreadable;
    if (asJson)
        printJson(name, contents);
    else
        print(name, contents);
    return success;
}

} // namespace

void addCheck(CommandLine &lab)
{
    struct CheckOptions
    {
        std::string file;
        bool json = false;
    };
    const Command command =
        lab.command("check", "Say whether a recording is good, or name its first bad line");
    const auto options = std::make_shared<CheckOptions>();
    command.option("FILE", options->file, "The recording or scenario; - for standard input").required();
    command.flag("--json", options->json, "Print one JSON object");
    command.run([options] { return check(options->file, options->json); });
}

} // namespace lab
