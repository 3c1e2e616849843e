#include "accept/dialogue.h"

#include "language.h"

#include <algorithm>
#include <utility>

namespace acceptance {

namespace {

using Event = Dialogue::Room::Event;
using lab::Audience;
using lab::format;
using lab::tr;
using lab::trCount;
using lab::trLater;
using lab::whole;

constexpr std::size_t widest = 76; ///< characters behind the indent, for a terminal of 80 columns

/// @p text in lines that end between words.
std::vector<std::string> wrapped(std::string text)
{
    std::vector<std::string> lines;
    while (text.size() > widest) {
        const std::size_t blank = text.rfind(' ', widest);
        if (blank == std::string::npos)
            break;
        lines.push_back(text.substr(0, blank));
        text.erase(0, blank + 1);
    }
    lines.push_back(text);
    return lines;
}

} // namespace

const char *nameOf(Result result)
{
    switch (result) {
    case Result::right:
        return trLater("right");
    case Result::wrong:
        return trLater("wrong");
    case Result::skipped:
        break;
    }
    return trLater("skipped");
}

int Outcome::count(Result result) const
{
    const auto is = [result](const StepOutcome &step) { return step.result == result; };
    return static_cast<int>(std::count_if(steps.begin(), steps.end(), is));
}

Result Outcome::verdict() const
{
    if (count(Result::wrong) > 0)
        return Result::wrong;
    return count(Result::skipped) > 0 ? Result::skipped : Result::right;
}

const Finding *Outcome::targets(Audience audience) const
{
    for (const StepOutcome &step : steps) {
        if (step.result != Result::skipped && !step.finding.touched.empty())
            return audience == Audience::person ? &step.finding : &step.findingForPrograms;
    }
    return nullptr;
}

std::string verdictText(const Outcome &outcome, bool keepsLimits, Audience audience)
{
    const auto all = static_cast<std::int64_t>(outcome.steps.size());
    const int wrong = outcome.count(Result::wrong);
    const int skipped = outcome.count(Result::skipped);
    std::vector<std::string> parts;
    if (wrong > 0)
        parts.push_back(
            format(trCount("%d of %lld steps are not right", wrong, audience), wrong, whole(all)));
    if (skipped > 0)
        parts.push_back(
            format(trCount("%d of %lld steps were skipped", skipped, audience), skipped, whole(all)));
    if (parts.empty())
        parts.push_back(format(trCount("all %lld steps are right", all, audience), whole(all)));
    if (!keepsLimits)
        parts.emplace_back(tr("limits of the profile are not kept", audience));
    std::string text;
    for (const std::string &part : parts)
        text += (text.empty() ? "" : ", ") + part;
    if (outcome.verdict() == Result::wrong || !keepsLimits)
        // TRANSLATORS: the verdict, and why: "2 of 10 steps were skipped", for example.
        return format(tr("Not accepted: %s.", audience), text.c_str());
    return format(outcome.verdict() == Result::right ? tr("Accepted: %s.", audience)
                                                     : tr("Not complete: %s.", audience),
                  text.c_str());
}

void Dialogue::say(const std::string &text)
{
    const std::size_t indent = std::min(text.find_first_not_of(' '), text.size());
    for (const std::string &line : wrapped(text.substr(indent)))
        m_room.say(text.substr(0, indent) + line);
}

Outcome Dialogue::run()
{
    const std::vector<Step> &all = steps();
    Outcome outcome{{}, m_room.setting()};
    for (const Step &step : all)
        outcome.steps.push_back({&step, Result::skipped, {}, 0, {}});
    say(format(tr("Acceptance test of a board, %zu steps."), all.size()));
    say(tr("The window covers the screen; Alt and Tab lead from it to this terminal and back."));
    say(tr("A step ends by itself, with a beep, when it has seen enough."));
    say(tr("If a key in the window turns it white instead, press it once more. Backspace clears what is "
           "drawn."));
    say(tr("Typed here, Enter ends it at once, r begins it again, s skips it, and q ends the test."));
    for (std::size_t i = 0; i < all.size(); ++i) {
        Answer answer = Answer::repeat;
        while (answer == Answer::repeat) {
            outcome.setting = m_room.setting();
            answer = lead(i, outcome.setting, outcome.steps[i]);
        }
        if (answer == Answer::end)
            break;
    }
    say("");
    for (const StepOutcome &step : outcome.steps)
        say(std::string(tr(step.step->title)) + ": " + tr(nameOf(step.result)));
    return outcome;
}

/// One try, and what the person says about it.
Dialogue::Answer Dialogue::lead(std::size_t number, const Setting &setting, StepOutcome &outcome)
{
    const Step &step = *outcome.step;
    introduce(number, step, setting);
    m_room.note("accept: " + std::string(step.key) + " begins");
    Answer answer = attempt(step, setting, outcome);
    m_room.note("accept: " + std::string(step.key) + " ends");
    if (answer == Answer::done) {
        tell(outcome);
        answer = ask(outcome);
    }
    if (answer == Answer::skip) {
        outcome.finding = outcome.findingForPrograms = Finding();
        outcome.result = Result::skipped;
        say(std::string("  ") + tr("Skipped."));
    }
    return answer;
}

void Dialogue::introduce(std::size_t number, const Step &step, const Setting &setting)
{
    say("");
    say(format(tr("Step %zu of %zu: %s"), number + 1, steps().size(), tr(step.title)));
    say(std::string("  ") + tr(step.pattern));
    for (const std::string &line : step.instruction(setting))
        say("  " + line);
}

/// Waits until the step is complete, or the person ends it.
Dialogue::Answer Dialogue::attempt(const Step &step, const Setting &setting, StepOutcome &outcome)
{
    m_seen.begin();
    ++outcome.tries;
    outcome.finding = outcome.findingForPrograms = Finding();
    outcome.result = Result::skipped;
    for (;;) {
        const Event event = m_room.await(m_seen);
        const std::string &typed = m_room.typed();
        if (event == Event::ended || (event == Event::typed && typed == "q"))
            return Answer::end;
        if (event == Event::typed && typed == "s")
            return Answer::skip;
        if (event == Event::typed && typed == "r")
            return Answer::repeat;
        if (event == Event::typed && !typed.empty()) {
            say(std::string("  ") + tr("Enter alone, r, s or q?"));
            continue;
        }
        Finding found = step.judge(m_seen, setting);
        if (event == Event::reported && !found.isComplete)
            continue;
        outcome.finding = std::move(found);
        Setting english = setting;
        english.audience = Audience::program;
        outcome.findingForPrograms = step.judge(m_seen, english);
        outcome.result = outcome.finding.isRight() ? Result::right : Result::wrong;
        if (event == Event::reported)
            m_room.ring();
        return Answer::done;
    }
}

void Dialogue::tell(const StepOutcome &outcome)
{
    for (const std::string &line : outcome.finding.lines)
        say("  " + line);
    for (const std::string &fault : outcome.finding.faults)
        say("  " + format(tr("NOT RIGHT: %s"), fault.c_str()));
    if (outcome.result == Result::right)
        say(std::string("  ") + tr("Right."));
}

/// What is to come behind a step that was judged.
Dialogue::Answer Dialogue::ask(const StepOutcome &outcome)
{
    say(std::string("  ")
        + (outcome.result == Result::right
               ? tr("Enter: go on, r: repeat, s: skip, q: end the test")
               : tr("r: repeat, Enter: leave it so and go on, s: skip, q: end the test")));
    for (;;) {
        const Event event = m_room.await(m_seen);
        if (event == Event::ended)
            return Answer::end;
        if (event != Event::typed)
            continue;
        const std::string &typed = m_room.typed();
        if (typed.empty())
            return Answer::done;
        if (typed == "r")
            return Answer::repeat;
        if (typed == "s")
            return Answer::skip;
        if (typed == "q")
            return Answer::end;
        say(std::string("  ") + tr("Enter alone, r, s or q?"));
    }
}

} // namespace acceptance
