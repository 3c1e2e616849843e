#pragma once

#include "capture/contacts.h"
#include "capture/systemreport.h"

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace grading {

/// Holds what the program has handed back to the operating system against what the boards have reported. Each
/// contact goes to one side for its whole life: every change of it is handed back, in order and once, or
/// none. A hand-back does not tell its board, so that boards share identifiers here as they do there. Used on
/// one thread.
class Handbacks
{
public:
    /// A report of a board, decoded.
    void report(const capture::Report &report, std::int64_t at);
    /// A report that the program has handed back, decoded.
    void handback(const capture::SystemReport &report, std::int64_t at);
    /// The recording has ended, at the time of its last line.
    void finish(std::int64_t at);

    std::int64_t handbacks() const { return m_handbacks; }
    /// Contacts that were handed back.
    std::int64_t contacts() const { return m_contacts; }
    /// Contacts that were not handed back as a whole.
    std::int64_t violations() const { return m_violations; }
    /// What was wrong with the first ones, a line each.
    const std::vector<std::string> &complaints() const { return m_complaints; }

private:
    struct State ///< of a contact
    {
        int x = 0;
        int y = 0;
        bool down = false;
        std::int64_t at = 0;    ///< when it was reported first
        std::int64_t times = 1; ///< it was reported in a row
        std::int64_t sent = 0;  ///< times
    };
    struct Life
    {
        std::int64_t from = 0;
        std::int64_t to = 0;      ///< of its newest state
        std::deque<State> states; ///< the last one that was handed back, and all behind it
        bool isSent = false;      ///< whether a state was handed back
        bool isOwn = false;       ///< so long without a hand-back that none will come
        bool isWrong = false;
        bool isJudged = true;
        bool hasEnded = false;
    };
    using Key = std::pair<capture::ReportKind, int>; ///< kind, identifier
    struct Return                                    ///< a report that is held against the contacts later
    {
        capture::SystemReport report;
        std::int64_t at = 0;
    };

    void add(const Key &key, const capture::Contact &contact, std::int64_t at, bool isJudged);
    void judgeReturns(std::int64_t now);
    void judge(const Key &key, const capture::Contact &contact, std::int64_t at);
    bool accepts(Life &life, const capture::Contact &contact);
    void settle(const Key &key, std::deque<Life> &lives, std::int64_t now);
    void judgeEnd(const Key &key, Life &life, std::int64_t now);
    void complain(const Key &key, Life &life, std::int64_t at, const char *what);

    std::map<Key, std::deque<Life>> m_lives;
    std::deque<Return> m_returns;
    std::int64_t m_handbacks = 0;
    std::int64_t m_contacts = 0;
    std::int64_t m_violations = 0;
    std::vector<std::string> m_complaints;
};

} // namespace grading
