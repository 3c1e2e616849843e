#include "support/lab_lines.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <string>

// The command with a catalogue of the test's own, of which a few texts are translated.

namespace {

using namespace lab_testing;

const QByteArray catalogue = R"(
msgid ""
msgstr ""
"Content-Type: text/plain; charset=UTF-8\n"
"Plural-Forms: nplurals=2; plural=(n != 1);\n"

msgid "Usage"
msgstr "Aufruf"

msgid "OPTIONS"
msgstr "OPTIONEN"

msgid "Options"
msgstr "Optionen"

msgid "REQUIRED"
msgstr "NÖTIG"

msgid "Print one JSON object"
msgstr "Ein JSON-Objekt drucken"

msgid "%s; see lanternix-lab --help"
msgstr "%s; siehe lanternix-lab --help"

msgid "%s is required"
msgstr "%s fehlt"

msgid "%s excludes %s"
msgstr "%2$s schließt %1$s aus"

msgid "cut off; read up to the line before"
msgstr "abgeschnitten; bis zur Zeile davor gelesen"

#, c-format
msgid "%s: good; %s, %s, %s, %s, %s, %.6f s, without an end\n"
msgstr "%1$s: gut; %7$.6f s ohne Ende, %3$s, %2$s, %4$s, %5$s, %6$s\n"

msgid "%lld reports"
msgid_plural "%lld reports"
msgstr[0] "%lld Meldung"
msgstr[1] "%lld Meldungen"

msgid "pen"
msgstr "Stift"

msgid "hovering"
msgstr "schwebend"

msgid "en"
msgstr "de"

msgid "Board report"
msgstr "Prüfbericht"
)";

const QByteArray onePen = first + board + pen(1000, 5);

class TheCommandInGerman : public testing::Test
{
protected:
    TheCommandInGerman()
    {
        write("de.po", catalogue);
        QDir().mkpath(m_folder.filePath("de/LC_MESSAGES"));
        QProcess::execute("msgfmt",
                          {"--check-format", "--output-file",
                           m_folder.filePath("de/LC_MESSAGES/lanternix-lab.mo"), m_folder.filePath("de.po")});
    }

    QString write(const QString &name, const QByteArray &content) const
    {
        QFile file(m_folder.filePath(name));
        file.open(QIODevice::WriteOnly);
        file.write(content);
        return file.fileName();
    }

    /// What the command prints, on both channels, with its catalogue in the locale.
    std::string told(const QStringList &arguments, const QString &locale = "C.UTF-8") const
    {
        QProcess process;
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert("TEXTDOMAINDIR", m_folder.path());
        environment.insert("LANGUAGE", "de");
        environment.insert("LC_ALL", locale);
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(m_folder.path());
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(LANTERNIX_LAB, arguments);
        process.waitForFinished();
        return process.readAll().toStdString();
    }

private:
    const QTemporaryDir m_folder;
};

void expectPart(const std::string &text, const std::string &part)
{
    EXPECT_NE(text.find(part), std::string::npos) << "\"" << part << "\" is missing in:\n" << text;
}

TEST_F(TheCommandInGerman, ExplainsItself)
{
    const std::string help = told({"check", "--help"});

    expectPart(help, "Aufruf: lanternix-lab check [OPTIONEN] FILE");
    expectPart(help, "\nOptionen:\n");
    expectPart(help, "FILE TEXT NÖTIG");
    expectPart(help, "Ein JSON-Objekt drucken");
}

TEST_F(TheCommandInGerman, RefusesACommandLine)
{
    EXPECT_EQ(told({"check"}), "lanternix-lab: FILE fehlt; siehe lanternix-lab --help\n");
}

TEST_F(TheCommandInGerman, TellsPiecesInTheOrderOfTheLanguage)
{
    write("a", {});

    EXPECT_EQ(told({"record", "--sim", "a", "--driver", "a"}),
              "lanternix-lab: --driver schließt --sim aus; siehe lanternix-lab --help\n");
}

struct CountRow
{
    const char *name;
    QByteArray recording;
    const char *told;
};

class AResultInGerman : public TheCommandInGerman, public testing::WithParamInterface<CountRow>
{
};

TEST_P(AResultInGerman, IsCountedAsTheLanguageCounts)
{
    write("a", GetParam().recording);

    EXPECT_EQ(told({"check", "a"}), GetParam().told);
}

INSTANTIATE_TEST_SUITE_P(
    , AResultInGerman,
    testing::Values(
        CountRow{
            "One", onePen,
            "a: gut; 0.001000 s ohne Ende, 1 Meldung (1 Stift), 3 lines, 0 calls, 0 handed back, 0 lost\n"},
        CountRow{"Two", onePen + pen(2000, 6),
                 "a: gut; 0.002000 s ohne Ende, 2 Meldungen (2 Stift), 4 lines, 0 calls, 0 handed back, 0 "
                 "lost\n"},
        CountRow{"None", first + board,
                 "a: gut; 0.000000 s ohne Ende, 0 Meldungen, 2 lines, 0 calls, 0 handed back, 0 lost\n"}),
    [](const auto &row) { return std::string(row.param.name); });

TEST_F(TheCommandInGerman, TellsWhereARecordingIsCutOff)
{
    write("a", onePen + "{\"type\":");

    expectPart(told({"check", "a"}), "a:4: abgeschnitten; bis zur Zeile davor gelesen\n");
}

TEST_F(TheCommandInGerman, KeepsColumnsBehindLettersOfTwoBytes)
{
    write("a", first + board + pen(1000, 5, false));

    expectPart(told({"show", "a", "--kind", "pen"}), "board 7  Stift  2 schwebend at 5,5");
}

TEST_F(TheCommandInGerman, WritesAPageThatTellsItsLanguage)
{
    write("a", onePen);

    EXPECT_EQ(told({"report", "a", "-o", "page.html"}), "");
    QFile page(write("a", onePen).section('/', 0, -2) + "/page.html");
    page.open(QIODevice::ReadOnly);
    const std::string text = page.readAll().toStdString();

    expectPart(text, "<html lang=\"de\">");
    expectPart(text, "<h1>Prüfbericht</h1>");
}

class ForPrograms : public TheCommandInGerman, public testing::WithParamInterface<QStringList>
{
};

TEST_P(ForPrograms, TheSameIsPrintedInEveryLanguage)
{
    write("a", onePen + pen(2000, 6, false));

    const std::string english = told(GetParam(), "C");

    EXPECT_NE(english, "");
    for (const char *const locale : {"C.UTF-8", "de_DE.UTF-8", "fr_FR.UTF-8"})
        EXPECT_EQ(told(GetParam(), locale), english) << locale;
}

INSTANTIATE_TEST_SUITE_P(, ForPrograms,
                         testing::Values(QStringList{"check", "a", "--json"},
                                         QStringList{"show", "a", "--json"},
                                         QStringList{"diff", "a", "a", "--json"},
                                         QStringList{"report", "a", "--json"},
                                         QStringList{"export", "a", "--csv"}, QStringList{"anonymise", "a"}),
                         [](const auto &row) { return row.param.first().toStdString(); });

TEST_F(TheCommandInGerman, KeepsThePointOfItsNumbers)
{
    write("a", onePen);

    expectPart(told({"check", "a"}, "de_DE.UTF-8"), " 0.001000 s ");
    expectPart(told({"show", "a"}, "de_DE.UTF-8"), " 0.001000  board 7");
}

TEST_F(TheCommandInGerman, IsEnglishInTheLocaleC)
{
    write("a", onePen);

    EXPECT_EQ(told({"check"}, "C"), "lanternix-lab: FILE is required; see lanternix-lab --help\n");
    EXPECT_EQ(told({"check", "a"}, "C"),
              "a: good; 3 lines, 1 reports (1 pen), 0 calls, 0 handed back, 0 lost, 0.001000 s, without an "
              "end\n");
}

} // namespace
