#pragma once

#include "capture/boards.h"
#include "capture/lineparser.h"
#include "capture/parts.h"
#include "recorder/output.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace recorder {

/// Writes a rolling recording: parts of a minute in a folder beside the recording's name, of which those are
/// deleted that are older than what is to be kept. What is written survives the end of the process. Times are
/// microseconds since the recording began. Used on the writer's thread.
class Parts
{
public:
    static constexpr std::int64_t usualLength = 60'000'000;

    /// Parts of the recording @p capture, whose first line is @p first; @p keep is how much is kept. Parts
    /// that an earlier process has left there are moved to the folder's name with ".before"; those that were
    /// there go. If they cannot be moved, nothing is written.
    Parts(const std::string &capture, capture::Writer::Json first, std::int64_t keep,
          std::int64_t length = usualLength);

    const std::string &folder() const { return m_folder; }
    /// The number of the part that is being written.
    std::int64_t number() const { return m_head.number; }

    /// Adds whole lines with their times in the recording, which begin with its first line.
    void write(std::string_view lines);
    /// Begins the next part if this one is as long as it may be. No line earlier than @p time will come,
    /// except for a call that has taken long: that gets the time at which its part begins.
    void roll(std::int64_t time);
    /// Begins the next part in any case.
    void beginNext(std::int64_t time);
    /// Deletes the parts of which all is older than what is kept at @p time.
    void deleteOld(std::int64_t time);

private:
    struct Written
    {
        std::int64_t number;
        std::int64_t end; ///< when the next part began
    };

    void open();
    void writeLine(std::string_view text);

    const std::string m_folder;
    const capture::Writer::Json m_first;
    const std::int64_t m_length;
    capture::PartHead m_head;
    std::unique_ptr<Output> m_output;
    bool m_hasEnded = false; ///< because something could not be written
    std::vector<Written> m_written;
    capture::LineParser m_parser;
    capture::Boards m_boards;
    capture::Writer m_writer;
    std::string m_line; ///< that is parsed
    std::int64_t m_lines = 0;
};

} // namespace recorder
