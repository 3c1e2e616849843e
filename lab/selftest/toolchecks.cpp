#include "commands/errand.h"
#include "commands/temporaryfolder.h"
#include "language.h"
#include "selftest/check.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

// The companion command's own subcommands, on a recording that it makes itself.

namespace selftest {

namespace {

using lab::message;

constexpr double toolTime = 60; // seconds for one subcommand

std::string contentsOf(const std::string &file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// A folder with a recording, a replay of the scenario.
class Workshop
{
public:
    explicit Workshop(const Parts &parts) : m_parts(parts) { }

    std::string path(const std::string &name) const { return m_folder.path() + "/" + name; }
    /// Runs a subcommand there. Returns what is wrong, which is anything but @p status.
    lab::Message run(std::vector<std::string> arguments, int status = 0)
    {
        std::vector<std::string> command{"env", "LANGUAGE=C", "XDG_RUNTIME_DIR=" + m_folder.path(),
                                         "BOARDSIM_SCENARIO=" + m_parts.scenario, m_parts.command};
        command.insert(command.end(), arguments.begin(), arguments.end());
        m_errand = lab::run(command, m_folder.path(), toolTime);
        if (m_errand.status == status)
            return {};
        return message("status %d: %s", m_errand.status, (m_errand.errors + m_errand.output).c_str());
    }
    lab::Message record()
    {
        return run({"replay", m_parts.scenario, "--headless", "--speed", "max", "-o", "a.jsonl",
                    "--screenshot", "a.png"});
    }
    const std::string &output() const { return m_errand.output; }
    /// A copy of the driver, which nobody else has open.
    std::string ownDriver() const
    {
        std::string copy = path("libzorvicboardex.so.1");
        std::error_code ignored; // a driver that is missing is told by whoever opens it
        std::filesystem::copy_file(m_parts.driver, copy, ignored);
        return copy;
    }

private:
    const Parts &m_parts;
    const lab::TemporaryFolder m_folder;
    lab::Errand m_errand;
};

lab::Message checkReplay(const Parts &parts)
{
    Workshop workshop(parts);
    lab::Message wrong = workshop.record();
    if (!wrong.empty())
        return wrong;
    return contentsOf(workshop.path("a.png")).rfind("\x89PNG", 0) == 0 ? lab::Message()
                                                                       : message("there is no screenshot");
}

/// A subcommand on the recording; @p file must begin with @p beginning then, unless it is empty.
struct Tool
{
    const char *name;
    std::vector<std::string> arguments;
    std::string file;
    std::string beginning;
};

lab::Message checkTool(const Parts &parts, const Tool &tool)
{
    Workshop workshop(parts);
    lab::Message wrong = workshop.record();
    if (wrong.empty())
        wrong = workshop.run(tool.arguments);
    if (wrong.empty() && !tool.file.empty()
        && contentsOf(workshop.path(tool.file)).rfind(tool.beginning, 0) != 0)
        wrong = message("%s does not begin with %s", tool.file.c_str(), tool.beginning.c_str());
    return wrong;
}

lab::Message checkProbe(const Parts &parts)
{
    Workshop workshop(parts);
    lab::Message wrong = workshop.run({"probe", "--driver", workshop.ownDriver(), "--seconds", "0.5"});
    if (!wrong.empty())
        return wrong;
    const std::string &told = workshop.output();
    return told.rfind("ready", 0) == 0 ? lab::Message() : lab::Message{told, told};
}

lab::Message checkBundle(const Parts &parts)
{
    Workshop workshop(parts);
    lab::Message wrong = workshop.run(
        {"bundle", "--yes", "--seconds", "0", "--driver", workshop.ownDriver(), "-o", "b.tar.zst"});
    return wrong.empty() && contentsOf(workshop.path("b.tar.zst")).empty() ? message("there is no bundle")
                                                                           : wrong;
}

} // namespace

void addToolChecks(std::vector<Check> &checks)
{
    checks.push_back({"tools", message("replay, and record it"), checkReplay});
    const std::string line = R"({"type":"scenario")";
    for (const Tool &tool :
         {Tool{"check", {"check", "a.jsonl"}, {}, {}}, Tool{"show", {"show", "a.jsonl"}, {}, {}},
          Tool{"diff", {"diff", "a.jsonl", "a.jsonl"}, {}, {}},
          Tool{"cut", {"cut", "a.jsonl", "--from", "0", "--to", "1", "-o", "b.jsonl"}, "b.jsonl", line},
          Tool{"anonymise", {"anonymise", "a.jsonl", "-o", "b.jsonl"}, "b.jsonl", line},
          Tool{"export", {"export", "a.jsonl", "--csv", "-o", "b.csv"}, "b.csv", ""},
          Tool{"report", {"report", "a.jsonl", "-o", "a.html"}, "a.html", "<!DOCTYPE html>"}})
        checks.push_back(
            {"tools", {tool.name, tool.name}, [tool](const Parts &parts) { return checkTool(parts, tool); }});
    checks.push_back({"tools", {"probe", "probe"}, checkProbe});
    checks.push_back({"tools", {"bundle", "bundle"}, checkBundle});
}

} // namespace selftest
