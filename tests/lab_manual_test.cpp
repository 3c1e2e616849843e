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

// The manual page in each language and the completion are held against what the command itself says with
// --help.

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

/// The sections of a manual page by their names; hyphens as they are typed, without the changes of font.
QMap<QString, QString> sections(const char *page)
{
    QFile file(page);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << page;
    QString content = QString::fromUtf8(file.readAll());
    content.replace("\\-", "-").remove(QRegularExpression("\\\\f[BIPR]"));
    QMap<QString, QString> sections;
    for (const QString &text : content.split("\n.SH ").mid(1))
        sections[text.section('\n', 0, 0).remove('"')] = text.section('\n', 1);
    return sections;
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

struct PageRow
{
    const char *language;
    const char *file;
    Names others; ///< the sections that are not about a subcommand
};

class TheManualPage : public testing::TestWithParam<PageRow>
{
protected:
    const QMap<QString, QString> m_sections = sections(GetParam().file);

    QString sectionOf(const std::string &subcommand) const
    {
        return m_sections.value(QString::fromStdString(subcommand).toUpper());
    }
};

TEST_P(TheManualPage, HasASectionForEachSubcommandAndNoOther)
{
    Names named;
    for (const QString &name : m_sections.keys()) {
        if (GetParam().others.count(name.toStdString()) == 0)
            named.insert(name.toLower().toStdString());
    }

    EXPECT_GE(named.size(), 10U);
    EXPECT_EQ(named, subcommands());
}

TEST_P(TheManualPage, ExplainsEachOptionAndNoOther)
{
    for (const std::string &subcommand : subcommands())
        EXPECT_EQ(find(sectionOf(subcommand), "(?<![a-z-])(--[a-z][a-z-]*)"), optionsOf(subcommand))
            << subcommand;
}

TEST_P(TheManualPage, HasTheShortOptions)
{
    for (const std::string &subcommand : subcommands())
        EXPECT_EQ(find(sectionOf(subcommand), "(?<![a-z-])(-[a-z])(?![a-z-])"), shortOptionsOf(subcommand))
            << subcommand;
}

TEST_P(TheManualPage, NamesEachPositionalInTheSynopsis)
{
    for (const std::string &subcommand : subcommands()) {
        const QString synopsis = sectionOf(subcommand).section("\n.PP", 0, 0);
        for (const std::string &positional : positionalsOf(subcommand))
            EXPECT_EQ(find(synopsis, ("\\b(" + positional + ")\\b").c_str()), Names{positional})
                << subcommand;
    }
}

INSTANTIATE_TEST_SUITE_P(, TheManualPage,
                         testing::Values(PageRow{"English",
                                                 MANUAL_PAGE,
                                                 {"NAME", "SYNOPSIS", "DESCRIPTION", "EXIT STATUS",
                                                  "ENVIRONMENT", "FILES", "SEE ALSO"}},
                                         PageRow{"German",
                                                 MANUAL_PAGES "/de/lanternix-lab.1.in",
                                                 {"BEZEICHNUNG", "ÜBERSICHT", "BESCHREIBUNG", "EXIT-STATUS",
                                                  "UMGEBUNGSVARIABLEN", "DATEIEN", "SIEHE AUCH"}},
                                         PageRow{"Spanish",
                                                 MANUAL_PAGES "/es/lanternix-lab.1.in",
                                                 {"NOMBRE", "SINOPSIS", "DESCRIPCIÓN", "ESTADO DE SALIDA",
                                                  "ENTORNO", "ARCHIVOS", "VÉASE TAMBIÉN"}},
                                         PageRow{"French",
                                                 MANUAL_PAGES "/fr/lanternix-lab.1.in",
                                                 {"NOM", "SYNOPSIS", "DESCRIPTION", "CODE DE RETOUR",
                                                  "ENVIRONNEMENT", "FICHIERS", "VOIR AUSSI"}}),
                         [](const auto &row) { return std::string(row.param.language); });

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
