#include "commands/measure.h"

#include "commands/files.h"
#include "commands/input.h"
#include "language.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>

namespace lab {

namespace {

namespace fs = std::filesystem;

/// "1660x934", in millimetres.
std::optional<grading::BoardSize> sizeOf(const std::string &text)
{
    grading::BoardSize size;
    const char *const end = text.data() + text.size();
    const auto width = std::from_chars(text.data(), end, size.width);
    if (width.ec != std::errc() || width.ptr == end || *width.ptr != 'x')
        return {};
    const auto height = std::from_chars(width.ptr + 1, end, size.height);
    const auto isLength = [](double length) { return std::isfinite(length) && length > 0; };
    if (height.ec != std::errc() || height.ptr != end || !isLength(size.width) || !isLength(size.height))
        return {};
    return size;
}

} // namespace

void addGradingOptions(const Command &command, std::string &size, std::string &profile)
{
    command.option("--size", size, "The size of the board's area in millimetres, such as 1660x934")
        .type("WIDTHxHEIGHT");
    command
        .option("--profile", profile,
                "What the figures are held against: board, touchscreen, touchpad, robot, or a file")
        .type("NAME|FILE");
}

bool Grading::read(const std::string &sizeText, const std::string &profileName)
{
    if (!profileName.empty()) {
        const std::string file = findProfile(profileName);
        if (file.empty())
            return false;
        grading::ProfileResult result = grading::readProfile(file);
        if (!result.profile) {
            std::fprintf(stderr, "%s\n", result.error.c_str());
            return false;
        }
        profile = std::move(result.profile);
        size = profile->size;
    }
    if (sizeText.empty())
        return true;
    size = sizeOf(sizeText);
    if (!size)
        complain(tr("--size %s is no size in millimetres such as 1660x934"), sizeText.c_str());
    return size.has_value();
}

std::optional<grading::Report> measure(const std::string &file, const Grading &grading,
                                       grading::Analysis::ContactSink sink)
{
    Input input(file);
    grading::Analysis analysis(grading.size, std::move(sink));
    while (input.next())
        analysis.follow(input.line());
    if (!input.tellEnd())
        return {};
    return grading::Report{file, analysis.finish(), grading.size,
                           grading.profile ? &*grading.profile : nullptr};
}

std::vector<std::string> recordingsOf(const std::vector<std::string> &names)
{
    std::vector<std::string> files;
    for (const std::string &name : names) {
        std::error_code error;
        if (!fs::is_directory(name, error)) {
            files.push_back(name);
            continue;
        }
        const auto first = static_cast<std::ptrdiff_t>(files.size());
        for (auto entry = fs::recursive_directory_iterator(name, error);
             !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
            // A rolling recording's parts are no recordings of their own.
            if (entry->is_directory() && entry->path().extension() == ".parts")
                entry.disable_recursion_pending();
            else if (entry->is_regular_file() && entry->path().extension() == ".jsonl")
                files.push_back(entry->path().string());
        }
        std::sort(files.begin() + first, files.end());
        if (error)
            std::fprintf(stderr, tr("%s:0: cannot be read: %s\n"), name.c_str(), error.message().c_str());
    }
    return files;
}

} // namespace lab
