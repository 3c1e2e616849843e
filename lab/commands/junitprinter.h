#pragma once

#include <optional>
#include <string>

#include <tinyxml2.h>

namespace lab {

/// Writes XML as JUnit does: suites of cases. Used on one thread.
class JUnitPrinter
{
public:
    struct Counts
    {
        int tests = 0;
        int failures = 0;
        int errors = 0;
        int skipped = 0;
    };

    /// @p name is that of all suites together.
    explicit JUnitPrinter(const std::string &name);

    void beginSuite(const std::string &name, const Counts &counts);
    /// @p outcome is "failure", "error" or "skipped", with @p message; null for a case that has passed.
    void addCase(const std::string &tested, const std::string &name, const char *outcome,
                 const std::string &message, std::optional<double> seconds = {});
    void endSuite();
    /// Ends the document. To be called once.
    std::string finish();

private:
    tinyxml2::XMLPrinter m_printer;
};

} // namespace lab
