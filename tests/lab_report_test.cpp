#include "support/lab.h"
#include "support/synthetic.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

using namespace lab_testing;

namespace {

/// Files of a test, and the command on them.
class Report : public testing::Test
{
protected:
    QString write(const QString &name, const std::string &text) const
    {
        QFile file(path(name));
        QDir().mkpath(QFileInfo(file).path());
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text.data(), qint64(text.size()));
        return file.fileName();
    }
    QString path(const QString &name) const { return m_folder.filePath(name); }
    QString clean(const QString &name = "clean.jsonl", unsigned seed = 1) const
    {
        return write(name, synthetic::cleanRecording(seed).text());
    }
    /// A recording with ghosts, stuck contacts and a poor rate.
    QString bad(const QString &name = "bad.jsonl") const
    {
        synthetic::Recording recording;
        for (int i = 0; i < 8; ++i) {
            recording.add({capture::ReportKind::touch, i, 1.0 + 3 * i, 2, {4000, 8000}, {28000, 8000}, 40});
            recording.add(
                {capture::ReportKind::touch, 90, 2.0 + 3 * i, 0.016, {30000, 30000}, {30000, 30000}});
        }
        synthetic::Contact stuck{capture::ReportKind::touch, 99, 1, 1, {4000, 20000}, {9000, 20000}};
        stuck.lifts = false;
        recording.add(stuck);
        recording.end(60);
        return write(name, recording.text());
    }
    std::string read(const QString &name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "missing";
    }

private:
    QTemporaryDir m_folder;
};

QJsonObject object(const std::string &text)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(text), &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << error.errorString().toStdString();
    return document.object();
}

QJsonObject figure(const QJsonObject &capture, const char *key)
{
    return capture["figures"].toObject()[key].toObject();
}

TEST_F(Report, PrintsAFigureALineWithItsUnit)
{
    const Outcome outcome = lab({"report", clean()});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_NE(outcome.output.find("rate_min_hz                       125 Hz\n"), std::string::npos)
        << outcome.output;
    EXPECT_NE(outcome.output.find("clean.jsonl: Not graded: no profile was given\n"), std::string::npos);
    EXPECT_EQ(outcome.output.find("line_rms_mm"), std::string::npos)
        << "without a size nothing is in millimetres";
    EXPECT_EQ(outcome.errors, "");
}

TEST_F(Report, AsJsonTellsTheRecordingItsContactsAndItsFigures)
{
    const QString file = clean();
    const Outcome outcome = lab({"report", file, "--json"});
    EXPECT_EQ(outcome.status, 0);
    const QJsonObject whole = object(outcome.output);
    EXPECT_EQ(whole["version"], 1);
    ASSERT_EQ(whole["captures"].toArray().size(), 1);
    const QJsonObject capture = whole["captures"].toArray()[0].toObject();
    EXPECT_EQ(capture["file"], file);
    EXPECT_GT(capture["duration_s"].toDouble(), 15);
    EXPECT_EQ(capture["boards"].toArray()[0].toObject()["board"], 1);
    EXPECT_EQ(capture["boards"].toArray()[0].toObject()["info"], "hid<true>vid<04d8>");
    for (const char *const kind : {"pen", "touch", "erase", "other"})
        EXPECT_TRUE(capture["reports"].toObject()[kind].isDouble()) << kind;
    const QJsonArray contacts = capture["contacts"].toArray();
    ASSERT_EQ(contacts.size(), 16) << "six pens, six resting touches and four taps";
    for (const char *const key : {"kind", "board", "id", "from_s", "to_s", "samples", "figures"})
        EXPECT_TRUE(contacts[0].toObject().contains(key)) << key;
    const QJsonObject rate = figure(capture, "rate_min_hz");
    EXPECT_NEAR(rate["value"].toDouble(), 125, 0.2);
    EXPECT_EQ(rate["unit"], "Hz");
    EXPECT_TRUE(rate["limit"].isNull());
    EXPECT_EQ(rate["verdict"], "not graded");
    EXPECT_TRUE(figure(capture, "drum_roll_units")["value"].isNull()) << "nothing to measure it by";
}

TEST_F(Report, GradesByAProfileWithASoftEdge)
{
    const QString profile = write("soft.json", R"({"name":"soft","limits":[
        {"key":"rate_min_hz","unit":"Hz","least":145,"soft":40},
        {"key":"ghost_count","unit":"","most":0,"soft":0},
        {"key":"line_rms_mm","unit":"mm","most":1,"soft":1}]})");
    const QJsonObject capture =
        object(lab({"report", clean(), "--json", "--profile", profile}).output)["captures"]
            .toArray()[0]
            .toObject();
    const QJsonObject rate = figure(capture, "rate_min_hz");
    EXPECT_EQ(rate["limit"], 145);
    EXPECT_NEAR(rate["score"].toDouble(), 0.5, 0.01);
    EXPECT_EQ(rate["verdict"], "fail");
    EXPECT_EQ(figure(capture, "ghost_count")["score"], 1);
    EXPECT_EQ(figure(capture, "ghost_count")["verdict"], "pass");
    EXPECT_EQ(figure(capture, "line_rms_mm")["verdict"], "not graded") << "the size is not known";

    const QJsonObject sized =
        object(
            lab({"report", clean(), "--json", "--profile", profile, "--size", "1660x934"}).output)["captures"]
            .toArray()[0]
            .toObject();
    EXPECT_EQ(figure(sized, "line_rms_mm")["verdict"], "pass");
}

TEST_F(Report, TakesTheSizeFromAProfileOfThatBoard)
{
    const QString profile = write("mine.json", R"({"name":"mine","size_mm":[3276.8,1843.2],"limits":[
        {"key":"edge_left_percent","unit":"%","most":50,"soft":0}]})");
    const QJsonObject capture =
        object(lab({"report", clean(), "--json", "--profile", profile}).output)["captures"]
            .toArray()[0]
            .toObject();
    EXPECT_GT(figure(capture, "line_rms_mm")["value"].toDouble(), 0);
}

TEST_F(Report, KnowsTheProfilesByTheirNames)
{
    for (const char *const name : {"board", "robot", "touchpad", "touchscreen"}) {
        const Outcome outcome = lab({"report", clean(), "--profile", name, "--size", "1660x934"});
        EXPECT_EQ(outcome.status, 0) << outcome.errors;
        EXPECT_NE(outcome.output.find(std::string("limits of the profile ") + name), std::string::npos)
            << outcome.output;
    }
}

TEST_F(Report, FailsOnALimitOfTheCommandLine)
{
    struct Case
    {
        const char *limit;
        int status;
        const char *errors;
    };
    const QString file = clean();
    const std::string name = file.toStdString();
    for (const Case &given : std::vector<Case>{{"ghost_count>0", 0, ""},
                                               {"rate_min_hz<100", 0, ""},
                                               {"rate_min_hz<200", 1, ": rate_min_hz<200: it is 125\n"},
                                               {"drum_roll_units>0", 0, ""}}) {
        const Outcome outcome = lab({"report", file, "--fail-on", given.limit});
        EXPECT_EQ(outcome.status, given.status) << given.limit;
        EXPECT_EQ(outcome.errors, *given.errors ? name + given.errors : "") << given.limit;
    }
}

TEST_F(Report, RefusesWhatMakesNoSense)
{
    struct Case
    {
        QStringList arguments;
        std::string error;
    };
    const QString file = clean();
    const std::vector<Case> cases{
        {{"--size", "1660"}, "lanternix-lab: --size 1660 is no size in millimetres such as 1660x934\n"},
        {{"--size", "0x5"}, "lanternix-lab: --size 0x5 is no size in millimetres such as 1660x934\n"},
        {{"--size", "4x-5"}, "lanternix-lab: --size 4x-5 is no size in millimetres such as 1660x934\n"},
        {{"--fail-on", "rate"}, "lanternix-lab: \"rate\" is no limit such as rate_min_hz>0\n"},
        {{"--fail-on", "nothing>0"}, "lanternix-lab: \"nothing>0\" is no limit such as rate_min_hz>0\n"},
        {{"--profile", "unknown"}, "lanternix-lab: a profile unknown is not installed\n"},
        {{"--profile", "./missing.json"}, "./missing.json:0: cannot be read: No such file or directory\n"},
    };
    for (const Case &given : cases) {
        const Outcome outcome = lab(QStringList{"report", file} + given.arguments);
        EXPECT_EQ(outcome.status, 2) << given.error;
        EXPECT_EQ(outcome.errors, given.error);
        EXPECT_EQ(outcome.output, "");
    }
}

TEST_F(Report, OfAFaultyFileNamesItsLineAndKeepsWhatIsGood)
{
    const QString good = clean();
    const QString wrong = write("wrong.jsonl", "{\"type\":\"scenario\",\"version\":2}\nnonsense\n");
    const Outcome outcome = lab({"report", "--jsonl", wrong, good});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.errors.find(wrong.toStdString() + ":2: "), 0U) << outcome.errors;
    EXPECT_EQ(object(outcome.output)["file"], good);
}

TEST_F(Report, OfAFileThatIsCutOffMeasuresWhatIsWhole)
{
    std::string text = synthetic::cleanRecording(1).text();
    text.resize(text.size() / 2);
    const Outcome outcome = lab({"report", write("cut.jsonl", text)});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.errors.find("cut off; read up to the line before"), std::string::npos);
}

TEST_F(Report, ReadsStandardInput)
{
    const Outcome outcome =
        lab({"report", "-", "--json"}, QByteArray::fromStdString(synthetic::cleanRecording(1).text()));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(object(outcome.output)["captures"].toArray().size(), 1);
}

TEST_F(Report, AsLinesTellsEachRecordingOfAFolder)
{
    clean("day/b.jsonl", 2);
    clean("day/a.jsonl", 1);
    clean("day/deeper/c.jsonl", 3);
    clean("day/rolling.jsonl.parts/1.jsonl", 4);
    write("day/notes.txt", "no recording");
    const Outcome outcome = lab({"report", "--jsonl", path("day")});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    const QStringList lines = QString::fromStdString(outcome.output).split('\n', Qt::SkipEmptyParts);
    QStringList files;
    for (const QString &line : lines) {
        const QJsonObject capture = object(line.toStdString());
        EXPECT_EQ(capture["version"], 1);
        files << QDir(path("day")).relativeFilePath(capture["file"].toString());
    }
    EXPECT_EQ(files, QStringList({"a.jsonl", "b.jsonl", "deeper/c.jsonl"}));
}

TEST_F(Report, OfAnEmptyFolderSaysSo)
{
    QDir().mkpath(path("empty"));
    const Outcome outcome = lab({"report", path("empty")});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.errors,
              "lanternix-lab: there is no recording in " + path("empty").toStdString() + "\n");
}

TEST_F(Report, ComparesTwoRecordings)
{
    const QJsonObject same =
        object(lab({"report", clean("a.jsonl", 1), clean("b.jsonl", 2), "--json"}).output)["comparison"]
            .toObject();
    EXPECT_EQ(same["rate_min_hz"].toObject()["says"], "no difference shown");
    EXPECT_EQ(same["ghost_count"].toObject()["says"], "no difference shown");

    const QJsonObject worse =
        object(lab({"report", clean("a.jsonl", 1), bad(), "--json"}).output)["comparison"].toObject();
    EXPECT_EQ(worse["rate_p50_hz"].toObject()["says"], "worse");
    EXPECT_LT(worse["rate_p50_hz"].toObject()["high"].toDouble(), 0);
    EXPECT_EQ(worse["ghost_count"].toObject()["says"], "worse");

    const QJsonObject better =
        object(lab({"report", bad(), clean("a.jsonl", 1), "--json"}).output)["comparison"].toObject();
    EXPECT_EQ(better["rate_p50_hz"].toObject()["says"], "better");

    const Outcome text = lab({"report", clean("a.jsonl", 1), bad()});
    EXPECT_EQ(text.status, 0);
    EXPECT_NE(text.output.find("worse\n"), std::string::npos) << text.output;
}

TEST_F(Report, WritesJUnitForOtherPrograms)
{
    const QString out = path("out.xml");
    const QString wrong = write("wrong.jsonl", "nonsense\n");
    lab({"report", bad(), wrong, "--junit", out, "--profile", "board", "--fail-on", "ghost_count>5"});
    QXmlStreamReader xml(QByteArray::fromStdString(read("out.xml")));
    int cases = 0;
    QStringList failures;
    QStringList suites;
    QString name;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        const auto attributes = xml.attributes();
        if (xml.name() == QLatin1String("testsuite"))
            suites << attributes.value("name").toString() + ' ' + attributes.value("failures").toString();
        if (xml.name() == QLatin1String("testcase")) {
            ++cases;
            name = attributes.value("name").toString();
        }
        if (xml.name() == QLatin1String("failure"))
            failures << name;
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    EXPECT_EQ(suites, QStringList({path("bad.jsonl") + " 5", wrong + " 0"}));
    EXPECT_EQ(failures,
              QStringList({"rate_min_hz", "rate_p50_hz", "stuck_count", "ghost_count", "ghost_count>5"}));
    EXPECT_EQ(cases, 18) << "16 limits, one of the command line, and one for the file that cannot be read";
}

TEST_F(Report, OfAThousandRecordingsIsATableWithALineEach)
{
    for (int i = 0; i < 3; ++i)
        clean("day/" + QString::number(i) + ".jsonl", unsigned(i + 1));
    write("day/wrong.jsonl", "nonsense\n");
    const Outcome outcome = lab({"report", path("day"), "-o", path("table.html"), "--profile", "board"});
    EXPECT_EQ(outcome.status, 2) << "one cannot be read";
    const std::string page = read("table.html");
    for (const char *const text :
         {"<h1>4 recordings</h1>", "0.jsonl", "1.jsonl", "2.jsonl", "cannot be read"})
        EXPECT_NE(page.find(text), std::string::npos) << text;
}

} // namespace
