#include "fields.h"

#include <algorithm>

namespace boardsim {

namespace {

const Json emptyObject = Json::object();

std::string quoted(const char *name)
{
    return std::string("\"") + name + "\"";
}

std::string rangeText(std::int64_t lowest, std::int64_t highest)
{
    return std::to_string(lowest) + " to " + std::to_string(highest);
}

std::string rangeText(double lowest, double highest)
{
    return rangeText(static_cast<std::int64_t>(lowest), static_cast<std::int64_t>(highest));
}

bool isInside(const Json &value, std::int64_t lowest, std::int64_t highest)
{
    // Numbers above the signed range would turn negative.
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > static_cast<std::uint64_t>(INT64_MAX))
        return false;
    const auto number = value.get<std::int64_t>();
    return number >= lowest && number <= highest;
}

bool isNumberInside(const Json &value, double lowest, double highest)
{
    return value.is_number() && value.get<double>() >= lowest && value.get<double>() <= highest;
}

} // namespace

Fields::Fields(const Json &object, std::string &error)
    : m_object(object.is_object() ? object : emptyObject), m_error(error)
{
    if (!object.is_object())
        fail("not a JSON object");
}

Fields::Fields(const Json &object, const Fields &outer) : Fields(object, outer.m_error)
{
    m_allowsOthers = outer.m_allowsOthers;
}

bool Fields::has(const char *name) const
{
    return m_object.contains(name);
}

std::int64_t Fields::integer(const char *name, std::int64_t lowest, std::int64_t highest)
{
    const Json *const value = find(name);
    if (!value)
        return lowest;
    if (value->is_number_integer() && isInside(*value, lowest, highest))
        return value->get<std::int64_t>();
    fail(quoted(name) + " is not a whole number from " + rangeText(lowest, highest));
    return lowest;
}

int Fields::smallInteger(const char *name, int lowest, int highest)
{
    return static_cast<int>(integer(name, lowest, highest));
}

bool Fields::flag(const char *name)
{
    const Json *const value = find(name);
    if (!value)
        return false;
    if (value->is_boolean())
        return value->get<bool>();
    fail(quoted(name) + " is neither true nor false");
    return false;
}

bool Fields::flagOr(const char *name, bool fallback)
{
    return has(name) ? flag(name) : fallback;
}

double Fields::number(const char *name, double lowest, double highest)
{
    const Json *const value = find(name);
    if (!value)
        return lowest;
    if (isNumberInside(*value, lowest, highest))
        return value->get<double>();
    fail(quoted(name) + " is not a number from " + rangeText(lowest, highest));
    return lowest;
}

std::array<double, 2> Fields::pair(const char *name, double lowest, double highest)
{
    const Json *const value = find(name);
    if (!value)
        return {};
    return pairFrom(*value, quoted(name), lowest, highest);
}

std::array<double, 2> Fields::pairFrom(const Json &value, const std::string &what, double lowest,
                                       double highest)
{
    if (value.is_array() && value.size() == 2 && isNumberInside(value[0], lowest, highest)
        && isNumberInside(value[1], lowest, highest))
        return {value[0].get<double>(), value[1].get<double>()};
    fail(what + " is not a pair of numbers from " + rangeText(lowest, highest));
    return {};
}

std::string Fields::text(const char *name, std::size_t longest)
{
    const Json *const value = find(name);
    if (!value)
        return {};
    if (!value->is_string()) {
        fail(quoted(name) + " is not a text");
        return {};
    }
    auto text = value->get<std::string>();
    if (text.size() > longest)
        fail(quoted(name) + " is longer than " + std::to_string(longest) + " bytes");
    return text;
}

std::vector<const Json *> Fields::list(const char *name, std::size_t fewest)
{
    std::vector<const Json *> items;
    const Json *const value = find(name);
    if (!value)
        return items;
    if (!value->is_array() || value->size() < fewest) {
        fail(quoted(name) + " is not a list"
             + (fewest > 0 ? " with " + std::to_string(fewest) + " or more items" : ""));
        return items;
    }
    for (const Json &item : *value)
        items.push_back(&item);
    return items;
}

const Json &Fields::object(const char *name)
{
    const Json *const value = find(name);
    if (!value)
        return emptyObject;
    if (value->is_object())
        return *value;
    fail(quoted(name) + " is not a JSON object");
    return emptyObject;
}

void Fields::refuseOthers()
{
    if (m_allowsOthers)
        return;
    for (const auto &item : m_object.items()) {
        if (std::find(m_known.begin(), m_known.end(), item.key()) == m_known.end())
            fail("unknown field " + quoted(item.key().c_str()));
    }
}

void Fields::fail(const std::string &cause)
{
    if (m_error.empty())
        m_error = cause;
}

const Json *Fields::find(const char *name)
{
    m_known.emplace_back(name);
    const auto found = m_object.find(name);
    if (found != m_object.end())
        return &*found;
    fail("field " + quoted(name) + " is missing");
    return nullptr;
}

} // namespace boardsim
