#include "calllog.h"

#include "hex.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

namespace boardsim {

namespace {

constexpr const char *logVariable = "BOARDSIM_LOG";

/// Microseconds of the monotonic clock.
std::int64_t timeNow()
{
    // The steady clock is CLOCK_MONOTONIC on Linux.
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::microseconds>(sinceStart).count();
}

CallLog::Record newRecord()
{
    CallLog::Record record;
    record["time"] = timeNow();
    record["thread"] = gettid();
    return record;
}

bool writeAll(int file, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = write(file, text.data(), text.size());
        if (written < 0 && errno != EINTR)
            return false;
        text.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
    return true;
}

/// Returns 0, or the error's number. A write beyond the limit of a file's size, or to a pipe without a
/// reader, fails like any other: the signal that would end the program is taken back.
int writeWithoutSignal(int file, const std::string &text)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGXFSZ);
    sigaddset(&signals, SIGPIPE);
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, &signals, &before);
    const int error = writeAll(file, text) ? 0 : errno;
    if (error == EFBIG || error == EPIPE) {
        const timespec atOnce{};
        sigtimedwait(&signals, nullptr, &atOnce);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return error;
}

} // namespace

CallLog::~CallLog()
{
    closeLocked();
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
    const char *const name = std::getenv(logVariable);
    m_name = name ? name : "";
    // The file in use stays open meanwhile, so that the reader of a pipe does not see its end.
    const int before = m_file.exchange(noFile);
    if (!m_name.empty()) {
        m_file = ::open(m_name.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
        if (m_file < 0)
            complain("opened", errno);
    }
    if (before >= 0)
        close(before);
}

void CallLog::closeLocked()
{
    if (m_file >= 0)
        close(m_file);
    m_file = noFile;
}

/// Says so once for each file, however often the program attaches.
void CallLog::complain(const char *what, int error)
{
    if (m_name == m_complaint)
        return;
    m_complaint = m_name;
    std::fprintf(stderr, "%s:0: the log cannot be %s: %s\n", m_name.c_str(), what, std::strerror(error));
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

void CallLog::addReport(int board, const Bytes &report)
{
    if (m_file < 0)
        return;
    // Put together by hand: a flood brings thousands of reports a second.
    append(R"({"time":)" + std::to_string(timeNow()) + R"(,"thread":)" + std::to_string(gettid())
           + R"(,"board":)" + std::to_string(board) + R"(,"report":")"
           + hexText(report.data(), static_cast<int>(report.size())) + "\"}\n");
}

void CallLog::append(const Record &record)
{
    // Texts from the program need not be valid UTF-8.
    append(record.dump(-1, ' ', false, Record::error_handler_t::replace) + "\n");
}

void CallLog::append(const std::string &line)
{
    const std::lock_guard lock(m_mutex);
    if (m_file < 0)
        return;
    const int error = writeWithoutSignal(m_file, line);
    if (error == 0)
        return;
    // A log with gaps would mislead, so nothing follows a line that is lost.
    complain("written", error);
    closeLocked();
}

} // namespace boardsim
