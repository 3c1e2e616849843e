#include "commands/command.h"
#include "commands/input.h"

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
    std::printf("%s: good; %" PRId64 " lines, %" PRId64 " reports", name.c_str(), contents.lines,
                allReports(contents));
    const char *separator = " (";
    for (std::size_t kind = 0; kind < kinds.size(); ++kind) {
        if (contents.reports.at(kind) == 0)
            continue;
        std::printf("%s%" PRId64 " %s", separator, contents.reports.at(kind),
                    std::string(capture::nameOf(kinds.at(kind))).c_str());
        separator = ", ";
    }
    std::printf("%s, %" PRId64 " calls, %" PRId64 " handed back, %" PRId64 " lost, %.6f s%s\n",
                allReports(contents) > 0 ? ")" : "", contents.calls, contents.handbacks, contents.lost,
                static_cast<double>(contents.last) / 1e6, contents.hasEnd ? "" : ", without an end");
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
