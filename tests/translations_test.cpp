#include "support/checkout.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

QString content(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return QString::fromUtf8(file.readAll());
}

QString built(const QString &name)
{
    return content(PACKAGING "/" + name);
}

/// Each option that a manual page names, as often as it does.
std::multiset<std::string> options(QString page)
{
    page.replace("\\-", "-").remove(QRegularExpression("\\\\f[BIPR]"));
    std::multiset<std::string> found;
    const QRegularExpression option("(?<![\\w-])--?[a-z][a-z-]*",
                                    QRegularExpression::UseUnicodePropertiesOption);
    auto matches = option.globalMatch(page);
    while (matches.hasNext())
        found.insert(matches.next().captured().toStdString());
    return found;
}

class EachLanguage : public testing::TestWithParam<const char *>
{
protected:
    const QString m_language = GetParam();
};

TEST_P(EachLanguage, IsInTheMenuEntries)
{
    for (const char *entry : {"lanternix.desktop", "lanternix-sim.desktop"}) {
        const QString text = built(QString("translated/") + entry);
        for (const char *key : {"Name", "GenericName", "Comment", "Keywords"})
            EXPECT_EQ(text.count(QString("\n%1[%2]=").arg(key, m_language)), 1) << entry << ' ' << key;
    }
}

TEST_P(EachLanguage, IsInTheTextOfTheSoftwareCatalogue)
{
    const QString text = built("translated/org.example.lanternix.metainfo.xml");
    for (const char *tag : {"name", "summary", "p", "li", "caption"}) {
        const int originals = text.count(QString("<%1>").arg(tag));
        EXPECT_GT(originals, 0) << tag;
        EXPECT_EQ(text.count(QString("<%1 xml:lang=\"%2\">").arg(tag, m_language)), originals) << tag;
    }
}

TEST_P(EachLanguage, HasTheOptionsOfTheManualPages)
{
    for (const char *page : {"lanternix.1", "lanternix-sim.1", "lanternix-lab.1"}) {
        const QString original = content(LANTERNIX_SOURCE "/packaging/" + QString(page) + ".in");
        const QString translated = built(QString("manuals/%1/%2.in").arg(m_language, page));

        EXPECT_FALSE(options(original).empty()) << page;
        EXPECT_EQ(options(translated), options(original)) << page;
    }
}

INSTANTIATE_TEST_SUITE_P(, EachLanguage, testing::Values("de", "es", "fr"),
                         [](const auto &language) { return std::string(language.param); });

/// A checkout with the texts, in which one of them may be changed.
class TheScript : public testing::Test
{
protected:
    TheScript()
    {
        QProcess::execute("cp", {"-r", LANTERNIX_SOURCE "/packaging", m_checkout.path("a checkout")});
    }

    void replace(const QString &file, const QString &text, const QString &other) const
    {
        QString changed = packaged(file);
        ASSERT_TRUE(changed.contains(text)) << file.toStdString();
        changed.replace(text, other);
        m_checkout.write("a checkout/packaging/" + file, changed.toUtf8());
    }
    QString packaged(const QString &file) const
    {
        return content(m_checkout.path("a checkout/packaging/" + file));
    }
    Ending run(const QStringList &arguments) const
    {
        return m_checkout.run("a checkout/scripts/translations", arguments);
    }

    Checkout m_checkout;
};

TEST_F(TheScript, FindsNothingToDo)
{
    const Ending ending = run({"--check"});

    EXPECT_EQ(ending.status, 0);
    EXPECT_EQ(ending.output.toStdString(), "");
    EXPECT_EQ(ending.errors.toStdString(), "");
}

TEST_F(TheScript, MarksTheTranslationsOfAChangedText)
{
    replace("lanternix.1.in", "toggles the dotted grid", "toggles the grid");

    const Ending ending = run({});

    EXPECT_EQ(ending.status, 1);
    EXPECT_EQ(ending.output.split('\n').first().toStdString(), "Updated packaging/po4a/manuals.pot");
    EXPECT_TRUE(ending.errors.endsWith(" 1 fuzzy translation.\n")) << ending.errors.constData();
    for (const char *file : {"po4a/de.po", "po4a/es.po", "po4a/fr.po"})
        EXPECT_TRUE(packaged(file).contains("#| msgid \"toggles the dotted grid\"\n")) << file;
}

struct Fault
{
    const char *name;
    const char *file;
    const char *text;
    const char *replacement;
    const char *at; ///< the file to blame
    const char *cause;
};

class EachFault : public TheScript, public testing::WithParamInterface<Fault>
{
};

TEST_P(EachFault, IsFoundAndChangesNothing)
{
    replace(GetParam().file, GetParam().text, GetParam().replacement);
    const QString before = packaged(GetParam().file);

    const Ending ending = run({"--check"});

    EXPECT_EQ(ending.status, 1);
    EXPECT_EQ(ending.output.toStdString(), "");
    EXPECT_EQ(ending.errors.count('\n'), 1) << ending.errors.constData();
    EXPECT_TRUE(ending.errors.startsWith("scripts/translations: packaging/" + QByteArray(GetParam().at)))
        << ending.errors.constData();
    EXPECT_TRUE(ending.errors.contains(GetParam().cause)) << ending.errors.constData();
    EXPECT_EQ(packaged(GetParam().file), before);
}

INSTANTIATE_TEST_SUITE_P(
    , EachFault,
    testing::Values(Fault{"ChangedManualPage", "lanternix-sim.1.in", "shows the demonstration",
                          "shows a demonstration", "po4a/manuals.pot", " is not up to date;"},
                    Fault{"ChangedMenuEntry", "lanternix.desktop", "Whiteboard Test", "Board Test",
                          "po/desktop.pot", " is not up to date;"},
                    Fault{"ChangedCatalogueText", "org.example.lanternix.metainfo.xml.in", "The help screen",
                          "A screen", "po/desktop.pot", " is not up to date;"},
                    Fault{"NewLanguage", "po/LINGUAS", "fr\n", "fr\nit\n", "po/it.po", " is missing;"},
                    Fault{"NoTranslation", "po4a/de.po", "msgstr \"löscht die Striche\"", "msgstr \"\"",
                          "po4a/de.po", " 1 untranslated message."},
                    Fault{"FuzzyTranslation", "po/fr.po", "msgid \"Whiteboard Test\"",
                          "#, fuzzy\nmsgid \"Whiteboard Test\"", "po/fr.po", " 1 fuzzy translation."},
                    Fault{"NoEscapeSequence", "po4a/de.po", "\"löscht die Striche", "\"löscht\\q die Striche",
                          "po4a/de.po", "invalid control sequence"},
                    Fault{"OpenFont", "po4a/es.po", "\"borra los trazos", "\"borra B<los trazos",
                          "po4a/es.po", "Unbalanced '<' and '>'"},
                    Fault{"UnknownString", "po4a/fr.po", "\"efface les traits",
                          "\"efface \\\\*[x] les traits", "po4a/fr.po", "lanternix.1.in: "},
                    Fault{"OtherPlaceholder", "po4a/de.po", "msgstr \"@LANTERNIX_DATE@", "msgstr \"@DATUM@",
                          "po4a/de.po", " has other placeholders"}),
    [](const auto &row) { return std::string(row.param.name); });

} // namespace
