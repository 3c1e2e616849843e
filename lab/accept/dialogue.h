#pragma once

#include "accept/steps.h"

#include <string>
#include <vector>

namespace acceptance {

/// What has become of a step.
enum class Result { right, wrong, skipped };

/// "right", "wrong" or "skipped", in English.
const char *nameOf(Result result);

struct StepOutcome
{
    const Step *step = nullptr;
    Result result = Result::skipped;
    Finding finding; ///< of the last try; empty if there was none
    int tries = 0;
    Finding findingForPrograms = {}; ///< the finding in English
};

/// What an acceptance test has found.
struct Outcome
{
    std::vector<StepOutcome> steps; ///< all, in their order
    Setting setting;                ///< of the last step that was tried

    int count(Result result) const;
    /// Wrong if a step is, else skipped if a step was, else right.
    Result verdict() const;
    /// What the targets say about the board; null if that step was skipped.
    const Finding *targets(lab::Audience audience = lab::Audience::person) const;
};

/// "Accepted: all 10 steps are right." and so on. @p keepsLimits: whether the limits of a profile, if there
/// is one, are kept as well.
std::string verdictText(const Outcome &outcome, bool keepsLimits,
                        lab::Audience audience = lab::Audience::person);

/// Leads a person through the steps, one line at a time. Used on one thread.
class Dialogue
{
public:
    /// What the outside does for a dialogue.
    class Room
    {
    public:
        enum class Event {
            reported, ///< the board may have done something
            typed,    ///< the person has typed a line
            ended     ///< the program, or the person's input, has ended
        };

        virtual ~Room() = default;
        /// Where the window is now, and what is asked of the board.
        virtual Setting setting() = 0;
        virtual void say(const std::string &line) = 0;
        /// A step is complete, and the person may be looking at the window.
        virtual void ring() = 0;
        /// Writes a note into the recording.
        virtual void note(const std::string &text) = 0;
        /// Waits for the next event, and has @p seen follow what the board has done until then.
        virtual Event await(Seen &seen) = 0;
        /// The line that was typed, without blanks around it.
        virtual const std::string &typed() const = 0;
    };

    /// Keeps a reference to @p room.
    explicit Dialogue(Room &room) : m_room(room) { }

    Outcome run();

private:
    enum class Answer { done, repeat, skip, end };

    /// In lines that a terminal shows whole, indented like @p text.
    void say(const std::string &text);
    void introduce(std::size_t number, const Step &step, const Setting &setting);
    Answer attempt(const Step &step, const Setting &setting, StepOutcome &outcome);
    Answer ask(const StepOutcome &outcome);
    Answer lead(std::size_t number, const Setting &setting, StepOutcome &outcome);
    void tell(const StepOutcome &outcome);

    Room &m_room;
    Seen m_seen;
};

} // namespace acceptance
