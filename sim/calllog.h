#pragma once

#include <mutex>
#include <string>

#include <nlohmann/json.hpp>

namespace boardsim {

/// Appends one JSON object a line to the file that BOARDSIM_LOG names, each with one write, so that what was
/// logged survives a crash. Times are microseconds of the monotonic clock. Any thread may call any function.
class CallLog
{
public:
    using Record = nlohmann::ordered_json;

    CallLog() = default;
    CallLog(const CallLog &) = delete;
    CallLog &operator=(const CallLog &) = delete;
    ~CallLog();

    /// Reads the environment and opens the file named there instead of the one in use. If it cannot be
    /// opened, one line on standard error says so, and nothing is logged.
    void open();
    /// Does the same as open() unless either was called before.
    void openOnce();

    void addCall(const char *name, const Record &arguments, const Record &result);
    void addMark(const std::string &text);

private:
    void openLocked();
    void append(const Record &record);

    std::mutex m_mutex;
    bool m_opened = false;
    int m_file = -1;
};

} // namespace boardsim
