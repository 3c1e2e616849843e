#pragma once

#include "scenarioreader.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <sstream>
#include <string>

/// What the tests that read scenarios share.
namespace scenario_testing {

inline const std::string version_line = "{\"type\":\"scenario\",\"version\":1}\n";
inline const std::string board_line = "{\"type\":\"device\",\"kind\":1,\"board\":1,\"info\":\"xp<4>\"}\n";

struct Reading
{
    std::optional<boardsim::Scenario> scenario;
    std::string error;
};

inline Reading read(const std::string &text)
{
    std::istringstream in(text);
    Reading reading;
    reading.scenario = boardsim::readScenario(in, "play.jsonl", reading.error);
    return reading;
}

/// A row is named by its first text.
inline std::string row_name(const testing::TestParamInfo<std::array<const char *, 3>> &info)
{
    return info.param[0];
}

} // namespace scenario_testing
