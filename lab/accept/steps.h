#pragma once

#include "accept/calibration.h"
#include "accept/geometry.h"
#include "accept/seen.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace acceptance {

/// What is known before the first step, and what the board must keep. Lengths are in the unit of the scale.
struct Setting
{
    /// @p width and @p height of the board in millimetres, or 0 if they are not known.
    Setting(const Frame &where, double width, double height);

    Frame frame;
    Scale scale;
    lab::Audience audience = lab::Audience::person; ///< for whom findings are told
    int fingers = 10;                               ///< that the board must tell apart
    Limits targets;       ///< how far places may be from the targets that a person taps
    Limits lines;         ///< how far a stroke along a ruler may be from its line
    double stillness = 0; ///< how far a resting finger may wander, from end to end
    double drumming = 0;  ///< how far from the places of two fingers a contact may be that taps them in turn
};

/// What a step has seen.
struct Finding
{
    std::vector<std::string> lines;  ///< what there was, with numbers
    std::vector<std::string> faults; ///< what is not right
    std::map<std::string, double> figures;
    std::vector<Touched> touched; ///< of the step with targets, as the next two
    std::vector<std::string> missed;
    std::optional<Calibration> calibration;
    bool isComplete = false; ///< whether nothing more is asked of the person

    bool isRight() const { return faults.empty(); }
};

/// What a step is told by, and judged.
struct Step
{
    const char *key;   ///< a name for programs
    const char *title; ///< in English, as the next
    /// What to press in the window, from the state in which the step before has left it.
    const char *pattern;
    /// A paragraph, and perhaps a drawing line by line.
    std::vector<std::string> (*instruction)(const Setting &setting);
    Finding (*judge)(const Seen &seen, const Setting &setting);
};

/// All of them, in their order.
const std::vector<Step> &steps();

} // namespace acceptance
