#include "page/facts.h"

#include "hex.h"
#include "language.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace page {

namespace {

using capture::ReportKind;
using Json = nlohmann::json;
using lab::format;
using lab::tr;
using lab::trCount;
using lab::trLater;
using lab::whole;

/// A text or a number of an object; nothing if there is none.
std::string textOf(const Json &object, const char *name)
{
    if (!object.is_object() || !object.contains(name))
        return {};
    const Json &held = object[name];
    if (held.is_string())
        return held.get<std::string>();
    return held.is_number() ? held.dump() : std::string();
}

/// @p pattern with @p value in it; empty if there is no value.
std::string withValue(const char *pattern, const std::string &value)
{
    return value.empty() ? value : format(pattern, value.c_str());
}

void fact(Html &html, const std::string &name, const std::string &value)
{
    if (value.empty())
        return;
    const Element row(html, "tr");
    html.leaf("th", name, {{"scope", "row"}});
    html.leaf("td", value);
}

/// "hid true, vid 04d8" of "hid<true>vid<04d8>".
std::string itemsText(const std::string &info)
{
    std::string text;
    std::size_t at = 0;
    for (std::size_t open = 0; (open = info.find('<', at)) != std::string::npos;) {
        const std::size_t end = info.find('>', open);
        if (end == std::string::npos)
            break;
        text += (text.empty() ? "" : ", ") + info.substr(at, open - at) + " "
            + info.substr(open + 1, end - open - 1);
        at = end + 1;
    }
    return text + info.substr(at);
}

std::string kindOfDevice(int kind)
{
    constexpr std::array<const char *, 5> names{trLater("device"), trLater("board"), trLater("legacy hub"),
                                                trLater("2.4 GHz hub"), trLater("virtual hub")};
    return tr(names.at(kind > 0 && kind < 5 ? static_cast<std::size_t>(kind) : 0));
}

std::string versionText(const Json &driver)
{
    std::string text;
    if (!driver.is_object() || !driver.contains("version") || !driver["version"].is_array())
        return text;
    for (const Json &number : driver["version"])
        text += (text.empty() ? "" : ".") + number.dump();
    return text;
}

std::string screensText(const Json &first)
{
    std::string text;
    if (!first.contains("screens") || !first["screens"].is_array())
        return text;
    for (const Json &screen : first["screens"]) {
        text += (text.empty() ? "" : "; ")
            // TRANSLATORS: a screen's size, and where it is: "1920 x 1080 at 0, 0".
            + format(tr("%s x %s at %s, %s"), textOf(screen, "width").c_str(),
                     textOf(screen, "height").c_str(), textOf(screen, "x").c_str(),
                     textOf(screen, "y").c_str());
        const std::string scale = textOf(screen, "scale");
        if (!scale.empty() && scale != "1" && scale != "1.0")
            // TRANSLATORS: follows the text before.
            text += format(tr(", scale %s"), scale.c_str());
    }
    return text;
}

std::string joined(std::initializer_list<std::string> parts)
{
    std::string text;
    for (const std::string &part : parts) {
        if (!part.empty())
            text += (text.empty() ? "" : ", ") + part;
    }
    return text;
}

void writeSource(Html &html, const grading::Report &report)
{
    const grading::Summary &summary = report.summary;
    const Json first = Json::parse(summary.firstLine, nullptr, false);
    const Json driver = first.is_object() ? first.value("driver", Json()) : Json();
    const Json program = first.is_object() ? first.value("program", Json()) : Json();
    const Element table(html, "table", {{"class", "facts"}});
    const Element body(html, "tbody");
    fact(html, tr("Duration"), numberText(static_cast<double>(summary.duration) / 1e6, 6) + " s");
    for (const auto &[number, device] : summary.devices) {
        const auto reports = static_cast<std::int64_t>(device.reports);
        fact(html, kindOfDevice(device.kind) + " " + std::to_string(number),
             joined({itemsText(device.info), format(trCount("%lld reports", reports), whole(reports))}));
    }
    fact(html, tr("Driver"),
         joined({textOf(driver, "path"), withValue(tr("version %s"), versionText(driver)),
                 withValue(tr("%s bytes"), textOf(driver, "size")),
                 withValue("SHA-256 %s", textOf(driver, "sha256"))}));
    fact(html, tr("Program"), joined({textOf(program, "name"), textOf(program, "version")}));
    if (first.is_object()) {
        fact(html, tr("Screens"), screensText(first));
        fact(html, tr("System"), joined({textOf(first, "kernel"), textOf(first, "locale")}));
        fact(html, tr("Recorder"), textOf(first, "recorder"));
    }
    if (report.size)
        fact(html, tr("Size of the board"),
             numberText(report.size->width, 6) + " x " + numberText(report.size->height, 6) + " mm");
}

void writeCounts(Html &html, const grading::Summary &summary)
{
    const auto isSeen = [](std::uint64_t count) { return count > 0; };
    if (std::none_of(summary.reports.begin(), summary.reports.end(), isSeen)) {
        html.leaf("p", tr("No report came."));
        return;
    }
    const Element scroll(html, "div", {{"class", "scroll"}});
    const Element table(html, "table");
    {
        const Element head(html, "thead");
        const Element row(html, "tr");
        html.leaf("th", tr("Kind"), {{"scope", "col"}});
        for (const char *const title : {tr("Reports"), tr("Contacts"), tr("Most at once")})
            html.leaf("th", title, {{"scope", "col"}, {"class", "number"}});
    }
    const Element body(html, "tbody");
    for (std::size_t i = 0; i < summary.reports.size(); ++i) {
        const auto kind = static_cast<ReportKind>(i);
        if (summary.reports.at(i) == 0)
            continue;
        const auto contacts = summary.contacts.find(kind);
        const auto most = summary.mostAtOnce.find(kind);
        const bool hasContacts = contacts != summary.contacts.end();
        const Element row(html, "tr");
        html.leaf("td", capture::kindText(kind));
        html.leaf("td", std::to_string(summary.reports.at(i)), {{"class", "number"}});
        html.leaf("td", hasContacts ? std::to_string(contacts->second) : "–", {{"class", "number"}});
        html.leaf("td", hasContacts ? std::to_string(most->second) : "–", {{"class", "number"}});
    }
}

void writeUndecodable(Html &html, const std::vector<grading::Undecodable> &reports)
{
    if (reports.empty())
        return;
    html.leaf("h3", tr("Undecodable reports"));
    const Element list(html, "ul");
    for (const grading::Undecodable &report : reports) {
        const Element item(html, "li");
        // TRANSLATORS: where in the recording, when, and of which board; the bytes follow.
        html.text(format(tr("line %lld, %s s, board %d: "), whole(report.line),
                         numberText(static_cast<double>(report.at) / 1e6, 9).c_str(), report.board));
        html.leaf("code", boardsim::hexText(report.bytes.data(), static_cast<int>(report.bytes.size())));
    }
}

void writeHandbacks(Html &html, const grading::Summary &summary)
{
    // TRANSLATORS: contacts outside of the window that the program has given back to the operating system.
    html.leaf("h3", tr("Hand-backs"));
    if (summary.handbacks == 0) {
        html.leaf("p", tr("No contact was handed back to the operating system."));
        return;
    }
    const auto contacts = static_cast<std::int64_t>(summary.contactsHandedBack);
    const auto reports = static_cast<std::int64_t>(summary.handbacks);
    html.leaf("p",
              format(trCount("%lld contacts went to the operating system in %lld reports.", contacts),
                     whole(contacts), whole(reports)));
    if (summary.complaints.empty()) {
        html.leaf("p", tr("Every contact went to one side for its whole life, in order, nothing twice."));
        return;
    }
    html.leaf("p", tr("This is the program's fault, not the board's; please send the recording:"),
              {{"class", "fail"}});
    const Element list(html, "ul");
    for (const std::string &complaint : summary.complaints)
        html.leaf("li", complaint);
}

} // namespace

void writeFacts(Html &html, const grading::Report &report)
{
    html.leaf("h2", tr("What was recorded"));
    writeSource(html, report);
    html.leaf("h3", tr("Reports and contacts"));
    writeCounts(html, report.summary);
}

void writeFindings(Html &html, const grading::Summary &summary)
{
    html.leaf("h2", tr("Findings"));
    writeHandbacks(html, summary);
    writeUndecodable(html, summary.undecodable);
    if (summary.notes.empty())
        return;
    html.leaf("h3", tr("Notes in the recording"));
    const Element list(html, "ul");
    for (const std::string &note : summary.notes)
        html.leaf("li", note);
}

} // namespace page
