#pragma once

#include "commands/commandline.h"
#include "commands/launch.h"
#include "commands/lock.h"

#include <memory>
#include <string>

namespace lab {

/// What a recording takes beside the program: the recorder, the driver, and the lock that keeps a second
/// recording from the same board.
class Recording
{
public:
    struct Choice
    {
        std::string scenario; ///< for the simulated board; empty: a real one
        std::string driver;   ///< empty: the one that the loader finds
        std::string file;
        bool identify = false;
    };

    /// If something is missing, or the board is being recorded already, one line on standard error says so.
    explicit Recording(const Choice &choice);

    bool isReady() const { return m_lock && m_lock->isHeld(); }
    const std::string &driver() const { return m_driver; }
    /// An absolute path.
    const std::string &file() const { return m_file; }
    /// Lets the program be recorded when it starts.
    void prepare(Launch &launch) const;

private:
    const Choice m_choice;
    const std::string m_recorder;
    const std::string m_driver;
    const std::string m_file;
    std::unique_ptr<Lock> m_lock; ///< if recorder and driver are there
};

/// Adds --sim and --driver, which choose the board, and --identify.
void addBoardOptions(const Command &command, Recording::Choice &choice);

} // namespace lab
