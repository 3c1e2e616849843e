#pragma once

#include "capture/fastline.h"
#include "capture/line.h"

#include "scenariolines.h"

#include <cstdint>
#include <set>
#include <string>
#include <string_view>

namespace capture {

/// Reads the lines of a recording or a scenario, one after the other, wherever they come from. Says the same
/// about every line as the simulated board that plays it. Used on one thread.
class LineParser
{
public:
    enum class Result {
        line,    ///< line() holds it
        nothing, ///< blank, or a comment
        cutOff,  ///< the beginning of a line; nothing can follow
        wrong    ///< fault() says why; nothing can follow
    };

    /// @p text, without its newline, is followed by readable padding; @p isWhole: whether a newline ended it.
    Result parse(std::string_view text, std::int64_t number, bool isWhole);
    /// To be called behind the last line: whether what only the end can show is right.
    bool finish();

    const Line &line() const { return m_line; }
    const std::string &fault() const { return m_scenario.error(); }
    int faultLine() const { return m_scenario.errorLine(); }

private:
    bool isFast(std::string_view text);
    void describe(const boardsim::Scenario &parsed);

    FastLine m_fast;
    boardsim::ScenarioLines m_scenario;
    std::set<int> m_boards; ///< that a device line has declared
    std::string m_copy;     ///< of a line that is read slowly
    Line m_line;
    bool m_started = false;
};

} // namespace capture
