#pragma once

#include <map>
#include <string>
#include <vector>

namespace lab {

/// A program that is started with a changed environment, and waited for. The terminal's Ctrl-C is the
/// program's, not the command's; SIGTERM is passed on.
class Launch
{
public:
    /// The program, looked for in PATH unless it has a slash, and its arguments.
    explicit Launch(std::vector<std::string> program);

    void set(const std::string &name, const std::string &value);
    /// Puts @p folder in front of a variable that lists folders.
    void prependPath(const std::string &name, const std::string &folder);

    /// Returns the exit status, 128 and the number of the signal that has ended the program, or -1 if it
    /// could not be started, which one line on standard error then tells.
    int run();
    /// Ends the program that run() waits for, on another thread, with SIGTERM.
    static void end();

private:
    const std::vector<std::string> m_program;
    std::map<std::string, std::string> m_changes;
};

} // namespace lab
