#include "commands/commandline.h"

#include <CLI/CLI.hpp>

#include <optional>

namespace lab {

const Option &Option::type(const char *name) const
{
    m_option.type_name(name);
    return *this;
}

const Option &Option::showsDefault() const
{
    m_option.capture_default_str();
    return *this;
}

const Option &Option::required() const
{
    m_option.required();
    return *this;
}

const Option &Option::atLeast(int values) const
{
    m_option.expected(values, -1);
    return *this;
}

const Option &Option::single() const
{
    m_option.allow_extra_args(false);
    return *this;
}

const Option &Option::needs(const Option &other) const
{
    m_option.needs(&other.m_option);
    return *this;
}

const Option &Option::excludes(const Option &other) const
{
    m_option.excludes(&other.m_option);
    return *this;
}

const Option &Option::range(int lowest, int highest) const
{
    m_option.check(CLI::Range(lowest, highest));
    return *this;
}

const Option &Option::range(double lowest, double highest) const
{
    m_option.check(CLI::Range(lowest, highest));
    return *this;
}

const Option &Option::among(const std::vector<std::string> &values) const
{
    m_option.check(CLI::IsMember(values));
    return *this;
}

const Option &Option::existingFile() const
{
    m_option.check(CLI::ExistingFile);
    return *this;
}

const Option &Option::existingPath() const
{
    m_option.check(CLI::ExistingPath);
    return *this;
}

const Option &Option::check(std::string (*faultOf)(const std::string &value)) const
{
    m_option.check(faultOf);
    return *this;
}

template <class Value> Option Command::option(const char *name, Value &value, const char *description) const
{
    return Option(*m_command.add_option(name, value, description));
}

template Option Command::option(const char *, std::string &, const char *) const;
template Option Command::option(const char *, int &, const char *) const;
template Option Command::option(const char *, double &, const char *) const;
template Option Command::option(const char *, std::optional<int> &, const char *) const;
template Option Command::option(const char *, std::vector<std::string> &, const char *) const;
template Option Command::option(const char *, std::vector<int> &, const char *) const;

Option Command::flag(const char *name, bool &value, const char *description) const
{
    return Option(*m_command.add_flag(name, value, description));
}

void Command::argumentsAtEnd() const
{
    m_command.positionals_at_end();
}

void Command::footer(const char *text) const
{
    m_command.footer(text);
}

void Command::run(const std::function<int()> &work) const
{
    m_command.callback([work, &status = m_status] { status = work(); });
}

CommandLine::CommandLine()
    : m_lab(std::make_unique<CLI::App>(
        "Records, shows, checks and replays what an electronic whiteboard reports.", "lanternix-lab"))
{
    m_lab->set_version_flag("--version", "lanternix-lab " LANTERNIX_VERSION);
    m_lab->require_subcommand(1);
    m_lab->failure_message([](const CLI::App *, const CLI::Error &error) {
        return "lanternix-lab: " + std::string(error.what()) + "; see lanternix-lab --help\n";
    });
}

CommandLine::~CommandLine() = default;

Command CommandLine::command(const char *name, const char *description)
{
    return {*m_lab->add_subcommand(name, description), m_status};
}

bool CommandLine::isKnown(const std::string &first) const
{
    const auto isNamed = [&first](const CLI::App *command) { return command->get_name() == first; };
    return first.rfind('-', 0) == 0 || !m_lab->get_subcommands(isNamed).empty();
}

int CommandLine::run(int argc, char *argv[])
try {
    if (argc > 1 && !isKnown(argv[1]))
        throw CLI::ExtrasError("there is no subcommand " + std::string(argv[1]), CLI::ExitCodes::ExtrasError);
    m_lab->parse(argc, argv);
    return m_status;
} catch (const CLI::ParseError &error) {
    return m_lab->exit(error) == 0 ? success : unreadable;
}

} // namespace lab
