#pragma once

#include "latency/program.h"
#include "latency/screen.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <vector>

/// The arguments of a case.
struct Setting
{
    latency::Paths paths;
    latency::Paths bare_window; ///< a program that does nothing, for floors
    latency::Paths recorded;    ///< the program behind the recorder
    latency::Screen &screen;
    std::string program_before; ///< the build to compare pictures with; may be empty
    bool quick = false;         ///< whether to repeat less often

    /// The same on another screen.
    Setting on(latency::Screen &other) const
    {
        return {paths, bare_window, recorded, other, program_before, quick};
    }
};

/// What a case has measured: {"samples": {NAME: [NUMBER...]}, "values": {NAME: NUMBER}}. The names carry the
/// unit.
using Result = nlohmann::ordered_json;

struct Case
{
    std::string name;
    std::function<Result(const Setting &)> run;
};

void add_latency_cases(std::vector<Case> &cases); ///< from a report to its pixel
void add_flood_cases(std::vector<Case> &cases);   ///< more reports than ticks
void add_mouse_cases(std::vector<Case> &cases);   ///< motions of a mouse beside reports
void add_idle_cases(std::vector<Case> &cases);    ///< the start, and an idle program
void add_size_cases(std::vector<Case> &cases);    ///< larger screens, and contacts of many hands
void add_picture_cases(std::vector<Case> &cases); ///< pictures compared with another build's
