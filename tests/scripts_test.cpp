#include "support/checkout.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QByteArray first_line = R"({"type":"scenario","version":1})";
const QByteArray picture_mark = first_line + "\n" + R"({"type":"mark","text":"picture"})" + "\n";

std::string test_name(const testing::TestParamInfo<std::string> &script)
{
    std::string name = script.param;
    std::replace_if(
        name.begin(), name.end(), [](unsigned char letter) { return !std::isalnum(letter); }, '_');
    return name;
}

/// What a script does that refuses its arguments.
void expect_refusal(const Ending &ending, const std::string &script, const std::string &cause = {})
{
    EXPECT_EQ(ending.status, 2);
    EXPECT_EQ(ending.output.toStdString(), "");
    EXPECT_EQ(ending.errors.count('\n'), 1) << ending.errors.constData();
    EXPECT_EQ(ending.errors.toStdString().find(script + ": " + cause), 0U) << ending.errors.constData();
}

class EveryScript : public testing::TestWithParam<std::string>
{
protected:
    const QString m_script = QString::fromStdString(GetParam());
    const QString m_path = "a checkout/" + m_script;
    Checkout m_checkout;
};

TEST_P(EveryScript, PrintsItsUsageAndDoesNothingElse)
{
    const QString name = m_script.section('/', -1);
    for (const QStringList &arguments : {QStringList{"--help"}, QStringList{"-h"}, QStringList{"x", "-h"}}) {
        const Ending help = m_checkout.run(m_path, arguments);

        EXPECT_EQ(help.status, 0);
        EXPECT_TRUE(help.output.startsWith("Usage: ")) << help.output.constData();
        EXPECT_TRUE(help.output.split('\n').first().contains(name.toUtf8())) << help.output.constData();
        EXPECT_FALSE(help.output.contains("set -")) << help.output.constData();
        EXPECT_EQ(help.errors.toStdString(), "");
    }
    EXPECT_EQ(m_checkout.calls().join(", ").toStdString(), "");
}

TEST_P(EveryScript, RefusesWhatItDoesNotKnow)
{
    for (const QStringList &arguments :
         {QStringList{"--nonsense"}, QStringList{"-x"}, QStringList{""}, QStringList{"1", "no\nsuch"}})
        expect_refusal(m_checkout.run(m_path, arguments), GetParam());

    EXPECT_EQ(m_checkout.calls().join(", ").toStdString(), "");
}

TEST_P(EveryScript, FindsItsFolderThroughALink)
{
    QDir().mkpath(m_checkout.path("decoy/scripts"));
    m_checkout.environment.insert("CDPATH", m_checkout.path("decoy") + ':' + m_checkout.folder());
    QFile::link(m_checkout.path(m_path), m_checkout.path("a link"));

    expect_refusal(m_checkout.run("a link", {"--nonsense"}), GetParam());
    EXPECT_EQ(m_checkout.run("a link", {"--help"}).output, m_checkout.run(m_path, {"--help"}).output);
}

INSTANTIATE_TEST_SUITE_P(, EveryScript, testing::ValuesIn(Checkout::scripts()), test_name);

struct Refusal
{
    const char *name;
    const char *script;
    QStringList arguments;
    const char *cause;
};

class Arguments : public testing::TestWithParam<Refusal>
{
};

TEST_P(Arguments, AreRefusedBeforeAnythingIsBuilt)
{
    const Checkout checkout;
    const std::string script = std::string("scripts/") + GetParam().script;

    const Ending ending = checkout.run("a checkout/" + QString::fromStdString(script), GetParam().arguments);

    expect_refusal(ending, script, GetParam().cause);
    EXPECT_EQ(checkout.calls().join(", ").toStdString(), "");
}

INSTANTIATE_TEST_SUITE_P(
    , Arguments,
    testing::Values(
        Refusal{"FuzzForNoTime", "fuzz", {"0"}, "0 minutes are less than a second"},
        Refusal{"FuzzForLessThanASecond", "fuzz", {"0.01"}, "0.01 minutes are less than a second"},
        Refusal{"FuzzForAWord", "fuzz", {"abc"}, "\"abc\" is not a number of minutes"},
        Refusal{"FuzzForAFormula", "fuzz", {"1e9"}, "\"1e9\" is not a number of minutes"},
        Refusal{"FuzzWithoutATime", "fuzz", {}, "no number of minutes"},
        Refusal{"FuzzOtherTarget", "fuzz", {"1", "report", "reports"}, "unknown target \"reports\""},
        Refusal{"FuzzKeepOfOtherTarget", "fuzz", {"--keep", "reports"}, "unknown target \"reports\""},
        Refusal{
            "MemcheckOtherTest", "memcheck", {"release", "no_such_test"}, "unknown test \"no_such_test\""},
        Refusal{"MemcheckOtherPreset", "memcheck", {"contacts_test"}, "unknown preset \"contacts_test\""},
        Refusal{"MemcheckWithASanitizer", "memcheck", {"ci-asan"}, "unknown preset \"ci-asan\""},
        Refusal{"EvidenceOfOtherStep", "evidence", {"soak", "fuz"}, "unknown step \"fuz\""},
        Refusal{"EvidenceForNoTime", "evidence", {"--minutes", "0"}, "\"0\" is not a number of minutes"},
        Refusal{"EvidenceOfNoPreset", "evidence", {"--check"}, "--check needs a preset and nothing else"},
        Refusal{"EvidenceOfAPresetWithoutTests", "evidence", {"--check", "run"}, "unknown preset \"run\""},
        Refusal{"LanguagesCheckOfOne", "languages", {"--check", "de"}, "unknown argument \"de\""},
        Refusal{"MutateWithoutANumberOfJobs", "mutate", {"--jobs"}, "--jobs needs a number"},
        Refusal{"MutateWithoutJobs", "mutate", {"--jobs", "0"}, "\"0\" is not a number of jobs"},
        Refusal{"MutateASampleOfNone", "mutate", {"--sample", "0"}, "\"0\" is not a number of mutants"},
        Refusal{"MutateASeedWithoutASample", "mutate", {"--seed", "3"}, "--seed is for a sample"},
        Refusal{"MutateAgainWithoutAnEarlierRun", "mutate", {"--again"}, "--again is for --resume"},
        Refusal{"MutateWithoutTime", "mutate", {"--most-time", "x"}, "\"x\" is not a number of seconds"},
        Refusal{"MutateWithoutAFile", "mutate", {"--list", "--file"}, "--file needs a regular expression"},
        Refusal{"MutateBrokenExpression", "mutate", {"--file", "(vcd"}, "\"(vcd\" is not a regular"},
        Refusal{"TestPresetWithoutTests", "test", {"run"}, "unknown preset \"run\""},
        Refusal{"ClosingNoRounds", "closing", {"0"}, "\"0\" is not a number of rounds"},
        Refusal{"StormPartOfACycle", "storm", {"0.5"}, "\"0.5\" is not a number of cycles"},
        Refusal{"SoakWithoutATime", "soak", {}, "no number of minutes"},
        Refusal{"SoakTooManyDigits", "soak", {"1000000"}, "\"1000000\" is not a number of minutes"},
        Refusal{"BenchWithoutItsCommit", "bench", {"--before"}, "--before needs a commit"},
        Refusal{"BenchOtherCommit", "bench", {"--before", "x"}, "--before needs a commit"},
        Refusal{"BenchBrokenFilter", "bench", {"(pen"}, "\"(pen\" is not a regular expression"},
        Refusal{"BenchTwoFilters", "bench", {"pen", "--quick", "touch"}, "unknown argument \"touch\""},
        Refusal{"TidyWithoutAFolder", "tidy", {}, "no build folder"},
        Refusal{"TidyFolderWithoutABuild", "tidy", {"bin"}, "bin has no compile_commands.json"},
        Refusal{"ReleaseTwoFolders", "release", {"one", "two"}, "unknown argument \"two\""},
        Refusal{"ReleaseIntoAFile", "release", {"calls"}, ""},
        Refusal{"ReleaseBelowAFile", "release", {"calls/packages"}, ""},
        Refusal{"ReleaseInPlaceOfNoPreset", "release", {"--in-place"}, "unknown preset \"\""},
        Refusal{"ReleaseInPlaceWithSanitizers", "release", {"--in-place", "asan"}, "unknown preset \"asan\""},
        Refusal{"TryPackagesInPlaceOfNoPreset", "try-packages", {"--in-place"}, "unknown preset \"\""},
        Refusal{"TryPackagesInAFile", "try-packages", {"calls"}, ""},
        Refusal{"TryPackagesInAFolderWithOtherFiles", "try-packages", {"bin"}, ""},
        Refusal{"TryPackagesInAFolderWithFolders", "try-packages", {"."}, ""},
        Refusal{"TranslationsCheckOfAFile", "translations", {"--check", "x"}, "unknown argument \"x\""},
        Refusal{"ScreenshotsOtherPicture", "screenshots", {"help", "tag"}, "unknown picture \"tag\""},
        Refusal{"InstallNothing", "install-packages", {}, "no purpose"},
        Refusal{"InstallForOtherPurpose", "install-packages", {"run", "fun"}, "unknown purpose \"fun\""},
        Refusal{"VirtualDisplayByItself", "virtual-display", {}, "other scripts source this file"},
        Refusal{"RunScenarioWithoutAFile", "run", {"--scenario"}, "--scenario needs a file"},
        Refusal{"RunMissingScenario", "run", {"--scenario", "none"}, ""},
        Refusal{"RunScenarioOfADevice", "run", {"--scenario", "/dev/null"}, "/dev/null is not a file"},
        Refusal{"RunTwoScenarios",
                "run",
                {"--scenario", "calls", "--scenario", "calls"},
                "--scenario is given twice"},
        Refusal{"RunCheckWithoutAFile", "run", {"--check"}, "--check needs a file"},
        Refusal{"RunCheckOfAMissingScenario", "run", {"--check", "none"}, ""},
        Refusal{"RunCheckOfADevice", "run", {"--check", "/dev/null"}, "/dev/null is not a file"},
        Refusal{"RunCheckTwoScenarios",
                "run",
                {"--check", "calls", "--check", "calls"},
                "--check is given twice"},
        Refusal{
            "RunCheckAndPlay", "run", {"--check", "calls", "--scenario", "calls"}, "--check stands alone"},
        Refusal{"RunCheckOnARealBoard", "run", {"--check", "calls", "--board"}, "--check stands alone"},
        Refusal{"RunCheckForAPicture",
                "run",
                {"--check", "calls", "--picture", "picture.png"},
                "--check stands alone"},
        Refusal{"RunScenarioOnARealBoard",
                "run",
                {"--board", "--scenario", "calls"},
                "--scenario is for the simulated"},
        Refusal{"RunPictureOverTheScenario",
                "run",
                {"--scenario", "calls", "--picture", "./calls"},
                "--scenario and --picture name the same file"},
        Refusal{"RunPictureInAFolder", "run", {"--picture", "bin"}, ""},
        Refusal{"RunPictureInNoFolder", "run", {"--picture", "none/picture.png"}, ""}),
    [](const auto &row) { return row.param.name; });

TEST(Memcheck, FailsIfATestDoesNotRun)
{
    const Checkout checkout;
    checkout.stub("valgrind", "exit 127");

    const Ending ending = checkout.run("a checkout/scripts/memcheck", {"release", "contacts_test"});

    EXPECT_NE(ending.status, 0);
    EXPECT_TRUE(ending.output.startsWith("contacts_test: ")) << ending.output.constData();
}

TEST(InstallPackages, NamesTheCommandIfThereIsNoSudo)
{
    Checkout checkout;
    checkout.stub("dpkg-query", "[ \"$3\" = xvfb ] || echo installed");
    checkout.stub("id", "echo 1000");
    QFile::remove(checkout.path("bin/sudo"));
    for (const char *tool :
         {"awk", "bash", "dirname", "env", "flock", "mkdir", "realpath", "grep", "rm", "sh"})
        QFile::link(QStringLiteral("/usr/bin/") + tool, checkout.path(QStringLiteral("bin/") + tool));
    checkout.environment.insert("PATH", checkout.path("bin"));

    const Ending ending = checkout.run("a checkout/scripts/run", {});

    EXPECT_EQ(ending.status, 1);
    EXPECT_EQ(ending.output.toStdString(), "");
    EXPECT_EQ(ending.errors.toStdString(),
              "scripts/install-packages: there is no sudo; an administrator can run: "
              "apt-get update && apt-get install --yes --no-install-recommends xvfb\n");
    EXPECT_TRUE(checkout.calls().filter(QRegularExpression("^(apt-get|cmake) ")).isEmpty());
}

/// scripts/run, whose build consists of the real program and driver unless a test chooses another program.
class Run : public testing::Test
{
protected:
    Run()
    {
        m_checkout.stub_build(LANTERNIX_PROGRAM);
        QFile::remove(path("bin/Xvfb"));
    }

    QString path(const QString &name) const { return m_checkout.path(name); }
    bool has_picture(const QString &name) const { return !QImage(path(name)).isNull(); }
    Ending run(const QStringList &arguments) const
    {
        return m_checkout.run("a checkout/scripts/run", arguments);
    }

    Checkout m_checkout;
    const QString m_picture = "a checkout/build/screenshot.png"; ///< unless another is named
};

TEST_F(Run, EndsWithTheDriversLineAboutAMalformedScenario)
{
    const QString scenario = m_checkout.write("a scenario", first_line + "\nnonsense\n");
    const QString picture = m_checkout.write("a picture", "of another scenario");

    const Ending ending = run({"--scenario", "a scenario", "--picture", "a picture"});

    EXPECT_EQ(ending.status, 1);
    EXPECT_EQ(ending.errors.toStdString(), scenario.toStdString() + ":2: not valid JSON at column 2\n");
    EXPECT_FALSE(QFile::exists(picture));
}

TEST_F(Run, EndsWithTheDriversLineOnARealDisplayToo)
{
    const QString scenario = m_checkout.write("a scenario", "");
    m_checkout.environment.insert("DISPLAY", ":no-such-display");

    const Ending ending = run({"--scenario", scenario});

    EXPECT_EQ(ending.status, 1);
    EXPECT_TRUE(ending.errors.startsWith(scenario.toUtf8() + ":")) << ending.errors.constData();
    EXPECT_EQ(ending.errors.count('\n'), 1);
}

TEST_F(Run, EndsWithTheDriversLineAboutAFolder)
{
    const Ending ending = run({"--scenario", "bin"});

    EXPECT_EQ(ending.status, 1);
    EXPECT_EQ(ending.errors.toStdString(), path("bin").toStdString() + ":0: not a regular file\n");
    EXPECT_FALSE(QFile::exists(path(m_picture)));
}

TEST_F(Run, LooksAtTheScenarioBeforeItBuildsTheProgram)
{
    m_checkout.write("malformed", "nonsense\n");

    EXPECT_EQ(run({"--scenario", "malformed"}).status, 1);
    EXPECT_FALSE(m_checkout.calls().filter("boardsim_check").isEmpty());
    EXPECT_TRUE(m_checkout.calls().filter("zorvicboardex").isEmpty());
}

TEST_F(Run, TellsWhyTheCheckerCannotBeBuilt)
{
    m_checkout.write("good", first_line);
    m_checkout.stub_build("/no/program", "echo error: no memory; exit 1\n");

    const Ending ending = run({"--check", "good"});

    EXPECT_EQ(ending.status, 1);
    EXPECT_EQ(ending.output.toStdString(), "");
    EXPECT_EQ(ending.errors.toStdString(), "error: no memory\nscripts/run: the build has failed\n");
}

TEST_F(Run, LeavesAPipeInPlaceOfThePictureAlone)
{
    const QString pipe = path("pipe");
    ASSERT_EQ(mkfifo(pipe.toUtf8().constData(), 0600), 0);

    expect_refusal(run({"--picture", "pipe"}), "scripts/run", pipe.toStdString() + " cannot be written");
    EXPECT_TRUE(QFileInfo::exists(pipe));
}

TEST_F(Run, ChecksAScenarioWithoutTheProgram)
{
    const QString good = m_checkout.write("good", first_line);
    const QString malformed = m_checkout.write("malformed", first_line + "\nnonsense\n");
    m_checkout.stub_build("/no/program", "echo ninja: no work to do.\n");

    const Ending passed = run({"--check", "good"});
    const Ending refused = run({"--check", "malformed"});
    const Ending folder = run({"--check", "bin"});

    EXPECT_EQ(passed.status, 0);
    EXPECT_EQ(passed.output.toStdString(), good.toStdString() + ": good\n");
    EXPECT_EQ(passed.errors.toStdString(), "");
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.errors.toStdString(), malformed.toStdString() + ":2: not valid JSON at column 2\n");
    EXPECT_EQ(folder.status, 1);
    EXPECT_EQ(folder.errors.toStdString(), path("bin").toStdString() + ":0: not a regular file\n");
}

TEST_F(Run, PlaysForTheTimeThatItTells)
{
    const QString scenario = m_checkout.write("scenario", first_line);
    // The times pass at once; the picture is late enough for the scenario to end.
    m_checkout.stub("sleep", {});
    m_checkout.stub("Xvfb", "echo 1 >&3");
    m_checkout.stub("openbox", {});
    m_checkout.stub("maim", "echo '\"mark\":\"scenario ends\"' >>\"$BOARDSIM_LOG\"; touch \"$2\"");
    m_checkout.stub("xdotool", "[ \"$1\" != key ] || kill \"$(cat \"$FOLDER/program\")\"");
    m_checkout.stub("board",
                    "echo $$ >\"$FOLDER/program\"\nmkfifo \"$FOLDER/gate.$$\"\n"
                    "trap 'exit 0' TERM\nexec 3<>\"$FOLDER/gate.$$\"\nread nothing <&3");
    m_checkout.environment.insert("FOLDER", path("."));
    m_checkout.stub_build(path("bin/board"));

    const Ending ending = run({"--scenario", scenario});

    EXPECT_EQ(ending.status, 0) << ending.errors.constData();
    EXPECT_TRUE(ending.output.contains(" for 120 seconds at most\n")) << ending.output.constData();
    EXPECT_LT(ending.output.indexOf("120 seconds"), ending.output.indexOf("Screenshot: "));
    const QStringList calls = m_checkout.calls();
    const int window = calls.indexOf(QRegularExpression("^xdotool search .*"));
    const int picture = calls.indexOf(QRegularExpression("^maim .*"));
    EXPECT_EQ(calls.mid(window, picture - window).filter("sleep 0.1").size(), 1199) << "tenths of a second";
}

TEST_F(Run, MakesPicturesOfTheirOwnForTwoAtOnce)
{
    m_checkout.write("scenario", picture_mark);
    m_checkout.environment.insert("DISPLAY", ":no-such-display");
    QProcess first;
    QProcess second;

    m_checkout.start(first, "a checkout/scripts/run",
                     {"--scenario", "scenario", "--picture", "first picture"});
    m_checkout.start(second, "a checkout/scripts/run",
                     {"--scenario", "scenario", "--picture", "second picture"});

    for (QProcess *process : {&first, &second}) {
        const Ending ending = Checkout::end(*process);
        EXPECT_EQ(ending.status, 0) << ending.errors.constData();
    }
    EXPECT_TRUE(has_picture("first picture"));
    EXPECT_TRUE(has_picture("second picture"));
    EXPECT_FALSE(QFile::exists(path(m_picture)));
}

TEST_F(Run, SavesItsPictureBesideTheBuildThroughALink)
{
    m_checkout.write("scenario", picture_mark);
    m_checkout.environment.insert("CDPATH", path("decoy"));
    QFile::link(path("a checkout/scripts/run"), path("a link"));

    const Ending ending = m_checkout.run("a link", {"--scenario", "scenario"});

    EXPECT_EQ(ending.status, 0) << ending.errors.constData();
    EXPECT_TRUE(has_picture(m_picture));
}

TEST_F(Run, WaitsForAnotherRunThatBuilds)
{
    QDir().mkpath(path("a checkout/build/run"));
    const int lock = open(path("a checkout/build/run").toUtf8().constData(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);
    QProcess process;
    m_checkout.start(process, "a checkout/scripts/run", {"--scenario", "bin"});

    ASSERT_TRUE(process.waitForReadyRead());
    EXPECT_TRUE(process.readAllStandardOutput().startsWith("Waiting for another run"));
    EXPECT_EQ(m_checkout.calls().join(", ").toStdString(), "");
    close(lock);

    EXPECT_EQ(Checkout::end(process).status, 1);
    EXPECT_FALSE(m_checkout.calls().filter("cmake --build").isEmpty());
}

TEST_F(Run, HoldsItsBuildFolderUntilItIsBuilt)
{
    m_checkout.stub("board", "flock --nonblock build/run echo free || echo locked");
    m_checkout.stub_build(path("bin/board"), "flock --nonblock build/run echo free || echo locked");
    m_checkout.environment.insert("DISPLAY", ":no-such-display");

    EXPECT_EQ(run({}).output.toStdString(), "locked\nfree\n") << "while it builds, and when the program runs";
}

TEST_F(Run, BuildsInAnotherFolderIfTheCheckoutIsReadOnly)
{
    m_checkout.stub("board", "echo \"$LD_LIBRARY_PATH\"");
    m_checkout.stub_build(path("bin/board"));
    m_checkout.environment.insert("DISPLAY", ":no-such-display");
    QDir().mkpath(path("a build"));
    QFile::setPermissions(path("a build"), QFile::Permissions(0x7777));
    m_checkout.make_read_only();

    const Ending refused = run({});
    m_checkout.environment.insert("LANTERNIX_BUILD", "a build");
    const Ending built = run({});

    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.errors.toStdString(),
              "scripts/run: cannot write to " + path("a checkout/build").toStdString()
                  + "; LANTERNIX_BUILD can name another folder to build in\n");
    EXPECT_EQ(built.status, 0) << built.errors.constData();
    EXPECT_EQ(built.output.toStdString(), path("a build/run/sim/driver\n").toStdString());
}

} // namespace
