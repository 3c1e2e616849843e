#include "support/checkout.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <string>

namespace {

/// A project with a source file of few texts, and one language.
class ScriptsLanguages : public testing::Test
{
protected:
    ScriptsLanguages()
    {
        QDir().mkpath(m_checkout.folder() + "/lab/po");
        m_checkout.write("a checkout/lab/po/LINGUAS", "de\n");
        write_source(R"(tr("it is good"); tr("%s of %d"); trCount("%lld lines", 2);)");
    }

    void write_source(const QByteArray &texts) const
    {
        m_checkout.write("a checkout/lab/a.cpp", "void f() { " + texts + " }\n");
    }
    Ending run(const QStringList &arguments = {}) const
    {
        return m_checkout.run("a checkout/scripts/languages", arguments);
    }
    QByteArray content(const QString &name) const
    {
        QFile file(m_checkout.folder() + "/lab/po/" + name);
        file.open(QIODevice::ReadOnly);
        return file.readAll();
    }
    void replace_in_german(const QByteArray &text, const QByteArray &by) const
    {
        m_checkout.write("a checkout/lab/po/de.po", content("de.po").replace(text, by));
    }
    void translate_all() const
    {
        run();
        replace_in_german("good\"\nmsgstr \"", "good\"\nmsgstr \"es ist gut");
        replace_in_german("of %d\"\nmsgstr \"", "of %d\"\nmsgstr \"%2$d hat %1$s");
        replace_in_german("msgstr[0] \"", "msgstr[0] \"%lld Zeile");
        replace_in_german("msgstr[1] \"", "msgstr[1] \"%lld Zeilen");
    }
    /// The check fails, and its last line begins so.
    void expect_fault(const char *fault) const
    {
        const Ending ending = run({"--check"});
        EXPECT_EQ(ending.status, 1);
        const QByteArray last = ending.errors.trimmed().split('\n').last();
        EXPECT_TRUE(last.startsWith(QByteArray("scripts/languages: ") + fault)) << ending.errors.constData();
    }

    const Checkout m_checkout;
};

TEST_F(ScriptsLanguages, FindsTheTextsAndBeginsALanguage)
{
    const Ending ending = run();

    EXPECT_EQ(ending.status, 0) << ending.errors.constData();
    for (const char *const name : {"lanternix-lab.pot", "de.po"}) {
        EXPECT_TRUE(content(name).contains("#: lab/a.cpp\nmsgid \"it is good\"")) << name;
        EXPECT_TRUE(content(name).contains("#, c-format\nmsgid \"%s of %d\"")) << name;
        EXPECT_TRUE(content(name).contains("msgid_plural \"%lld lines\"")) << name;
    }
    EXPECT_TRUE(content("de.po").contains("nplurals=2; plural=(n != 1);"));
}

TEST_F(ScriptsLanguages, KeepsTranslationsAndIsContentWithAllOfThem)
{
    translate_all();
    const QByteArray translated = content("de.po");

    EXPECT_EQ(run().status, 0);
    EXPECT_EQ(content("de.po").toStdString(), translated.toStdString());
    const Ending check = run({"--check"});
    EXPECT_EQ(check.status, 0) << check.errors.constData();
}

TEST_F(ScriptsLanguages, NamesTheTemplateThatIsNotOfTheSources)
{
    translate_all();

    write_source(R"(tr("it is bad");)");

    expect_fault("lab/po/lanternix-lab.pot: ");
}

TEST_F(ScriptsLanguages, NamesTheLanguageThatLacksAText)
{
    run();

    expect_fault("lab/po/de.po: ");
}

struct Spoiling
{
    const char *name;
    const char *good;
    const char *bad;
};

class ATranslation : public ScriptsLanguages, public testing::WithParamInterface<Spoiling>
{
};

TEST_P(ATranslation, IsNamedIfItIsAtFault)
{
    translate_all();

    replace_in_german(GetParam().good, GetParam().bad);

    expect_fault("lab/po/de.po: ");
}

INSTANTIATE_TEST_SUITE_P(, ATranslation,
                         testing::Values(Spoiling{"Doubtful", "msgid \"it is", "#, fuzzy\nmsgid \"it is"},
                                         Spoiling{"OtherPlaceholders", "%2$d hat %1$s", "%d hat %s"},
                                         Spoiling{"Empty", "es ist gut", ""},
                                         Spoiling{"BrokenFile", "msgid \"it is", "msgid it is"}),
                         [](const auto &row) { return std::string(row.param.name); });

} // namespace
