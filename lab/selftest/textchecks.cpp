#include "commands/errand.h"
#include "language.h"
#include "selftest/performance.h"
#include "stage/scene.h"

#include <array>
#include <clocale>
#include <string>

// What is printed in a language with other numbers.

namespace selftest {

namespace {

using lab::message;

constexpr const char *locale = "fr_FR.UTF-8";
constexpr double textTime = 30; // seconds

/// Throws LeftOut if the C library does not know the locale.
void needLocale()
{
    const locale_t known = newlocale(LC_ALL_MASK, locale, nullptr);
    if (!known)
        throw LeftOut(message("needs the locale %s", locale));
    freelocale(known);
}

lab::Message checkProgramsText(const Parts &parts)
{
    needLocale();
    Performance program(parts.stage(), {{stage::stroke(1, 8000, 20000, 12000, 20000, 50)}});
    lab::Message wrong = program.set("LC_ALL", locale).step().expectColour(10000, 20000, green).end();
    if (!wrong.empty())
        return wrong;
    const std::string printed = program.session().output();
    return printed == "Enumerated 1 devices.\n" ? lab::Message()
                                                : message("the program prints: %s", printed.c_str());
}

lab::Message checkCommandsText(const Parts &parts)
{
    needLocale();
    for (const char *const subcommand : {"check", "show"}) {
        const auto printedIn = [&](const char *language) {
            return lab::run({"env", std::string("LC_ALL=") + language, parts.command, subcommand,
                             parts.scenario, "--json"},
                            "/", textTime)
                .output;
        };
        const std::string english = printedIn("C");
        if (english.empty() || printedIn(locale) != english)
            return message("%s prints something else than in English", subcommand);
    }
    return {};
}

} // namespace

void addTextChecks(std::vector<Check> &checks)
{
    checks.push_back({"text", message("the program's in fr_FR.UTF-8"), checkProgramsText});
    checks.push_back({"text", message("the command's in fr_FR.UTF-8"), checkCommandsText});
}

} // namespace selftest
