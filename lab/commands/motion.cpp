#include "commands/motion.h"

#include "commands/eventtext.h"
#include "language.h"

#include <algorithm>

namespace lab {

bool Motion::takes(const capture::Line &line, const capture::Report &report)
{
    if (report.contacts.empty())
        return false;
    const Source source{line.board, report.kind};
    State state;
    for (const capture::Contact &contact : report.contacts)
        state.emplace_back(contact.id,
                           (contact.down ? 1 : 0) | (contact.button ? 2 : 0) | (contact.bit2 ? 4 : 0));
    State &former = m_states[source];
    const bool onlyMoves = former == state;
    former = std::move(state);
    if (!onlyMoves)
        return false;

    Run &run = m_runs[source];
    if (run.count == 0) {
        run.order = m_started++;
        run.first = line.at.value_or(0);
    }
    ++run.count;
    run.last = line.at.value_or(run.last);
    run.text = timeText(line) + "  " + reportText(line, report);
    return true;
}

std::vector<std::string> Motion::end()
{
    std::vector<Run> runs;
    for (auto &[source, run] : m_runs)
        runs.push_back(std::move(run));
    m_runs.clear();
    std::sort(runs.begin(), runs.end(), [](const Run &a, const Run &b) { return a.order < b.order; });

    std::vector<std::string> lines;
    for (const Run &run : runs) {
        std::string told;
        const double seconds = static_cast<double>(run.last - run.first) / 1e6;
        if (run.count > 1 && seconds > 0)
            told = format(trCount("  [%lld reports of motion, %.1f a second]", run.count), whole(run.count),
                          static_cast<double>(run.count - 1) / seconds);
        else if (run.count > 1)
            told = format(trCount("  [%lld reports of motion]", run.count), whole(run.count));
        lines.push_back(run.text + told);
    }
    return lines;
}

} // namespace lab
