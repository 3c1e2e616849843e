#include "commands/command.h"
#include "commands/junit.h"
#include "commands/limits.h"
#include "commands/measure.h"
#include "commands/reporttext.h"
#include "language.h"

#include "page/reportpage.h"

#include "capture/newfile.h"

#include <array>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace lab {

namespace {

using grading::Report;

struct ReportOptions
{
    std::vector<std::string> files;
    std::string output;
    std::string size;
    std::string profile;
    std::string junit;
    std::vector<std::string> failOn;
    bool json = false;
    bool jsonLines = false;
};

/// The contacts of one recording, in a file without a name: there may be more than fit into memory.
class ContactList
{
public:
    ContactList() : m_file(std::tmpfile(), std::fclose) { }

    void add(const grading::ContactSummary &contact)
    {
        if (!m_file)
            return;
        const std::string text = (m_isEmpty ? "" : ",") + contactJson(contact).dump();
        m_isEmpty = false;
        std::fwrite(text.data(), 1, text.size(), m_file.get());
    }

    /// Copies the list to standard output.
    void print() const
    {
        if (!m_file)
            return;
        std::rewind(m_file.get());
        std::array<char, 65536> block{};
        for (std::size_t size = 0; (size = std::fread(block.data(), 1, block.size(), m_file.get())) > 0;)
            std::fwrite(block.data(), 1, size, stdout);
    }

private:
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> m_file;
    bool m_isEmpty = true;
};

/// Measures recordings one after the other and tells about each. Used on one thread.
class Reporter
{
public:
    /// Keeps references to both.
    Reporter(const ReportOptions &options, const Grading &grading, std::vector<Limit> limits)
        : m_options(options), m_grading(grading), m_limits(std::move(limits))
    {
    }

    int run();

private:
    bool isJson() const { return m_options.json || m_options.jsonLines; }
    void take(const std::string &file);
    void tell(Report report);
    void printJson(const Report &report, const ContactList &contacts);
    void checkLimits(const Report &report);
    void compareBoth();
    void write(const std::string &name, const std::string &text);
    int finish();

    const ReportOptions &m_options;
    const Grading &m_grading;
    const std::vector<Limit> m_limits;
    bool m_isPair = false;      ///< whether two files are compared
    std::vector<Report> m_pair; ///< those
    bool m_isMany = false;      ///< whether the page is a table
    std::vector<page::Row> m_rows;
    const char *m_separator = ""; ///< before the next JSON object
    JUnit m_junit;
    bool m_isWrong = false;  ///< whether something could not be read or written
    bool m_isPassed = false; ///< whether a recording passes a limit of the command line
};

int Reporter::run()
{
    const std::vector<std::string> files = recordingsOf(m_options.files);
    if (files.empty()) {
        complain(tr("there is no recording in %s"), m_options.files.front().c_str());
        return unreadable;
    }
    m_isPair = files.size() == 2 && files == m_options.files && !m_options.jsonLines;
    m_isMany = files.size() > 1 && !m_isPair;
    if (m_options.json)
        std::fputs(R"({"version":1,"captures":[)", stdout);
    for (const std::string &file : files)
        take(file);
    if (m_options.json)
        std::fputs("]", stdout);
    if (m_pair.size() == 2)
        compareBoth();
    if (m_options.json)
        std::puts("}");
    return finish();
}

void Reporter::take(const std::string &file)
{
    ContactList contacts;
    grading::Analysis::ContactSink sink;
    if (isJson())
        sink = [&contacts](const grading::ContactSummary &contact) { contacts.add(contact); };
    std::optional<Report> report = measure(file, m_grading, std::move(sink));
    if (!report) {
        m_junit.addUnreadable(file);
        m_isWrong = true;
        if (m_isMany)
            m_rows.push_back({file, true, 0, 0, {}, {}});
        return;
    }
    m_junit.add(*report, m_limits);
    checkLimits(*report);
    if (isJson())
        printJson(*report, contacts);
    tell(std::move(*report));
}

void Reporter::tell(Report report)
{
    if (m_isPair) {
        m_pair.push_back(std::move(report));
        return;
    }
    if (m_options.output.empty()) {
        if (!isJson())
            std::fputs(reportText(report).c_str(), stdout);
        return;
    }
    if (!m_isMany) {
        write(m_options.output, page::reportPage(report));
        return;
    }
    page::Row row{report.file, false, static_cast<double>(report.summary.duration) / 1e6,
                  0,           {},    report.total()};
    for (const auto &[kind, count] : report.summary.contacts)
        row.contacts += count;
    for (const std::string &key : page::tableKeys()) {
        if (const auto figure = report.summary.figures.find(key); figure != report.summary.figures.end())
            row.figures.insert(*figure);
    }
    m_rows.push_back(std::move(row));
}

void Reporter::printJson(const Report &report, const ContactList &contacts)
{
    const ReportJson json = reportJson(report, m_options.jsonLines);
    std::fputs(m_separator, stdout);
    std::fputs(json.head.c_str(), stdout);
    contacts.print();
    std::fputs(json.tail.c_str(), stdout);
    if (m_options.jsonLines)
        std::putchar('\n');
    else
        m_separator = ",";
}

void Reporter::checkLimits(const Report &report)
{
    for (const Limit &limit : m_limits) {
        const auto figure = report.summary.figures.find(limit.key);
        if (figure == report.summary.figures.end() || !limit.isPassedBy(figure->second))
            continue;
        m_isPassed = true;
        // TRANSLATORS: a file, a limit such as gap_count>0, and the value that passes it.
        std::fprintf(stderr, tr("%s: %s: it is %g\n"), report.file.c_str(), limit.text.c_str(),
                     figure->second);
    }
}

void Reporter::compareBoth()
{
    const Report &before = m_pair[0];
    const Report &after = m_pair[1];
    const auto differences = grading::compare(before.summary, after.summary);
    if (m_options.json)
        std::printf(R"(,"comparison":%s)", comparisonJson(differences).dump().c_str());
    if (!m_options.output.empty())
        write(m_options.output, page::comparisonPage(before, after, differences));
    else if (!m_options.json)
        std::fputs(comparisonText(before, after, differences).c_str(), stdout);
}

void Reporter::write(const std::string &name, const std::string &text)
{
    capture::NewFile file(name);
    file.write(text);
    m_isWrong = !file.finish() || m_isWrong;
}

int Reporter::finish()
{
    if (!m_rows.empty() && !m_options.output.empty())
        write(m_options.output, page::tablePage(m_rows, m_grading.profile ? &*m_grading.profile : nullptr));
    if (!m_options.junit.empty())
        write(m_options.junit, m_junit.finish());
    if (m_isWrong)
        return unreadable;
    return m_isPassed ? findings : success;
}

int report(const ReportOptions &options)
{
    const auto limits = limitsOf(options.failOn, grading::figureKeys());
    Grading grading;
    if (!limits || !grading.read(options.size, options.profile))
        return unreadable;
    return Reporter(options, grading, *limits).run();
}

} // namespace

void addReport(CommandLine &lab)
{
    const Command command = lab.command(
        "report", "Measure recordings: report rate, jitter, straightness, losses; compare two, list many");
    const auto options = std::make_shared<ReportOptions>();
    command
        .option("FILE", options->files,
                "The recordings, or folders of them; two recordings are compared; - for standard input")
        .required();
    command.option("-o,--output", options->output, "The HTML page to write; without it, print the figures")
        .type("FILE");
    addGradingOptions(command, options->size, options->profile);
    command
        .option("--fail-on", options->failOn,
                "End with status 1 if a figure passes a limit, such as \"gap_count>0\"")
        .type("KEY>VALUE");
    command
        .option("--junit", options->junit, "Also write the limits and whether they are kept, as JUnit does")
        .type("FILE");
    const Option json = command.flag("--json", options->json, "Print one JSON object");
    command.flag("--jsonl", options->jsonLines, "Print one JSON object for each recording, a line each")
        .excludes(json);
    command.run([options] { return report(*options); });
}

} // namespace lab
