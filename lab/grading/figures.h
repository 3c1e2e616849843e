#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace grading {

/// Figures by their key; one that could not be measured is missing.
using Figures = std::map<std::string, double>;

/// How the figures of many contacts become one.
enum class Fold { sum, lowest, highest };

/// What a figure is.
struct FigureInfo
{
    std::string_view key;
    std::string_view unit; ///< "Hz", "units", "mm", "us", "%", or empty for counts and ratios
    bool isBetterHigh;
    std::string_view title; ///< in English, as the next two and the unit
    std::string_view how;   ///< it is computed, in one line
    std::string_view why;   ///< it matters, and what to look at when it is bad
};

/// All figures, in the order in which a report lists them.
const std::vector<FigureInfo> &figureInfos();
/// Null if there is no such figure.
const FigureInfo *figureInfo(std::string_view key);
/// The keys alone.
std::vector<std::string> figureKeys();

/// Folds a contact's figure into that of all.
void fold(Figures &figures, const std::string &key, double value, Fold how);

} // namespace grading
