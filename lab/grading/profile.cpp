#include "grading/profile.h"

#include "language.h"
#include "scenarioreader.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <nlohmann/json.hpp>
#include <simdjson.h>

namespace grading {

namespace {

using lab::format;
using lab::tr;
using lab::trLater;
using simdjson::ondemand::array;
using simdjson::ondemand::document;
using simdjson::ondemand::field;
using simdjson::ondemand::object;
using simdjson::ondemand::value;

/// Reads one profile. What is wrong is thrown, and caught where the reading began.
class Parser
{
public:
    Parser(const std::string &text, std::string name) : m_text(text), m_name(std::move(name)) { }

    Profile parse();

private:
    /// Where a value or a name stands.
    using Place = const char *;

    [[noreturn]] void fail(Place place, const std::string &cause) const;
    void checkSyntax() const;
    /// Calls @p read with the name, the place and the value of each field. @p read says whether it knows it.
    template <typename Read> void eachField(object &held, Read read);
    std::string text(value &held, Place place) const;
    double number(value &held, Place place) const;
    BoardSize size(value &held, Place place) const;
    Limit limit(object &held, Place place);
    void limits(value &held, Place place, Profile &profile);

    const simdjson::padded_string m_text;
    const std::string m_name;
};

void Parser::fail(Place place, const std::string &cause) const
{
    const char *const begin = m_text.data();
    const auto line = place ? std::count(begin, std::min(place, begin + m_text.size()), '\n') + 1 : 1;
    throw std::runtime_error(boardsim::oneLine(m_name + ":" + std::to_string(line) + ": " + cause));
}

template <typename Read> void Parser::eachField(object &held, Read read)
{
    for (auto next : held) {
        field found;
        if (const auto error = std::move(next).get(found))
            fail(m_text.data(), simdjson::error_message(error));
        const Place place = found.key().raw();
        std::string_view name;
        if (found.unescaped_key().get(name))
            fail(place, tr("a name is no text"));
        const std::string known(name);
        value inner = found.value();
        if (!read(known, place, inner))
            fail(place, format(tr("there is no field \"%s\" here"), known.c_str()));
    }
}

std::string Parser::text(value &held, Place place) const
{
    std::string_view read;
    if (held.get_string().get(read))
        fail(place, tr("a text is expected"));
    return std::string(read);
}

double Parser::number(value &held, Place place) const
{
    double read = 0;
    if (held.get_double().get(read) || !std::isfinite(read))
        fail(place, tr("a number is expected"));
    return read;
}

BoardSize Parser::size(value &held, Place place) const
{
    std::vector<double> sides;
    array list;
    if (held.get_array().get(list))
        fail(place, tr("the size is [width, height] in millimetres"));
    for (auto next : list) {
        value side;
        if (next.get(side))
            fail(place, tr("the size is [width, height] in millimetres"));
        sides.push_back(number(side, place));
    }
    if (sides.size() != 2 || sides[0] <= 0 || sides[1] <= 0)
        fail(place, tr("the size is [width, height] in millimetres"));
    return {sides[0], sides[1]};
}

Limit Parser::limit(object &held, Place place)
{
    Limit limit;
    std::string unit;
    int bounds = 0;
    eachField(held, [&](const std::string &name, Place at, value &inner) {
        if (name == "key")
            limit.key = text(inner, at);
        else if (name == "unit")
            unit = text(inner, at);
        else if (name == "soft")
            limit.soft = number(inner, at);
        else if (name == "source")
            limit.source = text(inner, at);
        else if (name == "sentence")
            limit.sentence = text(inner, at);
        else if (name == "most" || name == "least") {
            limit.isHighest = name == "most";
            limit.value = number(inner, at);
            ++bounds;
        } else {
            return false;
        }
        return true;
    });
    const FigureInfo *const info = figureInfo(limit.key);
    if (!info)
        fail(place, format(tr("there is no figure \"%s\""), limit.key.c_str()));
    if (unit != info->unit)
        fail(place,
             format(tr("the unit of %s is \"%s\""), limit.key.c_str(), std::string(info->unit).c_str()));
    if (bounds != 1)
        fail(place, tr(R"(a limit has either "most" or "least")"));
    if (limit.soft < 0)
        fail(place, tr(R"("soft" is a width, 0 or more)"));
    return limit;
}

void Parser::limits(value &held, Place place, Profile &profile)
{
    array list;
    if (held.get_array().get(list))
        fail(place, tr("the limits are a list"));
    for (auto next : list) {
        object inner;
        if (next.get_object().get(inner))
            fail(place, tr("a limit is an object"));
        const std::string_view token = inner.raw_json().value();
        if (inner.reset().error())
            fail(token.data(), tr("a limit is an object"));
        Limit read = limit(inner, token.data());
        if (profile.limitOf(read.key))
            fail(token.data(), format(tr("a second limit of %s"), read.key.c_str()));
        profile.limits.push_back(std::move(read));
    }
}

/// The reader of fields would find what is no JSON only where it looks.
void Parser::checkSyntax() const
{
    try {
        [[maybe_unused]] const auto ignored =
            nlohmann::json::parse(m_text.data(), m_text.data() + m_text.size());
    } catch (const nlohmann::json::parse_error &error) {
        fail(m_text.data() + std::max<std::size_t>(error.byte, 1) - 1, tr("this is no JSON"));
    }
}

Profile Parser::parse()
{
    checkSyntax();
    simdjson::ondemand::parser parser;
    document parsed;
    object root;
    if (const auto error = parser.iterate(m_text).get(parsed))
        fail(nullptr, simdjson::error_message(error));
    if (parsed.get_object().get(root))
        fail(nullptr, tr("a profile is a JSON object"));
    Profile profile;
    eachField(root, [&](const std::string &name, Place place, value &held) {
        if (name == "name")
            profile.name = text(held, place);
        else if (name == "title")
            profile.title = text(held, place);
        else if (name == "size_mm")
            profile.size = size(held, place);
        else if (name == "limits")
            limits(held, place, profile);
        else
            return false;
        return true;
    });
    if (profile.name.empty())
        fail(nullptr, tr(R"(the profile has no "name")"));
    if (profile.limits.empty())
        fail(nullptr, tr(R"(the profile has no "limits")"));
    return profile;
}

} // namespace

const Limit *Profile::limitOf(std::string_view key) const
{
    const auto found =
        std::find_if(limits.begin(), limits.end(), [key](const Limit &limit) { return limit.key == key; });
    return found == limits.end() ? nullptr : &*found;
}

ProfileResult readProfile(const std::string &file)
{
    std::ifstream stream(file);
    std::ostringstream text;
    text << stream.rdbuf();
    if (!stream)
        return {{},
                boardsim::oneLine(file + ":0: " + format(tr("cannot be read: %s"), std::strerror(errno)))};
    return parseProfile(text.str(), file);
}

ProfileResult parseProfile(const std::string &text, const std::string &name)
{
    try {
        return {Parser(text, name).parse(), {}};
    } catch (const std::runtime_error &error) {
        return {{}, error.what()};
    }
}

std::string_view nameOf(Verdict verdict)
{
    switch (verdict) {
    case Verdict::pass:
        return trLater("pass");
    case Verdict::fail:
        return trLater("fail");
    case Verdict::notGraded:
        break;
    }
    return trLater("not graded");
}

Grade gradeOf(const Figures &figures, std::string_view key, const Profile *profile)
{
    Grade grade;
    grade.limit = profile ? profile->limitOf(key) : nullptr;
    const auto figure = figures.find(std::string(key));
    if (!grade.limit || figure == figures.end())
        return grade;
    const Limit &limit = *grade.limit;
    const double excess = limit.isHighest ? figure->second - limit.value : limit.value - figure->second;
    grade.verdict = excess <= 0 ? Verdict::pass : Verdict::fail;
    if (excess <= 0)
        grade.score = 1;
    else
        grade.score = limit.soft > 0 ? std::max(0.0, 1 - excess / limit.soft) : 0;
    return grade;
}

Verdict Total::verdict() const
{
    if (failed > 0)
        return Verdict::fail;
    return passed > 0 ? Verdict::pass : Verdict::notGraded;
}

Total totalOf(const Figures &figures, const Profile *profile)
{
    Total total;
    if (!profile)
        return total;
    for (const Limit &limit : profile->limits) {
        const Verdict verdict = gradeOf(figures, limit.key, profile).verdict;
        ++(verdict == Verdict::pass       ? total.passed
               : verdict == Verdict::fail ? total.failed
                                          : total.notGraded);
    }
    return total;
}

} // namespace grading
