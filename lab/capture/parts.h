#pragma once

#include "capture/writer.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace capture {

// A rolling recording is a folder of parts, each of which plays by itself: its first line is that of the
// recording with an object "part", then come the lines that restore what the boards were and held, then those
// of a minute, with their times since the part began.

/// What the object "part" of a part's first line says. Times are microseconds.
struct PartHead
{
    std::int64_t number = 1;   ///< from 1 on
    std::int64_t begin = 0;    ///< of the part, since the recording began
    std::int64_t restored = 0; ///< lines behind the first that restore the state at that time
    std::int64_t keep = 0;     ///< how much is to be kept
};

/// The folder with the parts of the recording @p capture.
std::string partsFolder(const std::string &capture);
/// The file of one part in @p folder.
std::string partName(const std::string &folder, std::int64_t number);
/// The numbers of the parts in @p folder, lowest first.
std::vector<std::int64_t> partsIn(const std::string &folder);

/// The first line of a part, made of the recording's.
Writer::Json withHead(Writer::Json first, const PartHead &head);
/// The opposite; @p first keeps what is not the part's. Nothing if it is no part's first line.
std::optional<PartHead> takeHead(Writer::Json &first);

/// What a recording made of parts holds, or why there is none.
struct Kept
{
    std::string error; ///< one line without its newline; empty if the recording has been written
    std::int64_t reports = 0;
    std::int64_t time = 0; ///< microseconds
};

/// Writes the last seconds that the parts in @p folder are to keep as one recording, as if that had been cut
/// out of a whole one. Parts after @p last are left out, and so is what came after @p until, microseconds
/// since the recording began; without it the last line's time counts. Nothing else may delete parts
/// meanwhile.
Kept joinParts(const std::string &folder, const std::string &output,
               std::int64_t last = std::numeric_limits<std::int64_t>::max(),
               std::optional<std::int64_t> until = {});

} // namespace capture
