#include "commands/usageerror.h"

#include "language.h"

#include <array>
#include <cstddef>
#include <optional>

namespace lab {

namespace {

using Pieces = std::array<std::string, 4>;

// What CLI11 2.1 says. The first that fits is taken.
constexpr std::array texts{
    trLater("there is no subcommand %s"),
    trLater("The following argument was not expected: %s"),
    trLater("The following arguments were not expected: %s"),
    trLater("A subcommand is required"),
    // TRANSLATORS: %s is an option or an argument.
    trLater("%s is required"),
    // TRANSLATORS: %s is an option or an argument.
    trLater("%s: Value %s not in range %s to %s"),
    trLater("%s: File does not exist: %s"),
    trLater("%s: File is actually a directory: %s"),
    trLater("%s: Path does not exist: %s"),
    // TRANSLATORS: an option, its value, and the values in braces that it can have.
    trLater("%s: %s not in {%s}"),
    // TRANSLATORS: an option and its value, which is no number, for example.
    trLater("Could not convert: %s = %s"),
    // TRANSLATORS: an option, a number and the kind of the values that are missing, such as TEXT.
    trLater("%s: %s required %s missing"),
    trLater("%s: At least %s required but received %s"),
    trLater("%s: At Most %s required but received %s"),
    trLater("Expected exactly %s arguments to %s, got %s"),
    trLater("Expected at least %s arguments to %s, got %s"),
    trLater("%s was given a disallowed flag override"),
    // TRANSLATORS: two options, of which the first is of no use without the second.
    trLater("%s requires %s"),
    // TRANSLATORS: two options that cannot be given together.
    trLater("%s excludes %s"),
};

/// What stands in @p text for each %s of @p pattern; nothing if the rest of them differs.
std::optional<Pieces> piecesOf(const std::string &text, const std::string &pattern)
{
    const std::string gap = "%s";
    Pieces pieces;
    std::size_t at = pattern.find(gap);
    if (text.compare(0, at, pattern, 0, at) != 0)
        return {};
    std::size_t begin = at;
    for (std::size_t piece = 0; at != std::string::npos; ++piece) {
        const std::size_t next = pattern.find(gap, at + gap.size());
        const std::string between = pattern.substr(at + gap.size(), next - at - gap.size());
        const std::size_t end = next != std::string::npos ? text.find(between, begin)
            : text.size() >= begin + between.size()       ? text.size() - between.size()
                                                          : std::string::npos;
        if (end == std::string::npos || text.compare(end, between.size(), between) != 0)
            return {};
        pieces.at(piece) = text.substr(begin, end - begin);
        begin = end + between.size();
        at = next;
    }
    return pieces;
}

} // namespace

std::string usageError(const std::string &english)
{
    for (const char *const text : texts) {
        const auto pieces = piecesOf(english, text);
        if (pieces)
            return format(tr(text), (*pieces)[0].c_str(), (*pieces)[1].c_str(), (*pieces)[2].c_str(),
                          (*pieces)[3].c_str());
    }
    return english;
}

} // namespace lab
