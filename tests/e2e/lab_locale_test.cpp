#include "e2e/lab_run.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include <nlohmann/json.hpp>

namespace {

/// What stays of a text whose numbers come from a clock: its shape, with "#" for digits.
QString shapeOf(QString text)
{
    return text.replace(QRegularExpression("[0-9]+"), "#").replace(QRegularExpression(" +"), " ");
}

/// Starts a command in a locale; the program sets that for itself, and for the recorder and the simulated
/// board in it.
void start(const LabRun &run, QProcess &lab, const QStringList &arguments, const QString &locale)
{
    QProcessEnvironment environment = run.environment("log.jsonl");
    environment.insert("LANGUAGE", "C"); // texts differ, numbers and times must not
    environment.insert("LC_ALL", locale);
    lab.setProcessEnvironment(environment);
    lab.start(LANTERNIX_LAB, arguments);
}

class EachLocale : public testing::TestWithParam<const char *>
{
};

} // namespace

TEST_P(EachLocale, IsNotSeenInARecording)
{
    LabRun run;
    const QString scenario = run.write("scenario.jsonl",
                                       {R"({"type":"scenario","version":1})",
                                        R"({"type":"device","kind":1,"board":7,"info":"xp<4>"})", run.gate(),
                                        R"({"type":"raw","board":7,"hex":"0821004000400001"})",
                                        R"({"type":"raw","board":7,"hex":"0821004000400000"})"});
    QProcess lab;
    start(run, lab, {"record", "--keep", "60", "-o", run.path("a.jsonl"), "--sim", scenario}, GetParam());
    ASSERT_TRUE(eventually([&] { return run.desktop().window_area().width() > 1000; }));
    run.openGate();
    ASSERT_TRUE(eventually([&] {
        const std::vector<std::string> log = run.lines("log.jsonl");
        return std::any_of(log.begin(), log.end(), [](const std::string &line) {
            return line.find("0821004000400000") != std::string::npos;
        });
    }));

    run.desktop().press("Escape");

    ASSERT_TRUE(lab.waitForFinished());
    EXPECT_EQ(lab.readAllStandardError(), "");
    const QString printed = QString::fromUtf8(lab.readAllStandardOutput());
    EXPECT_TRUE(printed.contains("\nEnumerated 1 devices.\n")) << printed.toStdString();
    EXPECT_TRUE(shapeOf(printed).endsWith("\n# reports, #.# s, # contacts, # lost\n"))
        << printed.toStdString();
    const QRegularExpression inside("\"raw\".*\"inside\":[0-9.]+[,}]");
    int reports = 0;
    for (const std::string &line : run.lines("a.jsonl")) {
        EXPECT_TRUE(nlohmann::json::accept(line)) << line;
        reports += inside.match(QString::fromStdString(line)).hasMatch() ? 1 : 0;
    }
    EXPECT_EQ(reports, 2);
}

TEST(ALocaleWithCommas, IsNotSeenInTheLatency)
{
    LabRun run;
    QProcess lab;

    start(run, lab,
          {"latency", "--headless", "--size", "800x600", "--contacts", "1", "--tags", "off", "--samples", "3",
           "-o", run.path("chart.svg")},
          "fr_FR.UTF-8");

    ASSERT_TRUE(lab.waitForFinished(120'000));
    const QString printed = shapeOf(QString::fromUtf8(lab.readAllStandardOutput()));
    EXPECT_EQ(lab.exitCode(), 0) << lab.readAllStandardError().toStdString();
    EXPECT_TRUE(printed.contains(" # contact, tags off # #.# #.# #.# #.# #.# #.# | "))
        << printed.toStdString();
    EXPECT_TRUE(printed.contains("The program redraws every #.# ms")) << printed.toStdString();
    const auto isOfPoints = [](const std::string &line) {
        return !QRegularExpression("(x|y|width|height|x1|y2)=\"[0-9]+,")
                    .match(QString::fromStdString(line))
                    .hasMatch();
    };
    for (const std::string &line : run.lines("chart.svg"))
        EXPECT_TRUE(isOfPoints(line)) << line;
}

INSTANTIATE_TEST_SUITE_P(Program, EachLocale, testing::Values("C", "fr_FR.UTF-8", "ja_JP.UTF-8"),
                         [](const auto &row) { return std::string(row.param, row.param[0] == 'C' ? 1 : 2); });
