#include "commands/command.h"
#include "commands/files.h"
#include "commands/json.h"
#include "commands/recordingsocket.h"
#include "language.h"

#include "capture/parts.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include <sys/socket.h>
#include <unistd.h>

namespace lab {

namespace {

namespace fs = std::filesystem;

struct KeepOptions
{
    std::string capture; ///< a recording that has ended; empty for the one that goes on
    std::string output;
    bool json = false;
};

int tell(const KeepOptions &options, const std::string &file, std::int64_t reports, std::int64_t time)
{
    const double seconds = static_cast<double>(time) / 1e6;
    if (file == "-")
        return success; // the recording is there itself
    if (options.json)
        std::printf("%s\n", Json{{"file", file}, {"reports", reports}, {"seconds", seconds}}.dump().c_str());
    else
        std::printf(trCount("%s: %lld reports, %.1f s\n", reports), file.c_str(), whole(reports), seconds);
    return success;
}

int refuse(const std::string &error)
{
    std::fprintf(stderr, "%s\n", error.c_str());
    return unreadable;
}

int keepEnded(const KeepOptions &options)
{
    std::error_code ignored;
    const bool isFolder = fs::is_directory(options.capture, ignored);
    const std::string folder = isFolder ? options.capture : capture::partsFolder(options.capture);
    if (options.output.empty() && isFolder)
        return refuse("lanternix-lab: " + std::string(tr("-o FILE names what is to be made of a folder")));
    if (options.output.empty() && fs::exists(options.capture, ignored))
        return refuse(options.capture + ":0: " + tr("exists already; -o FILE names another one"));
    const std::string output = options.output.empty() ? options.capture : options.output;
    const capture::Kept kept = capture::joinParts(folder, output);
    if (!kept.error.empty())
        return refuse(kept.error);
    return tell(options, output, kept.reports, kept.time);
}

/// The recorder's answer, which comes between the lines of the recording; null if there is none.
Json awaitAnswer(int connection)
{
    std::string received;
    char block[1 << 16];
    for (ssize_t count = 0; (count = read(connection, block, sizeof block)) != 0;) {
        if (count < 0 && errno != EINTR)
            return {};
        received.append(block, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        for (std::size_t end = 0; (end = received.find('\n')) != std::string::npos;
             received.erase(0, end + 1)) {
            if (received.compare(0, 14, R"({"type":"kept")") == 0)
                return Json::parse(received.begin(), received.begin() + static_cast<std::ptrdiff_t>(end),
                                   nullptr, false);
        }
    }
    return {};
}

int keepRunning(const KeepOptions &options)
{
    if (options.output == "-")
        return refuse("lanternix-lab: "
                      + std::string(tr("a recording that goes on is saved to a file; -o FILE names it")));
    const int connection = connectToRecording({});
    if (connection < 0)
        return unreadable;
    const std::string file = options.output.empty() ? "" : absolute(options.output);
    const std::string wish =
        Json{{"type", "keep"}, {"file", file}}.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
    const bool isSent =
        send(connection, wish.data(), wish.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(wish.size());
    const Json answer = isSent ? awaitAnswer(connection) : Json();
    close(connection);
    if (!answer.is_object())
        return refuse("lanternix-lab: "
                      + std::string(tr("the recording has ended before it was saved, or has eight readers")));
    if (answer.contains("error"))
        return refuse("lanternix-lab: " + answer.value("error", ""));
    return tell(options, answer.value("file", ""), answer.value("reports", std::int64_t(0)),
                answer.value("time", std::int64_t(0)));
}

} // namespace

void addKeep(CommandLine &lab)
{
    const Command command = lab.command("keep", "Save what a rolling recording has kept");
    const auto options = std::make_shared<KeepOptions>();
    command.option("FILE", options->capture,
                   "A rolling recording that has ended, or a folder with its parts; by default the "
                   "recording that goes on");
    command
        .option("-o,--output", options->output, "The file to write; by default one named after the recording")
        .type("FILE");
    command.flag("--json", options->json, "Print a JSON object");
    command.run([options] { return options->capture.empty() ? keepRunning(*options) : keepEnded(*options); });
}

} // namespace lab
