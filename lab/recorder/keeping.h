#pragma once

#include "capture/parts.h"
#include "recorder/keepsignal.h"
#include "recorder/parts.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace recorder {

/// A rolling recording that is saved on request: by a reader of the recording, or by SIGUSR1. Saving happens
/// on a thread of its own, since it may take seconds; from the request on no part is deleted until it is
/// done. Times are microseconds since the recording began. Used on the writer's thread.
class Keeping
{
public:
    /// Where a saved recording goes; its reader is told how that went. Below 0: it was the signal, and one
    /// line on standard error tells.
    struct Request
    {
        int reader = -1;
        std::string file; ///< empty for a new one, named after the recording and the time
    };
    struct Answer
    {
        int reader;
        std::string line; ///< JSON, with its newline
    };

    /// Of the recording @p capture, as for Parts.
    Keeping(std::string capture, const capture::Writer::Json &first, std::int64_t keep,
            std::int64_t partLength = Parts::usualLength);
    /// Fulfils the requests that are left.
    ~Keeping();
    Keeping(const Keeping &) = delete;
    Keeping &operator=(const Keeping &) = delete;

    void write(std::string_view lines) { m_parts.write(lines); }
    /// What has happened before @p time is to be saved.
    void request(const Request &request, std::int64_t time) { m_waiting.push_back({request, time}); }
    /// Takes care of everything that is due at @p now. All lines before @p written have been written.
    std::vector<Answer> step(std::int64_t now, std::int64_t written);

private:
    struct Waiting
    {
        Request request;
        std::int64_t until;
    };

    /// Starts the thread, which reads the parts up to number @p last.
    void save(const Waiting &wanted, std::int64_t last);
    std::optional<Answer> endSaving();
    std::string newName() const;

    const std::string m_capture;
    Parts m_parts;
    KeepSignal m_signal;
    std::deque<Waiting> m_waiting;
    std::optional<Request> m_saved; ///< the one that the thread works on
    std::thread m_thread;
    std::atomic<bool> m_isSaved = false; ///< the thread has ended, and m_kept holds what it has done
    capture::Kept m_kept;
};

} // namespace recorder
