#include "commands/command.h"
#include "commands/files.h"
#include "commands/latencytext.h"
#include "commands/virtualscreen.h"
#include "commands/window.h"
#include "language.h"

#include "page/latencychart.h"

#include "capture/newfile.h"
#include "latency/experiment.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <unistd.h>

namespace lab {

namespace {

struct LatencyOptions
{
    std::string program;
    std::optional<int> contacts;
    std::string tags; ///< "on" or "off"; empty for both
    int samples = 100;
    bool headless = false;
    std::string size;
    std::string output;
    bool json = false;
};

latency::Plan planOf(const LatencyOptions &options)
{
    latency::Plan plan;
    plan.contacts = options.contacts ? std::vector<int>{*options.contacts} : std::vector<int>{1, 2, 5, 10};
    plan.tags =
        options.tags.empty() ? std::vector<bool>{true, false} : std::vector<bool>{options.tags == "on"};
    plan.samples = options.samples;
    return plan;
}

/// The screen of --headless and --size, which becomes that of DISPLAY; null if it cannot be started, which
/// one line on standard error has told.
std::unique_ptr<VirtualScreen> screenOf(const LatencyOptions &options)
{
    auto screen = options.size.empty() ? std::make_unique<VirtualScreen>()
                                       : std::make_unique<VirtualScreen>(options.size);
    if (!screen->isThere())
        return nullptr;
    setenv("DISPLAY", screen->display().c_str(), 1);
    return screen;
}

bool hasServer()
{
    if (knowsWindows())
        return true;
    const char *const display = std::getenv("DISPLAY");
    if (display && *display)
        complain(tr("no X server answers at DISPLAY %s; use --headless"), display);
    else
        complain(tr("DISPLAY names no X server; use --headless"));
    return false;
}

/// Whether a file can be written, before it is measured for a minute. One line on standard error says if not.
bool canWrite(const std::string &name)
{
    return name.empty() || capture::NewFile(name).stream();
}

int tell(const LatencyOptions &options, const latency::Outcome &outcome)
{
    std::fputs((options.json ? latencyJson(outcome) : latencyText(outcome)).c_str(), stdout);
    if (options.output.empty())
        return success;
    capture::NewFile file(options.output);
    file.write(page::latencyChart(outcome));
    return file.finish() ? success : unreadable;
}

int run(const LatencyOptions &options)
{
    const std::string program = options.program.empty() ? findProgram() : options.program;
    const std::string driver = program.empty() ? "" : findLatencyDriver();
    if (driver.empty())
        return unreadable;
    std::unique_ptr<VirtualScreen> screen;
    const bool isOwnScreen = options.headless || !options.size.empty();
    if (isOwnScreen && !(screen = screenOf(options)))
        return unreadable;
    if (!hasServer() || !canWrite(options.output))
        return unreadable;
    if (isatty(STDERR_FILENO) != 0)
        std::fprintf(stderr, "%s\n", tr("measuring; leave keyboard, pointer and board alone"));
    try {
        latency::Screen watched;
        return tell(options, latency::measure({program, folderOf(driver)}, watched, planOf(options)));
    } catch (const latency::NotStarted &) {
        return unreadable;
    } catch (const std::exception &error) {
        complain("%s: %s", program.c_str(), error.what());
        return unreadable;
    }
}

/// What is wrong with a size of a screen; nothing if it is good.
std::string faultOf(const std::string &size)
{
    int width = 0;
    int height = 0;
    int end = 0;
    const bool isSize = std::sscanf(size.c_str(), "%4dx%4d%n", &width, &height, &end) == 2
        && static_cast<std::size_t>(end) == size.size();
    if (isSize && width >= 640 && width <= 7680 && height >= 480 && height <= 4320)
        return {};
    return format(tr("%s is no size from 640x480 to 7680x4320"), size.c_str());
}

} // namespace

void addLatency(CommandLine &lab)
{
    const Command command =
        lab.command("latency", "Measure how long a report takes from the driver's callback to the pixel");
    const auto options = std::make_shared<LatencyOptions>();
    command.option("PROGRAM", options->program, "Measure this program; by default lanternix");
    command.option("--contacts", options->contacts, "Only so many contacts; by default 1, 2, 5 and 10")
        .type("NUMBER")
        .range(1, 10);
    command.option("--tags", options->tags, "Only with info tags, or only without; by default both")
        .among({"on", "off"});
    command.option("--samples", options->samples, "How many reports to measure for each row")
        .type("NUMBER")
        .range(1, 10000)
        .showsDefault();
    command.flag("--headless", options->headless, "Use a screen of its own, which nobody sees");
    command.option("--size", options->size, "Use such a screen of this size, such as 1920x1080")
        .type("WIDTHxHEIGHT")
        .check(faultOf);
    command.option("-o,--output", options->output, "Also draw the distributions into this file, as an SVG")
        .type("OUT.svg");
    command.flag("--json", options->json, "Print one JSON object");
    command.run([options] { return run(*options); });
}

} // namespace lab
