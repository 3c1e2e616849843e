#pragma once

#include "commands/commandline.h"
#include "grading/report.h"

#include <optional>
#include <string>
#include <vector>

namespace lab {

/// Adds --size and --profile.
void addGradingOptions(const Command &command, std::string &size, std::string &profile);

/// What a recording is held against, as the command line says.
struct Grading
{
    std::optional<grading::BoardSize> size;
    std::optional<grading::Profile> profile;

    /// Takes in --size and --profile; empty texts for what was not given. False if one makes no sense, which
    /// one line on standard error then tells.
    bool read(const std::string &sizeText, const std::string &profileName);
};

/// Measures a recording. Nothing if it cannot be read or is at fault, which one line on standard error then
/// tells. Keeps a pointer to the profile of @p grading. @p sink gets every contact.
std::optional<grading::Report> measure(const std::string &file, const Grading &grading,
                                       grading::Analysis::ContactSink sink = {});

/// The recordings that a command line names: files, and those in folders and the folders in them, by name.
std::vector<std::string> recordingsOf(const std::vector<std::string> &names);

} // namespace lab
