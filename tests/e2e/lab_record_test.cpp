#include "e2e/lab_run.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace {

using Texts = std::vector<std::string>;

const QString first = R"({"type":"scenario","version":1})";
const QString board = R"({"type":"device","kind":1,"board":7,"info":"hid<true>xp<4>xt<10>xl<2>"})";

QString raw(const char *hex)
{
    return QStringLiteral(R"({"type":"raw","board":7,"hex":"%1"})").arg(hex);
}

/// What a recording says of the board: reports, and plugs.
Texts boardEvents(const Texts &lines)
{
    Texts events;
    for (const std::string &line : lines) {
        const auto json = nlohmann::json::parse(line);
        const auto type = json["type"].get<std::string>();
        if (type == "raw")
            events.push_back(json["hex"].get<std::string>());
        else if (type == "plug" || type == "unplug")
            events.push_back(type);
    }
    return events;
}

/// Starts a recording and waits until the program has its window.
void record(LabRun &run, QProcess &lab, const QString &scenario)
{
    run.start(lab, {"record", "-o", run.path("a.jsonl"), "--sim", scenario}, "log.jsonl");
    ASSERT_TRUE(eventually([&] {
        const Texts lines = run.lines("log.jsonl");
        return !lines.empty() && run.desktop().window_area().width() > 1000;
    }));
}

} // namespace

TEST(ARecording, HoldsTheEventsOfTheScenarioInTheirOrder)
{
    LabRun run;
    const QString scenario =
        run.write("scenario.jsonl",
                  {first, board, run.gate(), raw("0821004000400001"), raw("0821005000400001"),
                   raw("0821005000400000"), raw("004583001000200030 00"), R"({"type":"unplug","board":7})",
                   R"({"type":"plug","board":7})", raw("004503001000200030 00"), raw("ff"), raw("0045")});
    QProcess lab;
    record(run, lab, scenario);

    run.openGate();

    const Texts expected{"0821004000400001",
                         "0821005000400001",
                         "0821005000400000",
                         "00458300100020003000",
                         "unplug",
                         "plug",
                         "00450300100020003000",
                         "ff",
                         "0045"};
    EXPECT_TRUE(eventually([&] { return boardEvents(run.lines("a.jsonl")).size() >= expected.size(); }));
    EXPECT_EQ(boardEvents(run.lines("a.jsonl")), expected);
    run.desktop().press("Escape");
    ASSERT_TRUE(lab.waitForFinished());
    EXPECT_EQ(lab.exitCode(), 0);
    EXPECT_EQ(lab.readAllStandardError(), "");
    const QString output = QString::fromUtf8(lab.readAllStandardOutput());
    const QRegularExpression told(
        "^driver /\\S*/libzorvicboardex\\.so\\.1, recording "
        + QRegularExpression::escape(run.path("a.jsonl"))
        + "\\n(Enumerated \\d devices\\.\\n)+7 reports, \\d+\\.\\d s, 2 contacts, 0 lost\\n$");
    EXPECT_TRUE(told.match(output).hasMatch()) << output.toStdString();
}

TEST(ARecording, IsRefusedWhileTheBoardIsBeingRecorded)
{
    LabRun run;
    const QString scenario = run.write("scenario.jsonl", {first, board});
    QProcess lab;
    record(run, lab, scenario);
    QProcess second;

    run.start(second, {"record", "-o", run.path("b.jsonl"), "--sim", scenario}, "log.jsonl");

    ASSERT_TRUE(second.waitForFinished());
    EXPECT_EQ(second.exitCode(), 2);
    EXPECT_EQ(second.readAllStandardOutput(), "");
    const QString told = QString::fromUtf8(second.readAllStandardError());
    EXPECT_TRUE(QRegularExpression("^lanternix-lab: the board of \\S+ is being recorded already\\n$")
                    .match(told)
                    .hasMatch())
        << told.toStdString();
    run.desktop().press("Escape");
    ASSERT_TRUE(lab.waitForFinished());
    EXPECT_EQ(lab.exitCode(), 0);
}

TEST(ARecording, PrintsNothingButJsonIfAsked)
{
    LabRun run;
    const QString scenario = run.write("scenario.jsonl", {first, board});
    QProcess lab;
    run.start(lab, {"record", "--json", "-o", run.path("a.jsonl"), "--sim", scenario}, "log.jsonl");
    ASSERT_TRUE(eventually([&] { return run.desktop().window_area().width() > 1000; }));
    run.desktop().press("Escape");
    ASSERT_TRUE(lab.waitForFinished());

    const QList<QByteArray> lines = lab.readAllStandardOutput().trimmed().split('\n');
    ASSERT_EQ(lines.size(), 2);
    const auto begin = nlohmann::json::parse(lines[0].toStdString());
    EXPECT_EQ(begin["file"], run.path("a.jsonl").toStdString());
    EXPECT_TRUE(begin.contains("driver"));
    const auto end = nlohmann::json::parse(lines[1].toStdString());
    EXPECT_EQ(end["reports"], 0);
    EXPECT_EQ(end["lost"], 0);
    EXPECT_TRUE(lab.readAllStandardError().contains("Enumerated "));
}
