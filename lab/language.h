#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace lab {

// What a person reads, in the person's language; what programs read stays English. scripts/languages finds
// the texts by these names: a text is the first argument of tr, trCount, trPlural, trLater or message. Any
// thread may call all but chooseLanguage.

/// Chooses the language of the environment for all texts, and its character set, but no other format of
/// numbers. Called once, before any other thread is started. Before, and in a process that never calls it,
/// such as the program with a recorder in it, every text is English.
void chooseLanguage();

/// The text in the person's language; itself if there is no translation. Valid until the process ends.
[[gnu::format_arg(1)]] const char *tr(const char *english);
/// What a text is for: a person, or a program, which reads English.
enum class Audience { person, program };
[[gnu::format_arg(1)]] const char *tr(const char *english, Audience audience);

/// The same of a text with a number, which many languages say in other words for 1 than for 2.
[[gnu::format_arg(1)]] const char *trCount(const char *english, std::int64_t number,
                                           Audience audience = Audience::person);
/// The same if English does so, too; @p one is for 1.
[[gnu::format_arg(1), gnu::format_arg(2)]] const char *
trPlural(const char *one, const char *many, std::int64_t number, Audience audience = Audience::person);

/// A text that tr translates later, as in a table.
[[gnu::format_arg(1)]] constexpr const char *trLater(const char *english)
{
    return english;
}

/// What printf(3) makes of @p pattern, also with arguments in another order ("%2$s %1$s").
[[gnu::format(printf, 1, 2)]] std::string format(const char *pattern, ...);

/// A text that goes to persons and to programs. An empty one says nothing.
struct Message
{
    std::string told; ///< in the person's language
    std::string english;

    bool empty() const { return english.empty(); }
};
/// What printf(3) makes of a text and of its translation.
[[gnu::format(printf, 1, 2)]] Message message(const char *english, ...);

/// @p text with blanks behind it, as wide as so many columns of a terminal; a wider one as it is.
std::string padded(const std::string &text, std::size_t columns);
/// The same with the blanks before it.
std::string paddedBefore(const std::string &text, std::size_t columns);
/// As much of the beginning of @p text as so many columns hold.
std::string beginningOf(const std::string &text, std::size_t columns);

/// For "%lld" in a text to translate.
constexpr long long whole(std::int64_t number)
{
    return number;
}

/// Prints "lanternix-lab: ", the text and a newline to standard error.
[[gnu::format(printf, 1, 2)]] void complain(const char *pattern, ...);

} // namespace lab
