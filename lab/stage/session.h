#pragma once

#include "commands/launch.h"
#include "commands/temporaryfolder.h"
#include "stage/display.h"
#include "stage/driverlog.h"
#include "stage/lines.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace lab {
class VirtualScreen;
}

namespace stage {

/// What a session needs; the screen outlives it.
struct Setting
{
    std::string program; ///< the file of lanternix
    std::string driver;  ///< the file of the driver library
    const lab::VirtualScreen *screen = nullptr;
    double patience = 30; ///< seconds for one step, on a busy machine
};

/// One start of the program on a screen of its own. Used on one thread.
class Session
{
public:
    explicit Session(const Setting &setting);

    /// A file of this session.
    std::string path(const std::string &name) const { return m_folder.path() + "/" + name; }
    /// Sets a variable of the program's environment. To be called before start().
    void set(const std::string &name, const std::string &value) { m_program.set(name, value); }
    /// Lets the simulated driver play these lines, which begin with devices, and keep a log. To be called
    /// before start().
    void play(const Lines &lines);
    /// The scenario line that waits until open(@p gate) is called.
    std::string gate(const std::string &gate) const;
    void open(const std::string &gate) const;

    /// Starts the program and waits for its window. False if it cannot be started or has no window, which one
    /// line on standard error has told.
    bool start();
    /// Waits until @p holds; false if the program ends before, or it does not in time.
    bool await(const std::function<bool()> &holds) const;
    /// Waits until the driver's log has the mark, as await() does.
    bool awaitMark(const std::string &mark);
    /// Presses Escape and waits for the end. The exit status, 128 and the number of the signal that has ended
    /// the program, or -1 if it does not end in time, and was killed.
    int end();

    /// The driver's log, as far as it has come.
    const DriverLog &log();
    /// The colour at a place in board units: 0xRRGGBB.
    std::optional<std::uint32_t> colourAt(int x, int y) const;
    /// A number that stands for what the screen shows.
    std::size_t picture() const { return m_display.fingerprint(); }
    pid_t process() const { return m_program.process(); }
    /// What the program has printed to standard output or standard error.
    std::string output() const;
    std::string errors() const;

private:
    const Setting m_setting;
    const lab::TemporaryFolder m_folder;
    lab::Launch m_program;
    DriverLog m_log;
    const Display m_display;
};

} // namespace stage
