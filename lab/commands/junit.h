#pragma once

#include "commands/limits.h"

#include "grading/report.h"

#include <string>
#include <vector>

#include <tinyxml2.h>

namespace lab {

/// Composes a result in the format of JUnit: a suite for each recording, and in it a case for each limit of
/// the profile and of the command line. Used on one thread.
class JUnit
{
public:
    JUnit();

    void add(const grading::Report &report, const std::vector<Limit> &limits);
    /// A recording that could not be read.
    void addUnreadable(const std::string &file);
    /// Ends the document. To be called once.
    std::string finish();

private:
    void addCase(const std::string &name, const char *outcome, const std::string &message);

    tinyxml2::XMLPrinter m_printer;
};

} // namespace lab
