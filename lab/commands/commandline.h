#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace lab {

// What a command returns to the shell.
constexpr int success = 0;
constexpr int findings = 1;   ///< what was looked for was found, or a limit was passed
constexpr int unreadable = 2; ///< the command line or an input makes no sense

/// An option or argument of a command, and what it accepts. Of a value that it does not accept one line on
/// standard error tells, and the command does not run. May be used as long as the CommandLine exists.
class Option
{
public:
    explicit Option(CLI::Option &option) : m_option(option) { }

    /// What the help calls the value.
    const Option &type(const char *name) const;
    /// The help tells the value that it has now, which is the default.
    const Option &showsDefault() const;

    const Option &required() const;
    const Option &atLeast(int values) const;
    /// It takes one value each time that it is given, so that an argument may follow.
    const Option &single() const;
    const Option &needs(const Option &other) const;
    const Option &excludes(const Option &other) const;

    const Option &range(int lowest, int highest) const;
    const Option &range(double lowest, double highest) const;
    const Option &among(const std::vector<std::string> &values) const;
    const Option &existingFile() const;
    const Option &existingPath() const;
    /// @p faultOf tells what is wrong with a value; nothing if it is good.
    const Option &check(std::string (*faultOf)(const std::string &value)) const;

private:
    CLI::Option &m_option;
};

/// A subcommand: what it takes, and what it does. May be used as long as the CommandLine exists.
class Command
{
public:
    Command(CLI::App &command, int &status) : m_command(command), m_status(status) { }

    /// An option such as "-o,--output", or an argument such as "FILE", whose value is written into @p value.
    /// That is a text, a number, an optional number, or a list of texts or numbers.
    template <class Value> Option option(const char *name, Value &value, const char *description) const;
    /// An option without value; "--calls,!--no-calls" has one that takes it back.
    Option flag(const char *name, bool &value, const char *description) const;
    /// All behind the first argument are arguments.
    void argumentsAtEnd() const;
    /// What the help says below the options.
    void footer(const char *text) const;
    /// Calls @p work if the command line chooses the command; it returns what the program returns to the
    /// shell.
    void run(const std::function<int()> &work) const;

private:
    CLI::App &m_command;
    int &m_status;
};

/// The subcommands of lanternix-lab. The only ones that know CLI11 are the classes of this file: it is slow
/// to compile, and a command is easier to read without it.
class CommandLine
{
public:
    CommandLine();
    ~CommandLine();
    CommandLine(const CommandLine &) = delete;
    CommandLine &operator=(const CommandLine &) = delete;

    Command command(const char *name, const char *description);
    /// Runs the command that is chosen, or prints the help, the version or one line about what makes no
    /// sense. Returns what the program returns to the shell.
    int run(int argc, char *argv[]);

private:
    /// Whether the first argument is an option or the name of a command.
    bool isKnown(const std::string &first) const;

    const std::unique_ptr<CLI::App> m_lab;
    int m_status = success;
};

} // namespace lab
