// Reads any text as a scenario file: it is a scenario, or one line says what is wrong with it. A recording
// that is cut off is both.

#include "fuzzing.h"

#include "scenarioreader.h"

#include <sstream>
#include <string>

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::istringstream text(std::string(reinterpret_cast<const char *>(data), size));
    std::string error;
    const auto scenario = boardsim::readScenario(text, "name", error);
    const std::string remark = ": cut off; read up to the line before"; // a quoted text ends with its mark
    const bool isCutOff = error.size() > remark.size()
        && error.compare(error.size() - remark.size(), remark.size(), remark) == 0;
    require(scenario.has_value() == (error.empty() || isCutOff));
    require(error.empty() || error.compare(0, 5, "name:") == 0);
    require(error.find('\n') == std::string::npos);
    return 0;
}
