#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace boardsim {

using Json = nlohmann::json;

/// Reads the fields of one JSON object and keeps the first thing that is wrong with them: after that every
/// reader returns its default, so a caller checks once, at the end. The object must outlive this reader.
class Fields
{
public:
    /// Objects inside share @p error with the line that they belong to.
    Fields(const Json &object, std::string &error);

    bool has(const char *name) const;
    std::int64_t integer(const char *name, std::int64_t lowest, std::int64_t highest);
    int smallInteger(const char *name, int lowest, int highest);
    bool flag(const char *name);
    bool flagOr(const char *name, bool fallback);
    double number(const char *name, double lowest, double highest);
    std::string text(const char *name, std::size_t longest);
    /// The items of an array with at least @p fewest of them.
    std::vector<const Json *> list(const char *name, std::size_t fewest);
    /// An object inside; an empty one where it is missing or something else.
    const Json &object(const char *name);

    /// Call last: refuses fields that nobody has asked for.
    void refuseOthers();
    void fail(const std::string &cause);
    bool failed() const { return !m_error.empty(); }

private:
    const Json *find(const char *name);

    const Json &m_object;
    std::string &m_error;
    std::vector<std::string> m_known;
};

} // namespace boardsim
