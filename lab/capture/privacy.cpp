#include "capture/privacy.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <string_view>

#include <sys/utsname.h>

namespace capture {

namespace {

bool isPartOfName(const std::string &text, std::size_t at)
{
    const unsigned char byte = at < text.size() ? static_cast<unsigned char>(text[at]) : ' ';
    return std::isalnum(byte) != 0 || byte == '_' || byte == '-';
}

/// @p text with @p by for each @p name that is no part of a longer one.
std::string replaced(std::string text, const std::string &name, const std::string &by)
{
    for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at)) {
        const bool isWhole =
            (at == 0 || !isPartOfName(text, at - 1)) && !isPartOfName(text, at + name.size());
        if (isWhole)
            text.replace(at, name.size(), by);
        at += isWhole ? by.size() : 1;
    }
    return text;
}

} // namespace

std::string withoutSerialNumbers(std::string info)
{
    constexpr std::array<std::string_view, 3> keys{"serial", "sn", "mac"};
    for (const std::string_view key : keys) {
        const std::string item = std::string(key) + "<";
        for (std::size_t at = info.find(item); at != std::string::npos; at = info.find(item, at + 1)) {
            const bool isWhole = at == 0 || info[at - 1] == '>' || info[at - 1] == ' ';
            const std::size_t value = at + item.size();
            const std::size_t end = info.find('>', value);
            if (isWhole && end != std::string::npos)
                info.erase(value, end - value);
        }
    }
    return info;
}

Names ownNames()
{
    Names names;
    if (const char *const home = std::getenv("HOME"))
        names.home = home;
    utsname system{};
    if (uname(&system) == 0)
        names.host = system.nodename;
    return names;
}

std::string masked(const std::string &text, const Names &names)
{
    std::string result = names.home.size() > 1 ? replaced(text, names.home, "~") : text;
    constexpr std::string_view homes = "/home/";
    for (std::size_t at = result.find(homes); at != std::string::npos; at = result.find(homes, at + 1)) {
        const std::size_t name = at + homes.size();
        const std::size_t end = std::min(result.find_first_of("/\"' \n:", name), result.size());
        if (end > name)
            result.replace(name, end - name, "USER");
    }
    return names.host.empty() ? result : replaced(result, names.host, "HOST");
}

} // namespace capture
