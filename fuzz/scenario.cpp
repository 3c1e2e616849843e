// Reads any text as a scenario file: it is either a scenario, or one line says what is wrong with it.

#include "fuzzing.h"

#include "scenarioreader.h"

#include <sstream>
#include <string>

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::istringstream text(std::string(reinterpret_cast<const char *>(data), size));
    std::string error;
    const auto scenario = boardsim::readScenario(text, "name", error);
    require(scenario.has_value() == error.empty());
    require(error.empty() || error.compare(0, 5, "name:") == 0);
    require(error.find('\n') == std::string::npos);
    return 0;
}
