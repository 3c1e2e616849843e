#pragma once

#include "commands/junitprinter.h"
#include "commands/limits.h"

#include "grading/report.h"

#include <string>
#include <vector>

namespace lab {

/// Composes a result in the format of JUnit: a suite for each recording, and in it a case for each limit of
/// the profile and of the command line. Used on one thread.
class JUnit
{
public:
    void add(const grading::Report &report, const std::vector<Limit> &limits);
    /// A recording that could not be read.
    void addUnreadable(const std::string &file);
    /// Ends the document. To be called once.
    std::string finish() { return m_printer.finish(); }

private:
    JUnitPrinter m_printer{"lanternix-lab report"};
};

} // namespace lab
