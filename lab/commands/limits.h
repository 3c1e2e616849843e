#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace lab {

/// A limit that a person has set for a figure: "KEY>VALUE" or "KEY<VALUE".
struct Limit
{
    std::string key;
    bool isHighest = false; ///< whether the figure must not be above the value, else not below it
    double value = 0;
    std::string text; ///< as it was given

    /// Nothing if @p text is none, or its key is none of @p keys.
    static std::optional<Limit> parse(const std::string &text, const std::vector<std::string> &keys);
    /// Whether @p figure passes it.
    bool isPassedBy(double figure) const { return isHighest ? figure > value : figure < value; }
};

/// All limits of a command line. Nothing if one is none, which one line on standard error then tells.
std::optional<std::vector<Limit>> limitsOf(const std::vector<std::string> &texts,
                                           const std::vector<std::string> &keys);

/// The first of @p limits that one of @p figures passes; nothing if none does. A figure that is not there
/// passes none.
std::optional<Limit> passed(const std::vector<Limit> &limits, const std::map<std::string, double> &figures);

} // namespace lab
