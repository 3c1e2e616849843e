#include "e2e/lab_run.h"
#include "support/terminal.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <memory>

namespace {

/// A recording that runs: a finger draws a circle a second, and before each another lifts that was not down.
class Watching : public testing::Test
{
protected:
    Watching()
    {
        const QString scenario = m_run.write(
            "scenario.jsonl",
            {R"({"type":"scenario","version":1})", R"({"type":"device","kind":1,"board":7,"info":""})",
             m_run.gate(), R"({"type":"repeat"})", R"({"type":"raw","board":7,"hex":"004501000000000000"})",
             R"({"type":"move","board":7,"rate":100,"time":1000000,"lift":false,"contacts":[)"
             R"({"kind":"touch","id":3,"extent":400,"circle":{"centre":[16000,16000],"radius":[4000,4000],)"
             R"("from":0,"to":360}}]})",
             R"({"type":"end"})"});
        m_run.start(m_lab, {"record", "-o", m_run.path("a.jsonl"), "--sim", scenario}, "log.jsonl");
        EXPECT_TRUE(eventually([this] { return m_run.desktop().window_area().width() > 1000; }));
        m_run.openGate();
    }
    ~Watching() override
    {
        m_run.desktop().press("Escape");
        EXPECT_TRUE(m_lab.waitForFinished());
    }

    std::unique_ptr<Terminal> watch(const QStringList &arguments = {}, Terminal::Size size = {80, 24})
    {
        return std::make_unique<Terminal>(QStringList{LANTERNIX_LAB, "watch"} + arguments,
                                          m_run.environment("no-log.jsonl"), size);
    }

    LabRun m_run;
    QProcess m_lab;
};

} // namespace

TEST_F(Watching, ShowsWhatTheBoardReportsNow)
{
    const auto terminal = watch();

    EXPECT_TRUE(terminal->shows("touch 3   down")) << terminal->picture();
    EXPECT_TRUE(terminal->shows("board 7  1")) << "about a hundred a second\n" << terminal->picture();
    EXPECT_TRUE(terminal->shows(" 2 lifts of nothing")) << terminal->picture();
    terminal->type("q");
    EXPECT_EQ(terminal->exit_status(), 0);
    EXPECT_TRUE(terminal->picture().find("the recording goes on") != std::string::npos);
}

TEST_F(Watching, ShowsBytesAndFreezes)
{
    const auto terminal = watch();
    ASSERT_TRUE(terminal->shows("touch 3"));

    terminal->type("h");
    EXPECT_TRUE(terminal->shows("last report 0045"));
    terminal->type("p");
    EXPECT_TRUE(terminal->shows("FROZEN  h bytes  p go on"));
    const std::string frozen = terminal->screen().front();
    terminal->type("m"); // is answered by a new picture of the screen
    EXPECT_TRUE(terminal->shows("Escape leaves"));
    EXPECT_EQ(terminal->screen().front(), frozen);
    terminal->type("\x1b");
    EXPECT_TRUE(terminal->shows("p go on"));
    terminal->type("p");
    EXPECT_TRUE(terminal->eventually([&] { return terminal->screen().front() != frozen; }));
    terminal->type("q");
    EXPECT_EQ(terminal->exit_status(), 0);
}

TEST_F(Watching, WritesANoteIntoTheRecording)
{
    const auto terminal = watch();
    ASSERT_TRUE(terminal->shows("touch 3"));

    terminal->type("mherr");
    EXPECT_TRUE(terminal->shows("note: herr_"));
    terminal->type("\x7f"
                   "e\n");

    EXPECT_TRUE(eventually([this] {
        for (const std::string &line : m_run.lines("a.jsonl")) {
            const auto json = nlohmann::json::parse(line);
            if (json["type"] == "note")
                return json["text"] == "here";
        }
        return false;
    }));
    terminal->type("q");
    EXPECT_EQ(terminal->exit_status(), 0);
}

TEST_F(Watching, StaysWholeInASmallTerminal)
{
    const auto terminal = watch({}, {20, 4});

    EXPECT_TRUE(terminal->shows("more lines")) << terminal->picture();
    terminal->resize({80, 24});
    EXPECT_TRUE(terminal->shows("touch 3")) << terminal->picture();
    terminal->resize({3, 1});
    EXPECT_TRUE(terminal->eventually([&] { return terminal->screen().front() == "h"; }))
        << terminal->picture();
    terminal->type("q");
    EXPECT_EQ(terminal->exit_status(), 0);
}

TEST_F(Watching, StreamsOneObjectALine)
{
    QProcess watch;
    m_run.start(watch, {"watch", "--json", "--seconds", "2.5"}, "no-log.jsonl");

    ASSERT_TRUE(watch.waitForFinished());
    EXPECT_EQ(watch.exitCode(), 0);
    const QList<QByteArray> lines = watch.readAllStandardOutput().split('\n');
    ASSERT_EQ(lines.size(), 3) << "two lines, and nothing behind the last newline";
    const auto object = nlohmann::json::parse(lines[1].toStdString());
    EXPECT_EQ(object["contacts"][0]["kind"], "touch");
    EXPECT_GE(object["boards"][0]["orphan_lift_count"], 1);
}

TEST_F(Watching, EndsWithStatusOneWhenALimitIsPassed)
{
    QProcess watch;
    m_run.start(watch, {"watch", "--json", "--fail-on", "orphan_lift_count>0"}, "no-log.jsonl");

    ASSERT_TRUE(watch.waitForFinished());
    EXPECT_EQ(watch.exitCode(), 1);
    EXPECT_TRUE(watch.readAllStandardError().startsWith("lanternix-lab: orphan_lift_count>0: it is "));
}
