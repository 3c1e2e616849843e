#pragma once

#include "grading/analysis.h"
#include "grading/figures.h"

#include <optional>
#include <string>
#include <vector>

namespace grading {

/// What a figure must keep.
struct Limit
{
    std::string key;
    bool isHighest = true; ///< the figure must not be above the value, else not below it
    double value = 0;
    double soft = 0; ///< over this much more, the score falls from 1 to 0
    std::string source;
    std::string sentence; ///< of the source
};

/// What a board must be able to do, and perhaps its size. It is a JSON file; docs/report.md describes it.
struct Profile
{
    std::string name;
    std::string title;
    std::optional<BoardSize> size;
    std::vector<Limit> limits;

    /// Null if the profile has none for this figure.
    const Limit *limitOf(std::string_view key) const;
};

/// A profile, or why there is none.
struct ProfileResult
{
    std::optional<Profile> profile;
    std::string error; ///< "file:line: cause"
};

ProfileResult readProfile(const std::string &file);
/// @p text is the content of @p name.
ProfileResult parseProfile(const std::string &text, const std::string &name);

enum class Verdict { pass, fail, notGraded };

/// "pass", "fail" or "not graded".
std::string_view nameOf(Verdict verdict);

/// What a profile says of one figure.
struct Grade
{
    Verdict verdict = Verdict::notGraded;
    std::optional<double> score;  ///< 0 to 1
    const Limit *limit = nullptr; ///< the profile's
};

/// A figure without a limit, or that could not be measured, is not graded.
Grade gradeOf(const Figures &figures, std::string_view key, const Profile *profile);

/// How many limits of a profile a recording keeps.
struct Total
{
    int passed = 0;
    int failed = 0;
    int notGraded = 0;
    /// Fail if one is not kept; not graded if none could be judged.
    Verdict verdict() const;
};

Total totalOf(const Figures &figures, const Profile *profile);

} // namespace grading
