// Usage: program_probe PROGRAM BARE_WINDOW DRIVER_FOLDER RECORDER_FOLDER FILTER [--list] [--quick] [--before
// PROGRAM] Runs the program, and the bare window for floors, with the probe's driver on the screen that
// DISPLAY names, and measures the cases whose names match the regular expression FILTER. Prints one line with
// a JSON object per case: its name, samples and values. --list prints the names instead. --before names
// another build of the program to compare pictures with.

#include "cases.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <iostream>
#include <iterator>
#include <regex>
#include <stdexcept>

using namespace latency;

namespace {

std::vector<Case> chosen_cases(const std::regex &filter, bool with_pictures)
{
    std::vector<Case> all;
    add_latency_cases(all);
    add_flood_cases(all);
    add_mouse_cases(all);
    add_idle_cases(all);
    add_size_cases(all);
    if (with_pictures)
        add_picture_cases(all);
    std::vector<Case> chosen;
    std::copy_if(all.begin(), all.end(), std::back_inserter(chosen),
                 [&](const Case &one) { return std::regex_search(one.name, filter); });
    return chosen;
}

int run(const Setting &setting, const std::vector<Case> &cases)
{
    int status = 0;
    for (const Case &chosen : cases) {
        try {
            Result result = chosen.run(setting);
            result["name"] = chosen.name;
            std::cout << result.dump() << std::endl;
        } catch (const std::exception &error) {
            std::fprintf(stderr, "program_probe: %s: %s\n", chosen.name.c_str(), error.what());
            status = 1; // the other cases are still worth measuring
        }
    }
    return status;
}

} // namespace

int main(int argc, char *argv[])
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    bool understood = arguments.size() >= 5;
    bool list = false;
    bool quick = false;
    std::string before;
    for (std::size_t i = 5; i < arguments.size(); ++i) {
        if (arguments[i] == "--list")
            list = true;
        else if (arguments[i] == "--quick")
            quick = true;
        else if (arguments[i] == "--before" && i + 1 < arguments.size())
            before = arguments[++i];
        else
            understood = false;
    }
    if (!understood) {
        std::fputs("usage: program_probe PROGRAM BARE_WINDOW DRIVER_FOLDER RECORDER_FOLDER FILTER [--list] "
                   "[--quick] [--before PROGRAM]\n",
                   stderr);
        return 2;
    }
    try {
        const std::vector<Case> cases = chosen_cases(std::regex(arguments[4]), !before.empty());
        if (list) {
            for (const Case &chosen : cases)
                std::puts(chosen.name.c_str());
            return 0;
        }
        if (cases.empty())
            throw std::runtime_error("no case is called " + arguments[4]);
        Screen screen;
        const Paths recorded{arguments[0], arguments[3], arguments[2]};
        return run(
            {{arguments[0], arguments[2]}, {arguments[1], arguments[2]}, recorded, screen, before, quick},
            cases);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "program_probe: %s\n", error.what());
        return 1;
    }
}
