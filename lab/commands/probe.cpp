#include "commands/command.h"
#include "commands/files.h"
#include "commands/probeoptions.h"
#include "language.h"

#include <cstdio>
#include <memory>
#include <string>

#include <unistd.h>

namespace lab {

namespace {

struct ProbeOptions
{
    probe::Wish wish;
    bool json = false;
};

int run(ProbeOptions options)
{
    probe::Wish &wish = options.wish;
    wish.helper = findDriverProbe();
    if (wish.helper.empty())
        return unreadable;
    if (!wish.driver.empty())
        wish.driver = absolute(wish.driver);
    const probe::Answer answer = probe::find(wish, [&wish] { askToTouch(wish.seconds); });
    if (options.json)
        std::printf("%s\n", probe::answerJson(answer).c_str());
    else
        std::fputs(probe::answerText(answer).c_str(), stdout);
    return probe::verdictOf(answer).isReady ? success : findings;
}

} // namespace

void addProbeOptions(const Command &command, probe::Wish &wish)
{
    command.option("--driver", wish.driver, "Try this driver instead of the one that the loader finds")
        .type("PATH")
        .existingFile();
    command.option("--seconds", wish.seconds, "How long to wait for a report; by default 5")
        .type("SECONDS")
        .range(0.0, 86400.0);
    command.option("--patience", wish.patience, "How long the driver may take for one step; by default 10")
        .type("SECONDS")
        .range(0.1, 3600.0);
}

void askToTouch(double seconds)
{
    if (isatty(STDERR_FILENO) != 0)
        std::fprintf(stderr, tr("touch the board: listening for %g s\n"), seconds);
}

void addProbe(CommandLine &lab)
{
    const Command command =
        lab.command("probe", "Say whether driver and board are ready for lanternix, or the one thing to do");
    const auto options = std::make_shared<ProbeOptions>();
    addProbeOptions(command, options->wish);
    command.flag("--json", options->json, "Print one JSON object");
    command.run([options] { return run(*options); });
}

} // namespace lab
