#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace probe {

/// Writes lines of JSON to a descriptor, each at once. Used on one thread.
class Teller
{
public:
    using Json = nlohmann::ordered_json;

    explicit Teller(int file) : m_file(file) { }

    /// Says what comes now, so that whoever reads knows where the driver was when the lines end. The step may
    /// take @p seconds by itself.
    void begin(const char *step, double seconds = 0) const;
    void tell(const Json &line) const;

private:
    const int m_file;
};

/// Asks the driver, an absolute path, as the program does: attaches, enumerates, sets the callbacks and
/// report modes, listens at most @p seconds for reports of every board, and withdraws everything. SIGINT,
/// SIGTERM and SIGHUP, which the caller has blocked, end the listening.
void ask(const Teller &teller, const std::string &path, double seconds);

} // namespace probe
