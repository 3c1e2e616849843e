#pragma once

#include "accept/steps.h"

#include <string>
#include <vector>

namespace acceptance {

// What each step has seen, and whether that is right. All are pure functions of what they are given.

Finding judgeRest(const Seen &seen, const Setting &setting);
Finding judgeTargets(const Seen &seen, const Setting &setting);
Finding judgeBar(const Seen &seen, const Setting &setting);
Finding judgeGrid(const Seen &seen, const Setting &setting);
Finding judgeDiagonals(const Seen &seen, const Setting &setting);
Finding judgeFingers(const Seen &seen, const Setting &setting);
Finding judgeDrumming(const Seen &seen, const Setting &setting);
Finding judgeWriting(const Seen &seen, const Setting &setting);
Finding judgeWiping(const Seen &seen, const Setting &setting);
Finding judgePlugging(const Seen &seen, const Setting &setting);

/// The length of the way that a contact has gone, in the unit of the scale.
double travelOf(const Stroke &stroke, const Scale &scale);
/// The mean of its samples.
Place centreOf(const Stroke &stroke);
/// A number with one decimal: "3.5".
std::string decimal(double value);
/// "3.5 px".
std::string lengthText(double length, const Setting &setting);
/// What a calibration could undo, in a sentence for the setting's audience.
std::string mappingText(const Mapping &mapping, const Setting &setting);

} // namespace acceptance
