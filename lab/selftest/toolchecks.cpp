#include "commands/errand.h"
#include "commands/temporaryfolder.h"
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
    std::string run(std::vector<std::string> arguments, int status = 0)
    {
        std::vector<std::string> command{"env", "XDG_RUNTIME_DIR=" + m_folder.path(),
                                         "BOARDSIM_SCENARIO=" + m_parts.scenario, m_parts.command};
        command.insert(command.end(), arguments.begin(), arguments.end());
        m_errand = lab::run(command, m_folder.path(), toolTime);
        if (m_errand.status == status)
            return {};
        return "status " + std::to_string(m_errand.status) + ": " + m_errand.errors + m_errand.output;
    }
    std::string record()
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

std::string checkReplay(const Parts &parts)
{
    Workshop workshop(parts);
    std::string wrong = workshop.record();
    if (!wrong.empty())
        return wrong;
    return contentsOf(workshop.path("a.png")).rfind("\x89PNG", 0) == 0 ? "" : "there is no screenshot";
}

/// A subcommand on the recording; @p file must begin with @p beginning then, unless it is empty.
struct Tool
{
    const char *name;
    std::vector<std::string> arguments;
    std::string file;
    std::string beginning;
};

std::string checkTool(const Parts &parts, const Tool &tool)
{
    Workshop workshop(parts);
    std::string wrong = workshop.record();
    if (wrong.empty())
        wrong = workshop.run(tool.arguments);
    if (wrong.empty() && !tool.file.empty()
        && contentsOf(workshop.path(tool.file)).rfind(tool.beginning, 0) != 0)
        wrong = tool.file + " does not begin with " + tool.beginning;
    return wrong;
}

std::string checkProbe(const Parts &parts)
{
    Workshop workshop(parts);
    std::string wrong = workshop.run({"probe", "--driver", workshop.ownDriver(), "--seconds", "0.5"});
    if (!wrong.empty())
        return wrong;
    return workshop.output().rfind("ready", 0) == 0 ? "" : workshop.output();
}

std::string checkBundle(const Parts &parts)
{
    Workshop workshop(parts);
    std::string wrong = workshop.run(
        {"bundle", "--yes", "--seconds", "0", "--driver", workshop.ownDriver(), "-o", "b.tar.zst"});
    return wrong.empty() && contentsOf(workshop.path("b.tar.zst")).empty() ? "there is no bundle" : wrong;
}

} // namespace

void addToolChecks(std::vector<Check> &checks)
{
    checks.push_back({"tools", "replay, and record it", checkReplay});
    const std::string line = R"({"type":"scenario")";
    for (const Tool &tool :
         {Tool{"check", {"check", "a.jsonl"}, {}, {}}, Tool{"show", {"show", "a.jsonl"}, {}, {}},
          Tool{"diff", {"diff", "a.jsonl", "a.jsonl"}, {}, {}},
          Tool{"cut", {"cut", "a.jsonl", "--from", "0", "--to", "1", "-o", "b.jsonl"}, "b.jsonl", line},
          Tool{"anonymise", {"anonymise", "a.jsonl", "-o", "b.jsonl"}, "b.jsonl", line},
          Tool{"export", {"export", "a.jsonl", "--csv", "-o", "b.csv"}, "b.csv", ""},
          Tool{"report", {"report", "a.jsonl", "-o", "a.html"}, "a.html", "<!DOCTYPE html>"}})
        checks.push_back({"tools", tool.name, [tool](const Parts &parts) { return checkTool(parts, tool); }});
    checks.push_back({"tools", "probe", checkProbe});
    checks.push_back({"tools", "bundle", checkBundle});
}

} // namespace selftest
