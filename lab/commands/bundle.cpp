#include "commands/archive.h"
#include "commands/command.h"
#include "commands/files.h"
#include "commands/gathering.h"
#include "commands/json.h"
#include "commands/probeoptions.h"
#include "language.h"

#include <cstdio>
#include <iostream>
#include <memory>
#include <string>

namespace lab {

namespace {

struct BundleOptions
{
    std::string output;
    std::string recording;
    probe::Wish wish;
    bool identify = false;
    bool yes = false;
    bool json = false;
};

/// Lists what would be written, on standard error, since standard output is for the result.
void list(const Gathering &gathering)
{
    for (const Piece &piece : gathering.pieces()) {
        if (piece.failure.empty())
            std::fprintf(stderr, tr("%-16s %10lld bytes  %s\n"), piece.name.c_str(), whole(piece.size),
                         tr(piece.what.c_str()));
        else
            // TRANSLATORS: a file, and why it is not in the bundle.
            std::fprintf(stderr, tr("%-16s left out: %s\n"), piece.name.c_str(), tr(piece.failure.c_str()));
    }
}

/// Whether a person agrees. No answer is no.
bool isWanted(const std::string &file)
{
    // TRANSLATORS: the answer yes is the first letter of the text "yes", or y.
    std::fprintf(stderr, tr("write this to %s? [y/N] "), file.c_str());
    std::string answer;
    if (!std::getline(std::cin, answer))
        std::fputc('\n', stderr);
    const std::string yes = tr("yes");
    return answer == "y" || answer == "Y" || answer == "yes" || answer == yes || answer == yes.substr(0, 1);
}

bool write(const Gathering &gathering, const std::string &file)
{
    Archive archive(file);
    for (const Piece &piece : gathering.pieces()) {
        if (piece.failure.empty())
            archive.add("lanternix-bundle/" + piece.name, gathering.pathOf(piece));
    }
    return archive.finish();
}

void tell(const BundleOptions &options, const Gathering &gathering, const std::string &file)
{
    if (file == "-")
        return; // the bundle is there itself
    if (!options.json) {
        std::printf("%s\n", file.c_str());
        return;
    }
    Json contents = Json::array();
    for (const Piece &piece : gathering.pieces()) {
        if (piece.failure.empty())
            contents.push_back({{"name", piece.name}, {"size", piece.size}});
        else
            contents.push_back({{"name", piece.name}, {"failure", piece.failure}});
    }
    const Json json{{"version", 1}, {"file", file}, {"contents", contents}};
    std::printf("%s\n", json.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
}

int bundle(BundleOptions &options)
{
    options.wish.helper = findDriverProbe();
    if (options.wish.helper.empty())
        return unreadable;
    if (!options.wish.driver.empty())
        options.wish.driver = absolute(options.wish.driver);
    const std::string file =
        options.output.empty() ? namedAfterTime("lanternix-bundle-", ".tar.zst") : options.output;
    Gathering gathering(options.wish, options.identify);
    gathering.gather(options.recording, [&options] { askToTouch(options.wish.seconds); });
    if (!options.yes) {
        list(gathering);
        if (!isWanted(file)) {
            complain(tr("nothing is written"));
            return findings;
        }
    }
    if (!write(gathering, file))
        return unreadable;
    tell(options, gathering, file);
    return success;
}

} // namespace

void addBundle(CommandLine &lab)
{
    const Command command = lab.command(
        "bundle", "Pack what whoever looks for the fault needs to know into one file, after asking");
    const auto options = std::make_shared<BundleOptions>();
    command
        .option("RECORDING", options->recording,
                "A recording to put in, or a folder with its parts; by default what a rolling recording that "
                "goes on has kept")
        .existingPath();
    command.option("-o,--output", options->output, "The file to write; by default one named after the time")
        .type("FILE");
    addProbeOptions(command, options->wish);
    command.flag("--identify", options->identify,
                 "Leave home folders, the host's name and serial numbers in");
    command.flag("--yes", options->yes, "Write without asking");
    command.flag("--json", options->json, "Print one JSON object");
    command.run([options] { return bundle(*options); });
}

} // namespace lab
