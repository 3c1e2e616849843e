#include "commands/junit.h"

#include "page/reportpage.h"

namespace lab {

JUnit::JUnit()
{
    m_printer.PushHeader(false, true);
    m_printer.OpenElement("testsuites");
    m_printer.PushAttribute("name", "lanternix-lab report");
}

void JUnit::add(const grading::Report &report, const std::vector<Limit> &limits)
{
    const grading::Figures &figures = report.summary.figures;
    m_printer.OpenElement("testsuite");
    m_printer.PushAttribute("name", report.file.c_str());
    const std::size_t graded = report.profile ? report.profile->limits.size() : 0;
    const grading::Total total = report.total();
    int passed = 0;
    for (const Limit &limit : limits)
        passed += figures.count(limit.key) > 0 && limit.isPassedBy(figures.at(limit.key)) ? 1 : 0;
    m_printer.PushAttribute("tests", std::to_string(graded + limits.size()).c_str());
    m_printer.PushAttribute("failures", total.failed + passed);
    m_printer.PushAttribute("skipped", total.notGraded);
    if (report.profile) {
        for (const grading::Limit &limit : report.profile->limits) {
            const std::string value = page::valueText(figures, limit.key) + "; " + limitText(limit);
            const grading::Verdict verdict = report.grade(limit.key).verdict;
            addCase(limit.key,
                    verdict == grading::Verdict::fail       ? "failure"
                        : verdict == grading::Verdict::pass ? nullptr
                                                            : "skipped",
                    verdict == grading::Verdict::notGraded ? "not graded" : value);
        }
    }
    for (const Limit &limit : limits) {
        const bool isPassed = figures.count(limit.key) > 0 && limit.isPassedBy(figures.at(limit.key));
        addCase(limit.text, isPassed ? "failure" : nullptr, page::valueText(figures, limit.key));
    }
    m_printer.CloseElement();
}

void JUnit::addUnreadable(const std::string &file)
{
    m_printer.OpenElement("testsuite");
    m_printer.PushAttribute("name", file.c_str());
    m_printer.PushAttribute("tests", 1);
    m_printer.PushAttribute("failures", 0);
    m_printer.PushAttribute("errors", 1);
    addCase("readable", "error", "the recording cannot be read");
    m_printer.CloseElement();
}

void JUnit::addCase(const std::string &name, const char *outcome, const std::string &message)
{
    m_printer.OpenElement("testcase");
    m_printer.PushAttribute("classname", "board");
    m_printer.PushAttribute("name", name.c_str());
    if (outcome) {
        m_printer.OpenElement(outcome);
        m_printer.PushAttribute("message", message.c_str());
        m_printer.CloseElement();
    }
    m_printer.CloseElement();
}

std::string JUnit::finish()
{
    m_printer.CloseElement();
    return m_printer.CStr();
}

} // namespace lab
