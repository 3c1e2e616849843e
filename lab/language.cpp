#include "language.h"

#include <algorithm>
#include <atomic>
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <libintl.h>

namespace lab {

namespace {

namespace fs = std::filesystem;

constexpr const char *domain = "lanternix-lab";

std::atomic<bool> isChosen{false};

/// The folder of the catalogues: TEXTDOMAINDIR, as for gettext's own tools, or the one beside the command, as
/// it is installed or built.
std::string folderOfCatalogues()
{
    if (const char *const given = std::getenv("TEXTDOMAINDIR"); given && *given)
        return given;
    std::error_code ignored;
    const fs::path own = fs::read_symlink("/proc/self/exe", ignored).parent_path();
    const fs::path installed = (own / LANTERNIX_LOCALES_FROM_BIN).lexically_normal();
    return fs::exists(installed, ignored) ? installed : own / "locale";
}

std::string formatAll(const char *pattern, std::va_list arguments)
{
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, pattern, again);
    va_end(again);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, pattern, arguments);
    return text;
}

/// Of a text in UTF-8, whose characters are one column wide in the languages that there are.
bool beginsCharacter(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
}

/// What @p text lacks of so many columns.
std::string blanks(const std::string &text, std::size_t columns)
{
    const auto width = static_cast<std::size_t>(std::count_if(text.begin(), text.end(), beginsCharacter));
    // NOLINTNEXTLINE(modernize-return-braced-init-list): braces would make a list of two characters
    return std::string(columns > width ? columns - width : 0, ' ');
}

} // namespace

void chooseLanguage()
{
    std::setlocale(LC_CTYPE, "");
    std::setlocale(LC_MESSAGES, "");
    bindtextdomain(domain, folderOfCatalogues().c_str());
    bind_textdomain_codeset(domain, "UTF-8");
    isChosen = true;
}

const char *tr(const char *english)
{
    return isChosen && *english ? dgettext(domain, english) : english;
}

const char *tr(const char *english, Audience audience)
{
    return audience == Audience::person ? tr(english) : english;
}

const char *trCount(const char *english, std::int64_t number, Audience audience)
{
    return trPlural(english, english, number, audience);
}

const char *trPlural(const char *one, const char *many, std::int64_t number, Audience audience)
{
    if (!isChosen || audience == Audience::program)
        return number == 1 ? one : many;
    return dngettext(domain, one, many, static_cast<unsigned long>(std::abs(number)));
}

std::string format(const char *pattern, ...)
{
    std::va_list arguments;
    va_start(arguments, pattern);
    std::string text = formatAll(pattern, arguments);
    va_end(arguments);
    return text;
}

Message message(const char *english, ...)
{
    std::va_list arguments;
    va_start(arguments, english);
    std::va_list again;
    va_copy(again, arguments);
    Message both{formatAll(tr(english), arguments), formatAll(english, again)};
    va_end(again);
    va_end(arguments);
    return both;
}

std::string padded(const std::string &text, std::size_t columns)
{
    return text + blanks(text, columns);
}

std::string paddedBefore(const std::string &text, std::size_t columns)
{
    return blanks(text, columns) + text;
}

std::string beginningOf(const std::string &text, std::size_t columns)
{
    const auto isBehind = [&columns](char byte) { return beginsCharacter(byte) && columns-- == 0; };
    return {text.begin(), std::find_if(text.begin(), text.end(), isBehind)};
}

void complain(const char *pattern, ...)
{
    std::va_list arguments;
    va_start(arguments, pattern);
    const std::string text = formatAll(pattern, arguments);
    va_end(arguments);
    std::fprintf(stderr, "lanternix-lab: %s\n", text.c_str());
}

} // namespace lab
