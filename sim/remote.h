#pragma once

#include "player.h"
#include "scenariolines.h"

#include <string>

namespace boardsim {

/// A play that another process conducts: it connects to the local socket that BOARDSIM_CONTROL names and does
/// at once what each line that comes there says: raw, pen, touch, erase, plug, unplug and mark, as in
/// scenarios. Used on one thread.
class Remote
{
public:
    /// Connects; @p scenario declares the devices.
    explicit Remote(const Scenario &scenario);
    ~Remote();
    Remote(const Remote &) = delete;
    Remote &operator=(const Remote &) = delete;

    /// Whether the variable is set, and somebody listens there.
    bool isConnected() const { return m_socket >= 0; }
    /// Returns at the end of the connection, or false as soon as the stage has stopped the play. A line that
    /// is wrong is told on standard error and skipped.
    bool play(Stage &stage);

private:
    bool receive();
    void obeyLines(Stage &stage);
    void obey(const std::string &line, Stage &stage);

    int m_socket = -1;
    std::string m_received; ///< up to the next newline
    ScenarioLines m_lines;
    int m_count = 0; ///< of lines
};

} // namespace boardsim
