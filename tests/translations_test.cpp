#include <QFile>
#include <QString>

#include <gtest/gtest.h>

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

INSTANTIATE_TEST_SUITE_P(, EachLanguage, testing::Values("de", "es", "fr"),
                         [](const auto &language) { return std::string(language.param); });

} // namespace
