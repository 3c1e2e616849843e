// Usage: program_probe PROGRAM BARE_WINDOW DRIVER_FOLDER FILTER [--quick] [--before PROGRAM]
// Runs the program, and where a floor is wanted the bare window, on the screen that DISPLAY names, on the
// probe's driver, and measures the cases whose names the regular expression FILTER finds. Prints one JSON
// object per case on a line of its own: its name, samples and values. Says on standard error which case runs.
// Pictures are compared with those of another build of the program, where one is given.

#include "cases.h"

#include <cstdio>
#include <exception>
#include <iostream>
#include <regex>

namespace {

int run(const Setting &setting, const std::regex &filter)
{
    std::vector<Case> cases;
    add_latency_cases(cases);
    add_flood_cases(cases);
    add_idle_cases(cases);
    if (!setting.program_before.empty())
        add_picture_cases(cases);
    int status = 0;
    for (const Case &chosen : cases) {
        if (!std::regex_search(chosen.name, filter))
            continue;
        std::fprintf(stderr, "%s\n", chosen.name.c_str());
        try {
            Result result = chosen.run(setting);
            result["name"] = chosen.name;
            std::cout << result.dump() << std::endl;
        } catch (const std::exception &error) {
            std::fprintf(stderr, "program_probe: %s: %s\n", chosen.name.c_str(), error.what());
            status = 1; // the other cases may still tell something
        }
    }
    return status;
}

} // namespace

int main(int argc, char *argv[])
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    bool understood = arguments.size() >= 4;
    bool quick = false;
    std::string before;
    for (std::size_t i = 4; i < arguments.size(); ++i) {
        if (arguments[i] == "--quick")
            quick = true;
        else if (arguments[i] == "--before" && i + 1 < arguments.size())
            before = arguments[++i];
        else
            understood = false;
    }
    if (!understood) {
        std::fputs(
            "usage: program_probe PROGRAM BARE_WINDOW DRIVER_FOLDER FILTER [--quick] [--before PROGRAM]\n",
            stderr);
        return 2;
    }
    try {
        Screen screen;
        return run({{arguments[0], arguments[2]}, {arguments[1], arguments[2]}, screen, before, quick},
                   std::regex(arguments[3]));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "program_probe: %s\n", error.what());
        return 1;
    }
}
