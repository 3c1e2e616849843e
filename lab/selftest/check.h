#pragma once

#include "language.h"
#include "stage/session.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace selftest {

/// What the checks need; all are files.
struct Parts
{
    std::string command; ///< lanternix-lab
    std::string program;
    std::string driver;        ///< the simulated board
    std::string hostileDriver; ///< the one that misbehaves on request
    std::string scenario;      ///< which the tools work on
    const lab::VirtualScreen *screen = nullptr;

    stage::Setting stage() const { return {program, driver, screen}; }
};

/// Something that a check needs is not installed, so that it cannot tell anything.
class LeftOut : public std::runtime_error
{
public:
    explicit LeftOut(lab::Message cause) : std::runtime_error(cause.english), m_cause(std::move(cause)) { }
    const lab::Message &cause() const { return m_cause; }

private:
    lab::Message m_cause;
};

/// One line of the ledger.
struct Check
{
    std::string requirement; ///< what must work: "patterns"
    lab::Message name;       ///< in what: "key G"
    /// Returns what is wrong; empty if nothing is. May throw LeftOut.
    std::function<lab::Message(const Parts &)> run;
};

/// All checks, in the order in which they are to run.
std::vector<Check> checks();

// The parts of them.
void addProgramChecks(std::vector<Check> &checks);
void addScreenChecks(std::vector<Check> &checks);
void addTextChecks(std::vector<Check> &checks);
void addTortureChecks(std::vector<Check> &checks);
void addToolChecks(std::vector<Check> &checks);

} // namespace selftest
