#pragma once

#include "report.h"

#include <atomic>
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

    /// Reads the environment and opens the file named there instead of the one in use. If it cannot be opened
    /// or, later, written, one line on standard error says so, and nothing is logged until the next call.
    void open();
    /// Does the same as open() unless either was called before.
    void openOnce();

    void addCall(const char *name, const Record &arguments, const Record &result);
    void addMark(const std::string &text);
    /// Costs next to nothing while there is no log.
    void addReport(int board, const Bytes &report);

private:
    static constexpr int noFile = -1;

    void openLocked();
    void closeLocked();
    void complain(const char *what, int error);
    void append(const Record &record);
    void append(const std::string &line);

    std::mutex m_mutex; ///< held for every change of what follows
    bool m_opened = false;
    std::atomic<int> m_file = noFile;
    std::string m_name;      ///< of the file
    std::string m_complaint; ///< name of the file that a line on standard error was about
};

} // namespace boardsim
