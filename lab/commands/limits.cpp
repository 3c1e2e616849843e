#include "commands/limits.h"

#include "language.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace lab {

std::optional<Limit> Limit::parse(const std::string &text, const std::vector<std::string> &keys)
{
    const std::size_t sign = text.find_first_of("<>");
    if (sign == std::string::npos || sign == 0)
        return {};
    Limit limit;
    limit.key = text.substr(0, sign);
    limit.isHighest = text[sign] == '>';
    limit.text = text;
    const char *const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data() + sign + 1, end, limit.value);
    const bool isKnown = std::find(keys.begin(), keys.end(), limit.key) != keys.end();
    if (error != std::errc() || rest != end || !std::isfinite(limit.value) || !isKnown)
        return {};
    return limit;
}

std::optional<std::vector<Limit>> limitsOf(const std::vector<std::string> &texts,
                                           const std::vector<std::string> &keys)
{
    std::vector<Limit> limits;
    for (const std::string &text : texts) {
        const std::optional<Limit> limit = Limit::parse(text, keys);
        if (!limit) {
            complain(tr("\"%s\" is no limit such as %s>0"), text.c_str(), keys.front().c_str());
            return {};
        }
        limits.push_back(*limit);
    }
    return limits;
}

std::optional<Limit> passed(const std::vector<Limit> &limits, const std::map<std::string, double> &figures)
{
    for (const Limit &limit : limits) {
        const auto figure = figures.find(limit.key);
        if (figure != figures.end() && limit.isPassedBy(figure->second))
            return limit;
    }
    return {};
}

} // namespace lab
