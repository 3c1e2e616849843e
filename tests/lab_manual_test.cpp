#include "support/lab.h"

#include <QDir>
#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>

using namespace lab_testing;

// The manual page and the completion are held against what the command itself says with --help.

namespace {

using Names = std::set<std::string>;

/// All that @p pattern finds in its first group.
Names find(const QString &text, const char *pattern)
{
    Names found;
    auto matches = QRegularExpression(pattern, QRegularExpression::MultilineOption).globalMatch(text);
    while (matches.hasNext())
        found.insert(matches.next().captured(1).toStdString());
    return found;
}

QString help(const QStringList &subcommand = {})
{
    return QString::fromStdString(lab(subcommand + QStringList{"--help"}).output);
}

/// The part of a help text below a heading, up to the next blank line.
QString part(const QString &text, const char *heading)
{
    return text.section(QString("\n") + heading + ":", 1).section("\n\n", 0, 0);
}

Names subcommands()
{
    return find(help().section("\nSubcommands:", 1), "^  ([a-z]+) ");
}

QString tableOf(const std::string &subcommand)
{
    // Of each line only the names, since the words that explain them stand to their right.
    QStringList names;
    for (const QString &line : part(help({QString::fromStdString(subcommand)}), "Options").split('\n'))
        names << QRegularExpression("^  -[^ ]*").match(line).captured();
    return names.join('\n');
}

Names optionsOf(const std::string &subcommand)
{
    Names options = find(tableOf(subcommand), "(--[a-z-]+)");
    options.erase("--help");
    return options;
}

Names shortOptionsOf(const std::string &subcommand)
{
    Names options = find(tableOf(subcommand), "^  (-[a-z]),");
    options.erase("-h");
    return options;
}

Names positionalsOf(const std::string &subcommand)
{
    return find(part(help({QString::fromStdString(subcommand)}), "Positionals"), "^  ([A-Z]+) ");
}

/// The sections of the manual page by their names; hyphens as they are typed.
QMap<QString, QString> sections()
{
    QFile file(MANUAL_PAGE);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    QMap<QString, QString> sections;
    for (const QString &text : QString::fromUtf8(file.readAll()).replace("\\-", "-").split("\n.SH ").mid(1))
        sections[text.section('\n', 0, 0)] = text.section('\n', 1);
    return sections;
}

QString sectionOf(const std::string &subcommand)
{
    return sections().value(QString::fromStdString(subcommand).toUpper());
}

/// What bash offers behind @p words, the last of which is being typed.
Names completions(const QStringList &words, const QString &folder = "/")
{
    const QStringList script{"--norc",
                             "-c",
                             "compopt() { :; }; . \"$1\"; shift; COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1));"
                             "_lanternix_lab \"$1\"; printf '%s\\n' \"${COMPREPLY[@]}\"",
                             "bash",
                             COMPLETION,
                             LANTERNIX_LAB};
    QProcess bash;
    bash.setWorkingDirectory(folder);
    bash.start("bash", script + words);
    bash.waitForFinished();
    EXPECT_EQ(bash.readAllStandardError(), "");
    Names names;
    for (const QByteArray &line : bash.readAllStandardOutput().split('\n')) {
        if (!line.isEmpty())
            names.insert(line.toStdString());
    }
    return names;
}

} // namespace

TEST(TheManualPage, HasASectionForEachSubcommandAndNoOther)
{
    const Names others{"NAME", "SYNOPSIS", "DESCRIPTION", "EXIT STATUS", "ENVIRONMENT", "FILES", "SEE ALSO"};
    Names named;
    for (const QString &name : sections().keys()) {
        if (others.count(name.toStdString()) == 0)
            named.insert(name.toLower().toStdString());
    }

    EXPECT_GE(named.size(), 10U);
    EXPECT_EQ(named, subcommands());
}

TEST(TheManualPage, ExplainsEachOptionAndNoOther)
{
    for (const std::string &subcommand : subcommands())
        EXPECT_EQ(find(sectionOf(subcommand), "(?<![a-z-])(--[a-z][a-z-]*)"), optionsOf(subcommand))
            << subcommand;
}

TEST(TheManualPage, HasTheShortOptions)
{
    for (const std::string &subcommand : subcommands())
        EXPECT_EQ(find(sectionOf(subcommand), "(?<![a-z-])(-[a-z])(?![a-z-])"), shortOptionsOf(subcommand))
            << subcommand;
}

TEST(TheManualPage, NamesEachPositionalInTheSynopsis)
{
    for (const std::string &subcommand : subcommands()) {
        const QString synopsis = sectionOf(subcommand).section("\n.PP", 0, 0);
        for (const std::string &positional : positionalsOf(subcommand))
            EXPECT_EQ(find(synopsis, ("\\b(" + positional + ")\\b").c_str()), Names{positional})
                << subcommand;
    }
}

TEST(TheCompletion, OffersTheSubcommands)
{
    Names expected = subcommands();
    expected.insert({"--help", "--version"});

    EXPECT_EQ(completions({""}), expected);
    EXPECT_EQ(completions({"rep"}), (Names{"replay", "report"}));
}

TEST(TheCompletion, OffersTheOptionsOfEachSubcommand)
{
    for (const std::string &subcommand : subcommands()) {
        Names expected = optionsOf(subcommand);
        expected.insert("--help");
        EXPECT_EQ(completions({QString::fromStdString(subcommand), "--"}), expected);
    }
}

struct ValueRow
{
    const char *name;
    QStringList words;
    Names offered;
};

class Values : public testing::TestWithParam<ValueRow>
{
};

TEST_P(Values, AreOffered)
{
    QTemporaryDir folder;
    QDir(folder.path()).mkdir("recordings");
    QFile recording(folder.filePath("a b.jsonl"));
    ASSERT_TRUE(recording.open(QIODevice::WriteOnly));

    EXPECT_EQ(completions(GetParam().words, folder.path()), GetParam().offered);
}

const Names files{"a b.jsonl", "recordings"};

INSTANTIATE_TEST_SUITE_P(
    TheCompletion, Values,
    testing::Values(ValueRow{"Files", {"show", ""}, files},
                    ValueRow{"FilesBehindAFlag", {"show", "--all", ""}, files},
                    ValueRow{"FilesForAnOption", {"record", "--sim", ""}, files},
                    ValueRow{"FilesForAShortOption", {"record", "-o", "a"}, {"a b.jsonl"}},
                    ValueRow{"Kinds", {"show", "--kind", "e"}, {"erase"}},
                    ValueRow{"Speeds", {"replay", "--speed", "m"}, {"max"}},
                    ValueRow{"OnOrOff", {"latency", "--tags", "o"}, {"on", "off"}},
                    ValueRow{"Figures", {"watch", "--fail-on", "lost"}, {"lost_count>"}},
                    ValueRow{"FiguresOfAReport", {"report", "--fail-on", "ghost"}, {"ghost_count>"}},
                    ValueRow{"Faults", {"torture", "--run", "flo"}, {"flood"}},
                    ValueRow{"Requirements", {"selftest", "--run", "ta"}, {"tags"}},
                    ValueRow{"Profiles", {"report", "--profile", "b"}, {"board"}},
                    ValueRow{"NothingForANumber", {"cut", "--from", ""}, {}},
                    ValueRow{"NothingForAnArea", {"accept", "--window", ""}, {}},
                    ValueRow{"NothingForASize", {"accept", "--size", ""}, {}}),
    [](const auto &row) { return std::string(row.param.name); });
