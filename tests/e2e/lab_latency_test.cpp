#include "e2e/lab_run.h"

#include <QFile>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <set>

#include <nlohmann/json.hpp>

// These measure the real program. How long anything takes is not judged: the machine may be busy.

namespace {

using Json = nlohmann::json;

constexpr int patience = 110'000; // milliseconds for a measurement on a busy machine

/// What of the measurement matters here: it ends in time, and how.
int statusOf(QProcess &lab)
{
    EXPECT_TRUE(lab.waitForFinished(patience));
    return lab.exitStatus() == QProcess::NormalExit ? lab.exitCode() : -1;
}

/// The processes that @p process has started, and those that these have started.
std::set<qint64> childrenOf(qint64 process)
{
    QFile file(QString("/proc/%1/task/%1/children").arg(process));
    std::set<qint64> all;
    if (!file.open(QIODevice::ReadOnly))
        return all;
    for (const QByteArray &word : file.readAll().simplified().split(' ')) {
        if (word.isEmpty())
            continue;
        all.insert(word.toLongLong());
        all.merge(childrenOf(word.toLongLong()));
    }
    return all;
}

bool isNamed(qint64 process, const QByteArray &name)
{
    QFile file(QString("/proc/%1/comm").arg(process));
    return file.open(QIODevice::ReadOnly) && file.readAll().simplified() == name;
}

} // namespace

TEST(AMeasurementOfLatency, HasEachSplitAndSaysWhatTheTickIs)
{
    LabRun run;
    QProcess lab;

    run.start(lab,
              {"latency", "--contacts", "2", "--tags", "on", "--samples", "3", "--json", "-o",
               run.path("latency.svg")},
              "log.jsonl");

    ASSERT_EQ(statusOf(lab), 0) << lab.readAllStandardError().toStdString();
    EXPECT_EQ(lab.readAllStandardError(), "");
    const Json json = Json::parse(lab.readAllStandardOutput().toStdString());
    EXPECT_EQ(json["version"], 1);
    EXPECT_EQ(json["screen"]["width"], 1920);
    EXPECT_GT(json["tick_ms"], 0);
    std::set<std::string> names;
    for (const Json &row : json["rows"]) {
        names.insert(row["name"]);
        EXPECT_EQ(row["contacts"], 2);
        EXPECT_EQ(row["tags"], true);
        EXPECT_GT(row["min_ms"], 0);
        EXPECT_LE(row["min_ms"], row["median_ms"]);
        EXPECT_LE(row["median_ms"], row["p95_ms"]);
        EXPECT_LE(row["p99_ms"], row["max_ms"]);
        if (row["split"] == "age")
            continue; // a busy machine may have no report in the first 100 ms
        EXPECT_EQ(row["samples"], 3) << row;
    }
    for (const char *const name :
         {"2 contacts, tags on", "grid", "targets", "colour field", "black", "vertical bars",
          "horizontal bars", "after 100 ms of a contact", "stroke after 5 reports",
          "stroke after 1000 reports", "stroke after 20000 reports"})
        EXPECT_EQ(names.count(name), 1U) << name;
    const std::vector<std::string> chart = run.lines("latency.svg");
    ASSERT_FALSE(chart.empty());
    EXPECT_EQ(chart.front().rfind("<svg", 0), 0U);
}

TEST(AMeasurementOfLatency, NeedsNoScreenAndWipesAWindowThatIsFull)
{
    LabRun run;
    QProcess lab;

    // Six contacts have fewer places than that on the colour field of a small window.
    run.start(lab, {"latency", "--size", "640x480", "--contacts", "6", "--tags", "off", "--samples", "45"},
              "log.jsonl");

    ASSERT_EQ(statusOf(lab), 0) << lab.readAllStandardError().toStdString();
    const std::string text = lab.readAllStandardOutput().toStdString();
    EXPECT_NE(text.find("on a screen of 640 x 480"), std::string::npos) << text;
    EXPECT_NE(text.find("\n  colour field                    45 "), std::string::npos) << text;
    EXPECT_NE(text.find(" ms are the tick's own; "), std::string::npos) << text;
}

struct SignalRow
{
    const char *name;
    int signal;
    bool toAll; ///< as the terminal sends it, or to the command alone
};

class ASignal : public testing::TestWithParam<SignalRow>
{
};

TEST_P(ASignal, EndsTheMeasurementAndAllThatItHasStarted)
{
    LabRun run;
    QProcess lab;
    run.start(lab, {"latency", "--headless"}, "log.jsonl");
    std::set<qint64> started;
    ASSERT_TRUE(eventually([&] {
        started = childrenOf(lab.processId());
        return std::any_of(started.begin(), started.end(),
                           [](qint64 process) { return isNamed(process, "lanternix"); });
    }));

    kill(static_cast<pid_t>(lab.processId()), GetParam().signal);
    for (const qint64 process : started) {
        if (GetParam().toAll)
            kill(static_cast<pid_t>(process), GetParam().signal);
    }

    EXPECT_NE(statusOf(lab), 0);
    EXPECT_TRUE(eventually([&] {
        return std::none_of(started.begin(), started.end(),
                            [](qint64 process) { return kill(static_cast<pid_t>(process), 0) == 0; });
    }));
}

INSTANTIATE_TEST_SUITE_P(, ASignal,
                         testing::Values(SignalRow{"ToTerminate", SIGTERM, false},
                                         SignalRow{"OfTheTerminal", SIGINT, true}),
                         [](const auto &row) { return std::string(row.param.name); });

struct RefusalRow
{
    const char *name;
    QStringList arguments;
    const char *told;
};

class WhatCannotBeMeasured : public testing::TestWithParam<RefusalRow>
{
};

TEST_P(WhatCannotBeMeasured, IsToldInOneLineWithStatusTwo)
{
    LabRun run;
    const QString text = run.write("text", {"no program"});
    QFile(text).setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    QStringList arguments = GetParam().arguments;
    QProcess lab;

    run.start(lab, QStringList{"latency"} + arguments.replaceInStrings("TEXT", text), "log.jsonl");

    EXPECT_EQ(statusOf(lab), 2);
    EXPECT_EQ(lab.readAllStandardOutput(), "");
    EXPECT_EQ(QString(lab.readAllStandardError()).replace(text, "TEXT").toStdString(),
              std::string("lanternix-lab: ") + GetParam().told + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    , WhatCannotBeMeasured,
    testing::Values(
        RefusalRow{"NoContacts",
                   {"--contacts", "0"},
                   "--contacts: Value 0 not in range 1 to 10; see lanternix-lab --help"},
        RefusalRow{"TooManyContacts",
                   {"--contacts", "11"},
                   "--contacts: Value 11 not in range 1 to 10; see lanternix-lab --help"},
        RefusalRow{"NoSamples",
                   {"--samples", "0"},
                   "--samples: Value 0 not in range 1 to 10000; see lanternix-lab --help"},
        RefusalRow{
            "TagsOfSomeKind", {"--tags", "some"}, "--tags: some not in {on,off}; see lanternix-lab --help"},
        RefusalRow{"NoSize",
                   {"--headless", "--size", "large"},
                   "--size: large is no size from 640x480 to 7680x4320; see lanternix-lab --help"},
        RefusalRow{"ATinySize",
                   {"--headless", "--size", "320x240"},
                   "--size: 320x240 is no size from 640x480 to 7680x4320; see lanternix-lab --help"},
        RefusalRow{"ASizeWithATail",
                   {"--headless", "--size", "1920x1080x24"},
                   "--size: 1920x1080x24 is no size from 640x480 to 7680x4320; see lanternix-lab --help"},
        RefusalRow{"AProgramThatIsMissing", {"/no/program"}, "/no/program: No such file or directory"},
        RefusalRow{"AProgramThatIsAText", {"TEXT"}, "TEXT: Exec format error"},
        RefusalRow{"AProgramThatEnds", {"/bin/true"}, "/bin/true: the program ended with status 0"}),
    [](const auto &row) { return std::string(row.param.name); });

struct LackRow
{
    const char *name;
    QStringList arguments;
    const char *variable;
    const char *value; ///< null: unset
    const char *told;
};

class WhatIsMissing : public testing::TestWithParam<LackRow>
{
};

TEST_P(WhatIsMissing, IsToldInOneLineWithStatusTwo)
{
    LabRun run;
    QProcess lab;
    QProcessEnvironment environment = run.environment("log.jsonl");
    environment.remove(GetParam().variable);
    if (GetParam().value)
        environment.insert(GetParam().variable, GetParam().value);
    lab.setProcessEnvironment(environment);

    lab.start(LANTERNIX_LAB, QStringList{"latency"} + GetParam().arguments);

    EXPECT_EQ(statusOf(lab), 2);
    EXPECT_EQ(lab.readAllStandardOutput(), "");
    EXPECT_EQ(lab.readAllStandardError().toStdString(),
              std::string("lanternix-lab: ") + GetParam().told + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    , WhatIsMissing,
    testing::Values(
        LackRow{"ADisplay", {}, "DISPLAY", nullptr, "DISPLAY names no X server; use --headless"},
        LackRow{"AServer", {}, "DISPLAY", ":54321", "no X server answers at DISPLAY :54321; use --headless"},
        LackRow{"Xvfb", {"--headless"}, "PATH", "/no/folder", "Xvfb does not start (package xvfb)"}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(TheDriverThatMeasures, IsMissedInOneLineWithStatusTwo)
{
    LabRun run;
    ASSERT_TRUE(QFile::copy(LANTERNIX_LAB, run.path("lanternix-lab")));
    QProcess lab;
    lab.setProcessEnvironment(run.environment("log.jsonl"));

    lab.start(run.path("lanternix-lab"), {"latency", "/bin/true"});

    EXPECT_EQ(statusOf(lab), 2);
    EXPECT_EQ(lab.readAllStandardError(),
              "lanternix-lab: the driver that measures latency is not installed\n");
}

TEST(AChartThatCannotBeWritten, IsToldBeforeAnythingIsMeasured)
{
    LabRun run;
    QProcess lab;

    run.start(lab, {"latency", "-o", "/no/folder/latency.svg"}, "log.jsonl");

    EXPECT_EQ(statusOf(lab), 2);
    EXPECT_EQ(lab.readAllStandardOutput(), "");
    EXPECT_EQ(lab.readAllStandardError().count('\n'), 1);
}
