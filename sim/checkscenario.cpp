// Usage: check-scenario FILE
// Says whether the simulated driver would play this scenario. Needs neither the program nor a display.

#include "scenarioreader.h"

#include <cstdio>
#include <string>

int main(int argc, char *argv[])
{
    if (argc != 2) {
        std::fprintf(stderr, "check-scenario: needs one file\n");
        return 2;
    }
    std::string error;
    const bool good = boardsim::readScenarioFile(argv[1], error).has_value();
    if (!error.empty())
        std::fprintf(stderr, "%s\n", error.c_str());
    if (!good)
        return 1;
    std::printf("%s: good\n", boardsim::oneLine(argv[1]).c_str());
    return 0;
}
