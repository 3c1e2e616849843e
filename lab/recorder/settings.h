#pragma once

#include <string>

namespace recorder {

/// What the environment asks of the recorder.
struct Settings
{
    std::string driver;    ///< BOARDREC_DRIVER: the real driver, an absolute path
    std::string capture;   ///< BOARDREC_CAPTURE: the file that is written; empty for none
    std::string socket;    ///< BOARDREC_SOCKET: where readers get every line live; empty for nowhere
    bool identify = false; ///< BOARDREC_IDENTIFY: whether user, host and serial numbers may stand in it

    static Settings fromEnvironment();
};

} // namespace recorder
