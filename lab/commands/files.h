#pragma once

#include <string>

namespace lab {

/// @p path from the root, whether the file exists or not.
std::string absolute(const std::string &path);
std::string folderOf(const std::string &path);
/// @p before, the local time, @p after: "lanternix-2026-11-22-153012.jsonl". The time tells files of a day
/// apart.
std::string namedAfterTime(const std::string &before, const std::string &after);

// Where the parts of the project are: beside the command if that is installed, else in its build folder. Each
// returns an absolute path, or says in one line on standard error what is missing, and returns nothing.

/// The recording driver.
std::string findRecorder();
/// The driver that delivers reports at given times.
std::string findLatencyDriver();
/// The driver that plays scenarios.
std::string findSimulatedDriver();
/// The driver that plays scenarios and misbehaves on request.
std::string findHostileDriver();
/// The board maker's driver: @p given if that is not empty, else the one that the loader finds.
std::string findDriver(const std::string &given);
/// The part of the command probe that opens a driver.
std::string findDriverProbe();
/// lanternix.
std::string findProgram();
/// A scenario of the simulated board by its file's name.
std::string findScenario(const std::string &name);
/// This command itself, which there always is.
std::string ownPath();
/// The file of a profile: @p name itself if it is a path, else the installed one of that name.
std::string findProfile(const std::string &name);

} // namespace lab
