#include "commands/junitprinter.h"

namespace lab {

JUnitPrinter::JUnitPrinter(const std::string &name)
{
    m_printer.PushHeader(false, true);
    m_printer.OpenElement("testsuites");
    m_printer.PushAttribute("name", name.c_str());
}

void JUnitPrinter::beginSuite(const std::string &name, const Counts &counts)
{
    m_printer.OpenElement("testsuite");
    m_printer.PushAttribute("name", name.c_str());
    m_printer.PushAttribute("tests", counts.tests);
    m_printer.PushAttribute("failures", counts.failures);
    m_printer.PushAttribute("errors", counts.errors);
    m_printer.PushAttribute("skipped", counts.skipped);
}

void JUnitPrinter::addCase(const std::string &tested, const std::string &name, const char *outcome,
                           const std::string &message, std::optional<double> seconds)
{
    m_printer.OpenElement("testcase");
    m_printer.PushAttribute("classname", tested.c_str());
    m_printer.PushAttribute("name", name.c_str());
    if (seconds)
        m_printer.PushAttribute("time", *seconds);
    if (outcome) {
        m_printer.OpenElement(outcome);
        m_printer.PushAttribute("message", message.c_str());
        m_printer.CloseElement();
    }
    m_printer.CloseElement();
}

void JUnitPrinter::endSuite()
{
    m_printer.CloseElement();
}

std::string JUnitPrinter::finish()
{
    m_printer.CloseElement();
    return m_printer.CStr();
}

} // namespace lab
