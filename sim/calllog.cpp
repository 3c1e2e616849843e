#include "calllog.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace boardsim {

namespace {

constexpr const char *variable = "BOARDSIM_LOG";

CallLog::Record newRecord()
{
    // The steady clock is CLOCK_MONOTONIC on Linux.
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    CallLog::Record record;
    record["time"] = std::chrono::duration_cast<std::chrono::microseconds>(sinceStart).count();
    record["thread"] = gettid();
    return record;
}

} // namespace

CallLog::~CallLog()
{
    if (m_file >= 0)
        close(m_file);
}

void CallLog::open()
{
    const std::lock_guard lock(m_mutex);
    openLocked();
}

void CallLog::openOnce()
{
    const std::lock_guard lock(m_mutex);
    if (!m_opened)
        openLocked();
}

void CallLog::openLocked()
{
    m_opened = true;
    if (m_file >= 0)
        close(m_file);
    m_file = -1;
    const char *const name = std::getenv(variable);
    if (!name || !*name)
        return;
    m_file = ::open(name, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (m_file < 0)
        std::fprintf(stderr, "%s:0: the log cannot be opened: %s\n", name, std::strerror(errno));
}

void CallLog::addCall(const char *name, const Record &arguments, const Record &result)
{
    Record record = newRecord();
    record["export"] = name;
    record["arguments"] = arguments;
    record["result"] = result;
    append(record);
}

void CallLog::addMark(const std::string &text)
{
    Record record = newRecord();
    record["mark"] = text;
    append(record);
}

void CallLog::append(const Record &record)
{
    // Texts from the program need not be valid UTF-8.
    const std::string line = record.dump(-1, ' ', false, Record::error_handler_t::replace) + "\n";
    const std::lock_guard lock(m_mutex);
    if (m_file < 0)
        return;
    // Deliberate: one write a line, and its result is ignored. After a short write, a second one could end up
    // behind the line of another process.
    [[maybe_unused]] const ssize_t written = write(m_file, line.data(), line.size());
}

} // namespace boardsim
