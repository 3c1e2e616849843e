#include "support/lab.h"
#include "support/synthetic.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

using namespace lab_testing;

// The commands of docs/fleet.md, run as they stand there on a few recordings.

namespace {

QString document()
{
    QFile file(FLEET_DOCUMENT);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return QString::fromUtf8(file.readAll());
}

/// The command of the document that begins with these words, which may go on in further lines.
QString command(const QString &beginning)
{
    const QRegularExpression whole("^    (" + QRegularExpression::escape(beginning)
                                       + "(?:[^\\\\\\n]|\\\\\\n|\\\\)*)$",
                                   QRegularExpression::MultilineOption);
    const QString found = whole.match(document()).captured(1);
    EXPECT_FALSE(found.isEmpty()) << beginning.toStdString();
    return QString(found).replace("/usr/share/lanternix/fleet.sql", FLEET_SQL);
}

class Fleet : public testing::Test
{
protected:
    Fleet()
    {
        QDir().mkpath(m_folder.filePath("line"));
        for (int i = 1; i <= 6; ++i) {
            synthetic::Recording recording = synthetic::cleanRecording(unsigned(i));
            if (i == 4)
                for (int gap = 0; gap < 40; ++gap)
                    recording.lose(0.6 + 0.1 * gap, 0.615 + 0.1 * gap);
            QFile file(m_folder.filePath("line/lanternix-2026-11-0" + QString::number(i) + "-080000.jsonl"));
            EXPECT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(QByteArray::fromStdString(recording.text()));
        }
    }

    std::string run(const QString &shell) const
    {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("PATH", QFileInfo(LANTERNIX_LAB).path() + ':' + environment.value("PATH"));
        environment.insert("HOME", m_folder.path()); // where GNU parallel keeps its notes
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(m_folder.path());
        process.start("sh", {"-c", shell});
        EXPECT_TRUE(process.waitForFinished(60'000));
        EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
        return process.readAllStandardOutput().toStdString();
    }

private:
    QTemporaryDir m_folder;
};

TEST_F(Fleet, IsMeasuredGatheredAndAsked)
{
    run(command("find line"));
    run(command("sqlite3 fleet.db 'CREATE"));
    const std::string worst = run(command("sqlite3 -box fleet.db 'SELECT * FROM worst_boards"));
    EXPECT_NE(worst.find("lanternix-2026-11-04-080000.jsonl"), std::string::npos) << worst;
    EXPECT_NE(worst.find("gap_percent"), std::string::npos) << worst;
    EXPECT_EQ(worst.find("2026-11-03"), std::string::npos) << "a good board does not fail";
    EXPECT_NE(run(command("sqlite3 -box fleet.db 'SELECT * FROM failing_figures")).find("16.7"),
              std::string::npos);
    EXPECT_NE(run(command("sqlite3 -box fleet.db \"SELECT * FROM by_driver")).find("gap_count"),
              std::string::npos);
    EXPECT_NE(run(command("sqlite3 -box fleet.db \"SELECT * FROM by_week")).find("2026-44"),
              std::string::npos);
}

TEST_F(Fleet, TakesMoreLinesLater)
{
    run(command("find line"));
    run(command("sqlite3 fleet.db 'CREATE"));
    run(command("sqlite3 fleet.db 'CREATE"));
    EXPECT_EQ(run("sqlite3 fleet.db 'SELECT count(*) FROM recording'"), "12\n");
}

} // namespace
