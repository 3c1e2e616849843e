#include "commands/reporttext.h"

#include "commands/text.h"
#include "language.h"

#include "page/reportpage.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace lab {

namespace {

using capture::ReportKind;
using grading::FigureInfo;

std::string dumped(const Json &json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string_view nameOf(grading::Track::End end)
{
    switch (end) {
    case grading::Track::End::lifted:
        return "lifted";
    case grading::Track::End::unplugged:
        return "unplugged";
    case grading::Track::End::stillDown:
        break;
    }
    return "still down";
}

Json figureJson(const grading::Report &report, const FigureInfo &info)
{
    const grading::Grade grade = report.grade(info.key);
    const auto figure = report.summary.figures.find(std::string(info.key));
    Json json{{"value", nullptr}, {"unit", info.unit}, {"limit", nullptr}, {"score", nullptr}};
    if (figure != report.summary.figures.end())
        json["value"] = figure->second;
    if (grade.limit)
        json["limit"] = grade.limit->value;
    if (grade.score)
        json["score"] = *grade.score;
    json["verdict"] = nameOf(grade.verdict);
    return json;
}

Json boardsJson(const grading::Summary &summary)
{
    Json boards = Json::array();
    for (const auto &[number, device] : summary.devices)
        boards.push_back(
            {{"board", number}, {"kind", device.kind}, {"info", device.info}, {"reports", device.reports}});
    return boards;
}

/// Version and checksum of the driver, as the first line tells them; null if it does not.
Json driverJson(const grading::Summary &summary)
{
    const Json first = Json::parse(summary.firstLine, nullptr, false);
    if (!first.is_object() || !first.contains("driver") || !first["driver"].is_object())
        return nullptr;
    const Json &driver = first["driver"];
    return {{"version", driver.value("version", Json())}, {"sha256", driver.value("sha256", Json())}};
}

/// Text in columns; the first one is left-aligned, and the last one as long as it is.
std::string rowText(const std::string &name, const std::string &value, const std::string &rest)
{
    std::string line = padded(padded(name, 25) + " ", 26);
    line += paddedBefore(value, 14);
    if (!rest.empty())
        line += "  " + rest;
    return line + "\n";
}

/// A dash that every terminal can show.
std::string plain(const std::string &value)
{
    return value == "–" ? "-" : value;
}

} // namespace

Json contactJson(const grading::ContactSummary &contact)
{
    Json figures = Json::object();
    for (const auto &[key, value] : contact.figures)
        figures[key] = value;
    return {{"kind", capture::nameOf(contact.kind)},
            {"board", contact.board},
            {"id", contact.id},
            {"from_s", seconds(contact.from)},
            {"to_s", seconds(contact.to)},
            {"samples", contact.samples},
            {"end", nameOf(contact.end)},
            {"figures", figures}};
}

ReportJson reportJson(const grading::Report &report, bool withVersion)
{
    const grading::Summary &summary = report.summary;
    const auto reports = [&summary](ReportKind kind) {
        return summary.reports.at(static_cast<std::size_t>(kind));
    };
    const Json counts{{"pen", reports(ReportKind::pen)},
                      {"touch", reports(ReportKind::touch)},
                      {"erase", reports(ReportKind::erase)},
                      {"other", reports(ReportKind::other)},
                      {"status", reports(ReportKind::status)}};
    Json figures = Json::object();
    for (const FigureInfo &info : grading::figureInfos())
        figures[std::string(info.key)] = figureJson(report, info);
    return {std::string(withVersion ? R"({"version":1,"file":)" : R"({"file":)") + dumped(report.file)
                + R"(,"duration_s":)" + dumped(seconds(summary.duration)) + R"(,"boards":)"
                + dumped(boardsJson(summary)) + R"(,"driver":)" + dumped(driverJson(summary))
                + R"(,"reports":)" + dumped(counts) + R"(,"contacts":[)",
            R"(],"figures":)" + dumped(figures) + "}"};
}

Json comparisonJson(const std::vector<grading::Difference> &differences)
{
    Json json = Json::object();
    for (const grading::Difference &difference : differences) {
        Json &one = json[std::string(difference.key)];
        one = {{"difference", nullptr}, {"low", nullptr}, {"high", nullptr}};
        if (difference.mean) {
            one["difference"] = *difference.mean;
            one["low"] = difference.low;
            one["high"] = difference.high;
        }
        one["says"] = nameOf(difference.change);
    }
    return json;
}

std::string reportText(const grading::Report &report)
{
    std::string text = report.file + ": " + page::verdictText(report.total(), report.profile) + "\n";
    for (const FigureInfo &info : grading::figureInfos()) {
        const grading::Grade grade = report.grade(info.key);
        const bool isMeasured = report.summary.figures.count(std::string(info.key)) > 0;
        if (!isMeasured && !grade.limit)
            continue;
        std::string rest;
        if (grade.limit)
            rest = std::string(tr(nameOf(grade.verdict).data())) + ", " + limitText(*grade.limit);
        text +=
            rowText(std::string(info.key), plain(page::valueText(report.summary.figures, info.key)), rest);
    }
    return text;
}

std::string comparisonText(const grading::Report &before, const grading::Report &after,
                           const std::vector<grading::Difference> &differences)
{
    std::string text = "A: " + before.file + "\nB: " + after.file + "\n";
    for (const grading::Difference &difference : differences) {
        text += rowText(std::string(difference.key),
                        plain(page::valueText(before.summary.figures, difference.key)),
                        plain(page::valueText(after.summary.figures, difference.key)) + "  "
                            + tr(nameOf(difference.change).data()));
    }
    return text;
}

} // namespace lab
