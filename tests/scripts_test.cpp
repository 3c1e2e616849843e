#include "support/checkout.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>

namespace {

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
        Refusal{"TestPresetWithoutTests", "test", {"run"}, "unknown preset \"run\""},
        Refusal{"ClosingNoRounds", "closing", {"0"}, "\"0\" is not a number of rounds"},
        Refusal{"StormPartOfACycle", "storm", {"0.5"}, "\"0.5\" is not a number of cycles"},
        Refusal{"SoakWithoutATime", "soak", {}, "no number of minutes"},
        Refusal{"SoakTooManyDigits", "soak", {"1000000"}, "\"1000000\" is not a number of minutes"},
        Refusal{"BenchWithoutItsCommit", "bench", {"--before"}, "--before needs a commit"},
        Refusal{"BenchOtherCommit", "bench", {"--before", "x"}, "--before needs a commit"},
        Refusal{"BenchTwoFilters", "bench", {"pen", "--quick", "touch"}, "unknown argument \"touch\""},
        Refusal{"TidyWithoutAFolder", "tidy", {}, "no build folder"},
        Refusal{"TidyFolderWithoutABuild", "tidy", {"bin"}, "bin has no compile_commands.json"},
        Refusal{"ReleaseTwoFolders", "release", {"one", "two"}, "unknown argument \"two\""},
        Refusal{"ScreenshotsOtherPicture", "screenshots", {"help", "tag"}, "unknown picture \"tag\""},
        Refusal{"InstallNothing", "install-packages", {}, "no purpose"},
        Refusal{"InstallForOtherPurpose", "install-packages", {"run", "fun"}, "unknown purpose \"fun\""},
        Refusal{"VirtualDisplayByItself", "virtual-display", {}, "other scripts source this file"},
        Refusal{"RunScenarioWithoutAFile", "run", {"--scenario"}, "--scenario needs a file"},
        Refusal{"RunMissingScenario", "run", {"--scenario", "none"}, ""}),
    [](const auto &row) { return row.param.name; });

TEST(Memcheck, FailsIfATestDoesNotRun)
{
    const Checkout checkout;
    checkout.stub("valgrind", "exit 127");

    const Ending ending = checkout.run("a checkout/scripts/memcheck", {"release", "contacts_test"});

    EXPECT_NE(ending.status, 0);
    EXPECT_TRUE(ending.output.startsWith("contacts_test: ")) << ending.output.constData();
}

} // namespace
