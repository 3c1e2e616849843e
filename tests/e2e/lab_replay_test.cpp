#include "e2e/lab_run.h"
#include "support/terminal.h"

#include <QImage>

#include <gtest/gtest.h>

namespace {

using Texts = std::vector<std::string>;

const char *const board = R"({"type":"device","kind":1,"board":7,"info":"hid<true>xp<4>xt<10>xl<2>"})";

/// A recording of a session in which a pen and two fingers draw; with its picture and the driver's log.
QString session(LabRun &run)
{
    const QString scenario = run.write(
        "scenario.jsonl",
        {R"({"type":"scenario","version":1})", board, run.gate(),
         R"({"type":"move","board":7,"rate":200,"time":300000,"contacts":[)"
         R"({"kind":"pen","id":0,"line":[[9000,9000],[20000,9000],[20000,15000]],"tip":true,"button":false},)"
         R"({"kind":"touch","id":3,"line":[[5000,20000],[25000,24000]],"extent":500},)"
         R"({"kind":"touch","id":4,"line":[[25000,20000],[5000,24000]],"extent":900}]})"});
    QProcess lab;
    run.start(lab, {"record", "-o", run.path("a.jsonl"), "--sim", scenario}, "log.jsonl");
    EXPECT_TRUE(eventually([&] { return run.desktop().window_area().width() > 1000; }));
    EXPECT_TRUE(run.takePicture("window.png"));
    run.openGate();
    EXPECT_TRUE(eventually([&] {
        const Texts lines = run.lines("log.jsonl");
        return !lines.empty() && lines.back().find("scenario ends") != std::string::npos;
    }));
    EXPECT_TRUE(run.takePicture("original.png"));
    run.desktop().press("Escape");
    EXPECT_TRUE(lab.waitForFinished());
    EXPECT_EQ(lab.exitCode(), 0);
    return run.path("a.jsonl");
}

/// Four reports of one pen, a tenth of a second apart; it is down in the second and third.
QStringList fourReports()
{
    const auto pen = [](int at, int x, const char *tip) {
        return QStringLiteral(
                   R"({"type":"pen","board":7,"at":%1,"pen":0,"x":%2,"y":9000,"tip":%3,"button":false})")
            .arg(at)
            .arg(x)
            .arg(tip);
    };
    return {R"({"type":"scenario","version":2})", board,
            pen(100'000, 1000, "false"),          pen(200'000, 2000, "true"),
            pen(300'000, 3000, "true"),           pen(400'000, 4000, "false")};
}

} // namespace

class AReplayWithoutAScreen : public testing::TestWithParam<const char *>
{
};

TEST_P(AReplayWithoutAScreen, MakesTheSameCallsAndTheSamePicture)
{
    LabRun run;
    const QString recording = session(run);
    QProcess lab;

    run.start(lab,
              {"replay", recording, "--headless", "--speed", GetParam(), "--screenshot",
               run.path("again.png"), "-o", run.path("again.jsonl")},
              "again-log.jsonl");

    ASSERT_TRUE(lab.waitForFinished(60'000));
    EXPECT_EQ(lab.exitCode(), 0);
    EXPECT_EQ(lab.readAllStandardError(), "");
    EXPECT_FALSE(lab.readAllStandardOutput().contains('\x1b')) << "nothing for a terminal";
    const Events original = eventsOf(run.lines("log.jsonl"));
    const Events again = eventsOf(run.lines("again-log.jsonl"));
    EXPECT_EQ(again.reports, original.reports);
    EXPECT_EQ(again.calls, original.calls);
    EXPECT_EQ(eventsOf(run.lines("again.jsonl")).reports, original.reports);
    const QImage picture(run.path("original.png"));
    ASSERT_FALSE(picture.isNull());
    EXPECT_TRUE(QImage(run.path("again.png")) == picture);
    QProcess diff;
    run.start(diff, {"diff", recording, run.path("again.jsonl")}, "no-log.jsonl");
    ASSERT_TRUE(diff.waitForFinished());
    EXPECT_EQ(diff.readAllStandardOutput().toStdString(), "no difference\n");
}

INSTANTIATE_TEST_SUITE_P(Speed, AReplayWithoutAScreen, testing::Values("1", "max"),
                         [](const auto &row) { return row.index == 0 ? "AsRecorded" : "AsFastAsItGoes"; });

TEST(AReplay, ObeysTheKeysOfATerminalAndShowsTheLineThatWasPlayed)
{
    LabRun run;
    const QString recording = run.write("a.jsonl", fourReports());
    Terminal terminal({LANTERNIX_LAB, "replay", recording}, run.environment("log.jsonl"), {100, 10});
    const auto shows = [&terminal](const char *text) {
        return terminal.shows(text) ? testing::AssertionSuccess()
                                    : testing::AssertionFailure() << "the screen shows\n"
                                                                  << terminal.picture();
    };

    EXPECT_TRUE(shows("PAUSED  6:       0.400000  board 7  pen    0 hovering at 4000,9000")) << "at the end";
    terminal.type("b");
    EXPECT_TRUE(shows("PAUSED  5:       0.300000  board 7  pen    0 tip at 3000,9000"));
    terminal.type("b");
    EXPECT_TRUE(shows("PAUSED  4:       0.200000  board 7  pen    0 tip at 2000,9000"));
    terminal.type("N");
    EXPECT_TRUE(shows("PAUSED  6:       0.400000  board 7  pen    0 hovering at 4000,9000"));
    terminal.type("g");
    EXPECT_TRUE(shows("go to which second?"));
    terminal.type("0.1\n");
    EXPECT_TRUE(shows("PAUSED  3:       0.100000  board 7  pen    0 hovering at 1000,9000"));
    terminal.type("n");
    EXPECT_TRUE(shows("PAUSED  4:       0.200000  board 7  pen    0 tip at 2000,9000"));
    terminal.type("q");
    EXPECT_EQ(terminal.exit_status(), 0);
}

TEST(AReplay, PlaysOverAndOverUntilItIsLeft)
{
    LabRun run;
    const QString recording = run.write("a.jsonl", fourReports());
    Terminal terminal({LANTERNIX_LAB, "replay", "--loop", recording}, run.environment("log.jsonl"),
                      {100, 10});

    EXPECT_TRUE(terminal.eventually([&] { return eventsOf(run.lines("log.jsonl")).reports.size() >= 9; }));

    terminal.type("q");
    EXPECT_EQ(terminal.exit_status(), 0);
}

TEST(AReplay, EndsWithTheProgram)
{
    LabRun run;
    const QString recording = run.write("a.jsonl", fourReports());
    QProcess lab;
    run.start(lab, {"replay", recording}, "log.jsonl");
    ASSERT_TRUE(eventually([&] { return run.desktop().window_area().width() > 1000; }));

    run.desktop().press("Escape");

    ASSERT_TRUE(lab.waitForFinished());
    EXPECT_EQ(lab.exitCode(), 0);
}
