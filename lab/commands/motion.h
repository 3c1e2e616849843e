#pragma once

#include "capture/contacts.h"
#include "capture/line.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace lab {

/// Finds the reports in which contacts only move, so that a run of them can be told in one line. Used on one
/// thread.
class Motion
{
public:
    /// Whether @p report tells no more than its board's last one of that kind, but for positions and sizes.
    /// Then it is counted into the board's run.
    bool takes(const capture::Line &line, const capture::Report &report);

    /// Ends all runs: a line each, with the time of the last report, in the order in which they began.
    std::vector<std::string> end();

private:
    struct Run
    {
        std::int64_t count = 0;
        std::int64_t order = 0;
        std::int64_t first = 0; ///< microseconds, as the next
        std::int64_t last = 0;
        std::string text; ///< of the last report, with its time
    };
    using Source = std::pair<int, capture::ReportKind>; ///< a board, and what it reports
    using State = std::vector<std::pair<int, int>>;     ///< contacts and what they do, as told last

    std::map<Source, State> m_states;
    std::map<Source, Run> m_runs;
    std::int64_t m_started = 0;
};

} // namespace lab
