#include "grading/handbacks.h"

#include "hardware/reportlayout.h"
#include "language.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

namespace grading {

namespace {

using capture::Contact;
using capture::ReportKind;
using lab::format;
using lab::tr;
using lab::trLater;

/// A recording has lines of one moment in any order, and the program hands back on two threads.
constexpr std::int64_t disorder = 300'000; // microseconds
/// How long the program may take to hand a contact back.
constexpr std::int64_t patience = 2'000'000;
/// The same at the end of a recording.
constexpr std::int64_t patienceAtEnd = 100'000;
constexpr std::size_t mostStates = 4096; // of a contact that are kept
constexpr std::size_t mostComplaints = 20;

} // namespace

void Handbacks::report(const capture::Report &report, std::int64_t at)
{
    judgeReturns(at - disorder);
    if (report.kind != ReportKind::pen && report.kind != ReportKind::touch)
        return;
    // The program's buffer holds no more of them.
    const bool isJudged =
        report.contacts.size() <= static_cast<std::size_t>(reportlayout::systemReport::maxContacts);
    for (const Contact &contact : report.contacts)
        add({report.kind, contact.id}, contact, at, isJudged);
}

void Handbacks::add(const Key &key, const Contact &contact, std::int64_t at, bool isJudged)
{
    std::deque<Life> &lives = m_lives[key];
    settle(key, lives, at);
    if (lives.empty() || lives.back().hasEnded) {
        if (!contact.down)
            return; // a pen in the air, or the lift of nothing
        lives.emplace_back();
        lives.back().from = at;
    }
    Life &life = lives.back();
    life.to = at;
    life.hasEnded = !contact.down;
    life.isJudged = life.isJudged && isJudged;
    if (life.isOwn || life.isWrong)
        return;
    if (!life.states.empty()) {
        State &last = life.states.back();
        if (last.x == contact.x && last.y == contact.y && last.down == contact.down) {
            ++last.times;
            return;
        }
    }
    life.states.push_back({contact.x, contact.y, contact.down, at});
    if (life.states.size() <= mostStates)
        return;
    if (life.isSent)
        complain(key, life, at, trLater("was no longer handed back"));
    life.isOwn = true;
    life.states.clear();
}

void Handbacks::handback(const capture::SystemReport &report, std::int64_t at)
{
    ++m_handbacks;
    if (report.kind == ReportKind::pen || report.kind == ReportKind::touch)
        m_returns.push_back({report, at});
}

void Handbacks::judgeReturns(std::int64_t now)
{
    for (; !m_returns.empty() && m_returns.front().at <= now; m_returns.pop_front()) {
        const auto &[report, at] = m_returns.front();
        for (const Contact &contact : report.contacts)
            judge({report.kind, contact.id}, contact, at);
    }
}

void Handbacks::judge(const Key &key, const Contact &contact, std::int64_t at)
{
    std::deque<Life> &lives = m_lives[key];
    for (Life &life : lives) {
        if (accepts(life, contact))
            return;
    }
    // The lift of a pen in the air, or of nothing, is no contact's.
    if (!contact.down || lives.empty())
        return;
    Life &life = lives.back();
    if (life.isWrong || !life.isJudged)
        return;
    complain(key, life, at,
             life.isSent ? trLater("was handed back out of order or twice") : trLater("changed sides"));
}

bool Handbacks::accepts(Life &life, const Contact &contact)
{
    const auto isSame = [&contact](const State &state) {
        return state.x == contact.x && state.y == contact.y && state.down == contact.down;
    };
    if (life.states.empty() || life.isWrong)
        return life.isWrong;
    if (!life.isSent) {
        // What a recording begins with may have been handed back before it began.
        const auto first = life.from == 0 ? std::find_if(life.states.begin(), life.states.end(), isSame)
                                          : life.states.begin();
        if (first == life.states.end() || !isSame(*first))
            return false;
        life.isSent = true;
        ++m_contacts;
        life.states.erase(life.states.begin(), first);
    } else if (!isSame(life.states.front()) || life.states.front().sent == life.states.front().times) {
        if (life.states.size() < 2 || !isSame(life.states[1]))
            return false;
        life.states.pop_front();
    }
    ++life.states.front().sent;
    return true;
}

/// Judges what no hand-back can change any more.
void Handbacks::settle(const Key &key, std::deque<Life> &lives, std::int64_t now)
{
    while (!lives.empty() && lives.front().hasEnded && lives.front().to < now - patience) {
        judgeEnd(key, lives.front(), now);
        lives.pop_front();
    }
}

void Handbacks::judgeEnd(const Key &key, Life &life, std::int64_t now)
{
    if (!life.isSent || life.isWrong || !life.isJudged || life.states.size() < 2)
        return;
    if (life.states[1].at <= now)
        complain(key, life, life.states[1].at, trLater("was not handed back to its end"));
}

void Handbacks::finish(std::int64_t at)
{
    judgeReturns(at);
    for (auto &[key, lives] : m_lives) {
        for (Life &life : lives)
            judgeEnd(key, life, at - patienceAtEnd);
    }
    m_lives.clear();
}

void Handbacks::complain(const Key &key, Life &life, std::int64_t at, const char *what)
{
    life.isWrong = true;
    ++m_violations;
    if (m_complaints.size() == mostComplaints)
        return;
    // TRANSLATORS: a time, "touch" or "pen", its number, the time since which it was down, and what went
    // wrong.
    m_complaints.push_back(format(tr("%.6f s: %s %d, down since %.6f s, %s"), static_cast<double>(at) / 1e6,
                                  capture::kindText(key.first), key.second,
                                  static_cast<double>(life.from) / 1e6, tr(what)));
}

} // namespace grading
