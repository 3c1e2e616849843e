#include "commands/commandline.h"

#include "commands/usageerror.h"
#include "language.h"

#include <CLI/CLI.hpp>

#include <optional>

namespace lab {

namespace {

/// The help with its own words in the person's language.
class Help : public CLI::Formatter
{
public:
    Help()
    {
        for (const char *const word : {trLater("Usage"), trLater("OPTIONS"), trLater("SUBCOMMAND"),
                                       trLater("Positionals"), trLater("Options"), trLater("Subcommands"),
                                       trLater("REQUIRED"), trLater("Needs"), trLater("Excludes")})
            label(word, tr(word));
    }

    std::string make_group(std::string group, bool isPositional,
                           std::vector<const CLI::Option *> options) const override
    {
        return CLI::Formatter::make_group(get_label(group), isPositional, std::move(options));
    }

    std::string make_subcommands(const CLI::App *command, CLI::AppFormatMode mode) const override
    {
        const std::string heading = "\nSubcommands:\n";
        std::string text = CLI::Formatter::make_subcommands(command, mode);
        if (text.rfind(heading, 0) == 0)
            text.replace(0, heading.size(), "\n" + get_label("Subcommands") + ":\n");
        return text;
    }
};

} // namespace

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
    return Option(*m_command.add_option(name, value, tr(description)));
}

template Option Command::option(const char *, std::string &, const char *) const;
template Option Command::option(const char *, int &, const char *) const;
template Option Command::option(const char *, double &, const char *) const;
template Option Command::option(const char *, std::optional<int> &, const char *) const;
template Option Command::option(const char *, std::vector<std::string> &, const char *) const;
template Option Command::option(const char *, std::vector<int> &, const char *) const;

Option Command::flag(const char *name, bool &value, const char *description) const
{
    return Option(*m_command.add_flag(name, value, tr(description)));
}

void Command::argumentsAtEnd() const
{
    m_command.positionals_at_end();
}

void Command::footer(const char *text) const
{
    m_command.footer(tr(text));
}

void Command::run(const std::function<int()> &work) const
{
    m_command.callback([work, &status = m_status] { status = work(); });
}

CommandLine::CommandLine()
    : m_lab(std::make_unique<CLI::App>(
        tr("Records, shows, checks and replays what an electronic whiteboard reports."), "lanternix-lab"))
{
    m_lab->formatter(std::make_shared<Help>());
    m_lab->set_help_flag("-h,--help", tr("Print this help message and exit"));
    m_lab->set_version_flag("--version", "lanternix-lab " LANTERNIX_VERSION,
                            tr("Display program version information and exit"));
    m_lab->require_subcommand(1);
    m_lab->failure_message([](const CLI::App *, const CLI::Error &error) {
        return "lanternix-lab: "
            + format(tr("%s; see lanternix-lab --help"), usageError(error.what()).c_str()) + "\n";
    });
}

CommandLine::~CommandLine() = default;

Command CommandLine::command(const char *name, const char *description)
{
    return {*m_lab->add_subcommand(name, tr(description)), m_status};
}

bool CommandLine::isKnown(const std::string &first) const
{
    const auto isNamed = [&first](const CLI::App *command) { return command->get_name() == first; };
    return first.rfind('-', 0) == 0 || !m_lab->get_subcommands(isNamed).empty();
}

int CommandLine::run(int argc, char *argv[])
try {
    if (argc > 1 && !isKnown(argv[1]))
        throw CLI::ExtrasError(std::string("there is no subcommand ") + argv[1], CLI::ExitCodes::ExtrasError);
    m_lab->parse(argc, argv);
    return m_status;
} catch (const CLI::ParseError &error) {
    return m_lab->exit(error) == 0 ? success : unreadable;
}

} // namespace lab
