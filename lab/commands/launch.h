#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>
#include <unistd.h>

namespace lab {

/// A program that is started with a changed environment, and waited for. The terminal's Ctrl-C is the
/// program's, not the command's; SIGTERM is passed on. Used on one thread.
class Launch
{
public:
    /// The program, looked for in PATH unless it has a slash, and its arguments.
    explicit Launch(std::vector<std::string> program);
    /// Ends the program with SIGTERM and waits for it, if it still runs.
    ~Launch();
    Launch(const Launch &) = delete;
    Launch &operator=(const Launch &) = delete;

    void set(const std::string &name, const std::string &value);
    /// Puts @p folder in front of a variable that lists folders.
    void prependPath(const std::string &name, const std::string &folder);

    /// Lets the program print to standard error what it would print to standard output.
    void keepOffOutput() { sendOutputTo(STDERR_FILENO); }
    /// Lets the program print to @p file, which is open until it has started, what it would print to standard
    /// output.
    void sendOutputTo(int file) { m_stream = file; }
    /// Lets the program print to new files, @p output for standard output and @p errors for standard error.
    void printTo(const std::string &output, const std::string &errors);

    /// False if the program could not be started, which one line on standard error then tells.
    bool start();
    /// A descriptor for poll(), which can be read when the program has ended. -1 before start().
    int ending() const { return m_ending; }
    bool hasEnded() const;
    /// The number of the running process; 0 if none runs.
    pid_t process() const { return m_process; }
    /// Asks the program to end, with SIGTERM.
    void end() const;
    /// Ends the program at once, with SIGKILL.
    void kill() const;
    /// Waits for the end. Returns the exit status, or 128 and the number of the signal that has ended the
    /// program, or -1 if it has not been started.
    int wait();
    /// Starts the program and waits for it.
    int run() { return start() ? wait() : -1; }

private:
    class Signals;

    const std::vector<std::string> m_program;
    std::map<std::string, std::string> m_changes;
    int m_stream = STDOUT_FILENO; ///< takes what the program prints
    std::string m_output;         ///< files that take it instead; empty for none
    std::string m_errors;
    pid_t m_process = 0; ///< 0 if none runs that has not been waited for
    int m_ending = -1;
    std::unique_ptr<Signals> m_signals; ///< while it runs
};

} // namespace lab
