#pragma once

#include "grading/analysis.h"

#include <optional>
#include <string_view>
#include <vector>

namespace grading {

enum class Change { better, worse, notShown };

/// "better", "worse" or "no difference shown".
std::string_view nameOf(Change change);

/// The difference between two recordings in one figure: that of the means over contacts (or reports), with
/// the interval in which 95 percent of bootstrap resamples lie. It tells chance from change only where both
/// have five contacts or more.
struct Difference
{
    std::string_view key;
    Change change = Change::notShown;
    std::optional<double> mean; ///< second less first; nothing if it cannot be told
    double low = 0;
    double high = 0;
};

/// One for each figure that either of the two has.
std::vector<Difference> compare(const Summary &before, const Summary &after);

} // namespace grading
