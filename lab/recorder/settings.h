#pragma once

#include <cstdint>
#include <string>

namespace recorder {

/// What the environment asks of the recorder.
struct Settings
{
    std::string driver;  ///< BOARDREC_DRIVER: the real driver, an absolute path
    std::string capture; ///< BOARDREC_CAPTURE: the file that is written; empty for none
    std::string socket;  ///< BOARDREC_SOCKET: where readers get every line live; empty for nowhere
    std::string vcd;     ///< BOARDREC_VCD: the waveform that is written; empty for none
    /// BOARDREC_KEEP: microseconds, if the recording is a rolling one; 0 if it is not.
    std::int64_t keep = 0;
    bool identify = false; ///< BOARDREC_IDENTIFY: whether user, host and serial numbers may stand in it

    static Settings fromEnvironment();
};

} // namespace recorder
