#include "commands/junit.h"

#include "language.h"
#include "page/reportpage.h"

namespace lab {

namespace {

constexpr const char *testedClass = "board";

} // namespace

void JUnit::add(const grading::Report &report, const std::vector<Limit> &limits)
{
    const grading::Figures &figures = report.summary.figures;
    const std::size_t graded = report.profile ? report.profile->limits.size() : 0;
    const grading::Total total = report.total();
    int passed = 0;
    for (const Limit &limit : limits)
        passed += figures.count(limit.key) > 0 && limit.isPassedBy(figures.at(limit.key)) ? 1 : 0;
    m_printer.beginSuite(
        report.file, {static_cast<int>(graded + limits.size()), total.failed + passed, 0, total.notGraded});
    if (report.profile) {
        for (const grading::Limit &limit : report.profile->limits) {
            const std::string value = page::valueText(figures, limit.key, Audience::program) + "; "
                + limitText(limit, Audience::program);
            const grading::Verdict verdict = report.grade(limit.key).verdict;
            m_printer.addCase(testedClass, limit.key,
                              verdict == grading::Verdict::fail       ? "failure"
                                  : verdict == grading::Verdict::pass ? nullptr
                                                                      : "skipped",
                              verdict == grading::Verdict::notGraded ? "not graded" : value);
        }
    }
    for (const Limit &limit : limits) {
        const bool isPassed = figures.count(limit.key) > 0 && limit.isPassedBy(figures.at(limit.key));
        m_printer.addCase(testedClass, limit.text, isPassed ? "failure" : nullptr,
                          page::valueText(figures, limit.key, Audience::program));
    }
    m_printer.endSuite();
}

void JUnit::addUnreadable(const std::string &file)
{
    m_printer.beginSuite(file, {1, 0, 1, 0});
    m_printer.addCase(testedClass, "readable", "error", "the recording cannot be read");
    m_printer.endSuite();
}

} // namespace lab
