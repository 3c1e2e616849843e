#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace boardsim {

using Json = nlohmann::json;

constexpr std::size_t longestText = 4095; ///< bytes of a field, unless it says otherwise

/// Reads the fields of one JSON object and keeps the first error. A field that is missing or wrong reads as a
/// default, so a caller checks once, at the end. The object must outlive this reader.
class Fields
{
public:
    /// Keeps references to both. The readers of nested objects share one @p error with their line.
    Fields(const Json &object, std::string &error);
    /// Reads an object inside that of @p outer. Shares its error, and allows the same.
    Fields(const Json &object, const Fields &outer);

    bool has(const char *name) const;
    std::int64_t integer(const char *name, std::int64_t lowest, std::int64_t highest);
    int smallInteger(const char *name, int lowest, int highest);
    bool flag(const char *name);
    bool flagOr(const char *name, bool fallback);
    double number(const char *name, double lowest, double highest);
    /// Returns two numbers, such as a point.
    std::array<double, 2> pair(const char *name, double lowest, double highest);
    /// Returns those of @p value, which an error calls @p what.
    std::array<double, 2> pairFrom(const Json &value, const std::string &what, double lowest, double highest);
    std::string text(const char *name, std::size_t longest);
    /// Returns the items of an array that has at least @p fewest of them.
    std::vector<const Json *> list(const char *name, std::size_t fewest);
    /// Returns a nested object; an empty one if it is missing or no object.
    const Json &object(const char *name);

    /// From here on, fields that are never read are no error.
    void allowOthers() { m_allowsOthers = true; }
    /// Unless they are allowed, fails if the object has a field that was never read, so it has to be called
    /// last.
    void refuseOthers();
    void fail(const std::string &cause);
    bool failed() const { return !m_error.empty(); }

private:
    const Json *find(const char *name);

    const Json &m_object;
    std::string &m_error;
    std::vector<std::string> m_known;
    bool m_allowsOthers = false;
};

} // namespace boardsim
