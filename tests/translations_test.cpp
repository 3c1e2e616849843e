#include <QFile>
#include <QRegularExpression>
#include <QString>

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

} // namespace
