#include "support/lab_lines.h"
#include "support/simulated_driver.h"

#include "commands/archive.h"

#include "capture/privacy.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <set>
#include <string>

#include <nlohmann/json.hpp>

#include <sys/utsname.h>

using namespace lab_testing;

namespace {

using Json = nlohmann::json;
using Names = std::set<std::string>;

/// A board that never reports.
const QByteArray board = "{\"type\":\"scenario\",\"version\":2,\"host\":\"desk-9\"}\n"
                         R"({"type":"device","kind":1,"board":7,"info":"xp<4>serial<A77>"})"
                         "\n";
const QByteArray recording = board + pen(5, 1) + pen(9, 2, false) + end(10);

struct Outcome
{
    int status = -1;
    QByteArray output;
    QByteArray errors;
};

/// A home of the test with a simulated driver in it, which has one board.
class ABundle : public testing::Test
{
protected:
    ABundle()
    {
        QDir(m_home.path()).mkdir("driver");
        EXPECT_TRUE(QFile::copy(SimulatedDriver::folder() + "/libzorvicboardex.so.1",
                                path("driver/libzorvicboardex.so.1")));
        m_environment.insert("HOME", m_home.path());
        m_environment.insert("LD_LIBRARY_PATH", path("driver"));
        m_environment.insert("XDG_RUNTIME_DIR", m_home.path());
        m_environment.insert("QT_QPA_PLATFORM", "offscreen");
        m_environment.insert("BOARDSIM_SCENARIO", write("board.jsonl", board));
        write("recording.jsonl", recording);
    }

    QString path(const QString &name) const { return m_home.filePath(name); }
    QString bundle() const { return path("bundle.tar.zst"); }
    QString write(const QString &name, const QByteArray &contents) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(contents);
        return file.fileName();
    }
    QByteArray read(const QString &name) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }
    void set(const QString &name, const QString &value) { m_environment.insert(name, value); }

    Outcome run(QStringList options, const QByteArray &answer = {}) const
    {
        if (!options.contains("-o"))
            options << "-o" << bundle();
        return start(LANTERNIX_LAB, QStringList{"bundle", "--seconds", "0"} + options, answer);
    }
    /// What tar finds in the bundle.
    QByteArray inside(const QString &name) const
    {
        return start("tar", {"--zstd", "-xOf", bundle(), "lanternix-bundle/" + name}).output;
    }
    Names names() const
    {
        const Outcome listed = start("tar", {"--zstd", "-tf", bundle()});
        EXPECT_EQ(listed.errors, "");
        Names found;
        for (const QByteArray &line : listed.output.split('\n')) {
            if (!line.isEmpty())
                found.insert(QString::fromUtf8(line).section('/', 1).toStdString());
        }
        return found;
    }
    Outcome start(const QString &program, const QStringList &arguments, const QByteArray &input = {}) const
    {
        QProcess process;
        process.setProcessEnvironment(m_environment);
        process.start(program, arguments);
        process.write(input);
        process.closeWriteChannel();
        process.waitForFinished();
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                process.readAllStandardOutput(), process.readAllStandardError()};
    }

private:
    QTemporaryDir m_home;
    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
};

const Names always{"contents.txt", "probe.txt",  "probe.json", "versions.txt",
                   "screens.json", "locale.txt", "loader.txt"};

} // namespace

TEST_F(ABundle, HoldsWhatIsKnownOfTheMachineAndTheRecording)
{
    const Outcome outcome = run({"--yes", path("recording.jsonl")});

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.output, bundle().toUtf8() + "\n");
    Names expected = always;
    expected.insert({"recording.jsonl", "report.html", "report.txt"});
    EXPECT_EQ(names(), expected);
    EXPECT_TRUE(inside("probe.txt").startsWith("ready, but no report of board 7 came"));
    EXPECT_EQ(Json::parse(inside("probe.json").toStdString())["ready"], true);
    EXPECT_TRUE(inside("versions.txt").startsWith("lanternix-lab " LANTERNIX_VERSION "\n"));
    EXPECT_EQ(Json::parse(inside("screens.json").toStdString())["screens"][0]["width"], 800);
    EXPECT_TRUE(inside("report.html").startsWith("<!DOCTYPE html>"));
}

TEST_F(ABundle, NamesNoFolderNoMachineAndNoSerialNumber)
{
    run({"--yes", path("recording.jsonl")});

    utsname system{};
    ASSERT_EQ(uname(&system), 0);
    for (const std::string &name : names()) {
        const QByteArray contents = inside(QString::fromStdString(name));
        for (const QByteArray &secret : {path("").toUtf8(), QByteArray("A77"), QByteArray("desk-9")})
            EXPECT_FALSE(contents.contains(secret)) << name << ": " << secret.toStdString();
        const QRegularExpression host("(?<![\\w-])" + QRegularExpression::escape(system.nodename)
                                      + "(?![\\w-])");
        EXPECT_FALSE(host.match(QString::fromUtf8(contents)).hasMatch()) << name;
    }
    EXPECT_TRUE(inside("probe.txt").contains("~/driver/libzorvicboardex.so.1"));
}

TEST_F(ABundle, NamesThemIfAsked)
{
    run({"--yes", "--identify", path("recording.jsonl")});

    EXPECT_TRUE(inside("probe.txt").contains(path("driver").toUtf8()));
    EXPECT_TRUE(inside("probe.txt").contains("serial<A77>"));
    EXPECT_TRUE(inside("recording.jsonl").contains("serial<A77>"));
}

TEST_F(ABundle, TellsEachStepThatFails)
{
    set("QT_QPA_PLATFORM", "minimal-no-such-platform");

    const Outcome outcome = run({"--yes", "--json"});

    EXPECT_EQ(outcome.status, 0);
    Names expected = always;
    expected.erase("screens.json");
    EXPECT_EQ(names(), expected);
    const QByteArray contents = inside("contents.txt");
    EXPECT_TRUE(contents.contains("screens.json: left out: Could not find the Qt platform plugin"))
        << contents.toStdString();
    EXPECT_TRUE(contents.contains("recording.jsonl: left out: lanternix-lab: nothing is being recorded"))
        << contents.toStdString();
    const Json json = Json::parse(outcome.output.toStdString());
    EXPECT_EQ(json["contents"].back()["failure"], "lanternix-lab: nothing is being recorded");
}

TEST_F(ABundle, TellsARecordingThatCannotBeRead)
{
    run({"--yes", write("bad.jsonl", "no recording\n")});

    EXPECT_EQ(names(), always);
    const QByteArray contents = inside("contents.txt");
    EXPECT_TRUE(contents.contains("recording.jsonl: left out: ~/bad.jsonl:1: ")) << contents.toStdString();
}

TEST_F(ABundle, RefusesARecordingThatIsNotThere)
{
    const Outcome outcome = run({"--yes", "/nowhere/a.jsonl"});

    EXPECT_EQ(outcome.status, 2);
    EXPECT_TRUE(outcome.errors.contains("/nowhere/a.jsonl")) << outcome.errors.toStdString();
    EXPECT_FALSE(QFile::exists(bundle()));
}

struct AnswerRow
{
    const char *name;
    const char *answer;
    bool isWritten;
};

class AQuestion : public ABundle, public testing::WithParamInterface<AnswerRow>
{
};

TEST_P(AQuestion, IsAskedBeforeAnythingIsWritten)
{
    const Outcome outcome = run({}, GetParam().answer);

    EXPECT_EQ(outcome.status, GetParam().isWritten ? 0 : 1);
    EXPECT_EQ(QFile::exists(bundle()), GetParam().isWritten);
    EXPECT_TRUE(outcome.errors.contains("what driver and board answer\n"));
    EXPECT_TRUE(outcome.errors.contains("write this to " + bundle().toUtf8() + "? [y/N] "));
    EXPECT_EQ(outcome.errors.endsWith("lanternix-lab: nothing is written\n"), !GetParam().isWritten);
}

INSTANTIATE_TEST_SUITE_P(, AQuestion,
                         testing::Values(AnswerRow{"Yes", "y\n", true}, AnswerRow{"YesInFull", "yes\n", true},
                                         AnswerRow{"No", "n\n", false}, AnswerRow{"Enter", "\n", false},
                                         AnswerRow{"AnotherWord", "yesterday\n", false},
                                         AnswerRow{"NoAnswer", "", false}),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(ABundle, LeavesTheFileThatWasThereIfItIsNotWanted)
{
    write("bundle.tar.zst", "before");

    run({}, "n\n");

    EXPECT_EQ(read("bundle.tar.zst"), "before");
}

TEST_F(ABundle, SaysWhyItCannotBeWritten)
{
    const Outcome outcome = run({"--yes", "-o", "/dev/full"});

    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, "/dev/full:0: cannot be written: No space left on device\n");
}

TEST_F(ABundle, LeavesTheFileThatWasThereIfAPieceCannotBeRead)
{
    write("bundle.tar.zst", "before");
    testing::internal::CaptureStderr();

    bool isWhole = false;
    {
        lab::Archive archive(bundle().toStdString());
        archive.add("a", path("recording.jsonl").toStdString());
        archive.add("b", path("missing").toStdString());
        isWhole = archive.finish();
    }

    EXPECT_FALSE(isWhole);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), path("missing").toStdString() + ":0: cannot be read\n");
    EXPECT_EQ(read("bundle.tar.zst"), "before");
    EXPECT_TRUE(QDir(path("")).entryList({"*.part-*"}).isEmpty());
}

struct MaskRow
{
    const char *name;
    const char *text;
    const char *masked;
};

class AText : public testing::TestWithParam<MaskRow>
{
};

TEST_P(AText, IsMasked)
{
    EXPECT_EQ(capture::masked(GetParam().text, {"/home/ann", "desk"}), GetParam().masked);
}

INSTANTIATE_TEST_SUITE_P(
    , AText,
    testing::Values(MaskRow{"OwnHome", "/home/ann/a.so", "~/a.so"},
                    MaskRow{"OwnHomeItself", "HOME=/home/ann\n", "HOME=~\n"},
                    MaskRow{"AnotherHome", "/home/anna/a.so", "/home/USER/a.so"},
                    MaskRow{"HomesInAList", "/home/ann:/home/bob:/usr", "~:/home/USER:/usr"},
                    MaskRow{"Json", R"({"path":"/home/bob"})", R"({"path":"/home/USER"})"},
                    MaskRow{"Host", "on desk.", "on HOST."}, MaskRow{"HostWithinAWord", "desktop", "desktop"},
                    MaskRow{"Nothing", "/usr/lib/a.so", "/usr/lib/a.so"}),
    [](const auto &row) { return std::string(row.param.name); });
