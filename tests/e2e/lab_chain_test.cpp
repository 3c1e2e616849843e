#include "e2e/lab_run.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>

// The whole chain: the simulated board has faults of known sizes, the program runs on it, the recorder
// records, and the report finds them.

namespace {

using Json = nlohmann::json;

const QString first = R"({"type":"scenario","version":1})";
const QString board = R"({"type":"device","kind":1,"board":7,"info":"hid<true>xp<4>xt<10>xl<2>"})";

/// Records the program on a board that plays these lines, and returns the figures of the report.
Json figuresOf(const QStringList &lines)
{
    LabRun run;
    const QString scenario = run.write("scenario.jsonl",
                                       QStringList{first, board, run.gate()} + lines
                                           + QStringList{R"({"type":"mark","text":"over"})"});
    QProcess lab;
    run.start(lab, {"record", "-o", run.path("a.jsonl"), "--sim", scenario}, "log.jsonl");
    EXPECT_TRUE(eventually([&] { return run.desktop().window_area().width() > 1000; }));
    run.openGate();
    EXPECT_TRUE(eventually([&] {
        const auto log = run.lines("log.jsonl");
        return std::any_of(log.begin(), log.end(), [](const std::string &line) {
            return line.find("\"over\"") != std::string::npos;
        });
    }));
    run.desktop().press("Escape");
    EXPECT_TRUE(lab.waitForFinished());

    QProcess report;
    run.start(report, {"report", run.path("a.jsonl"), "--json"}, "unused.jsonl");
    EXPECT_TRUE(report.waitForFinished());
    EXPECT_EQ(report.exitCode(), 0);
    const Json whole = Json::parse(report.readAllStandardOutput().toStdString(), nullptr, false);
    EXPECT_FALSE(whole.is_discarded());
    return whole["captures"][0]["figures"];
}

double value(const Json &figures, const char *key)
{
    const Json &held = figures[key]["value"];
    return held.is_number() ? held.get<double>() : std::nan("");
}

} // namespace

TEST(AReport, OfABoardWithoutFaultsFindsNone)
{
    const Json figures = figuresOf({
        R"({"type":"move","board":7,"rate":100,"time":1500000,"contacts":[{"kind":"touch","id":1,"line":[[4000,9000],[28000,9000]],"extent":300}]})",
        R"({"type":"move","board":7,"rate":100,"time":1500000,"contacts":[{"kind":"pen","id":1,"line":[[4000,19000]],"tip":true,"button":false}]})",
    });
    for (const char *const key : {"stuck_count", "orphan_lift_count", "id_swap_count", "dropout_count",
                                  "undecodable_count", "lost_count", "handback_violation_count"})
        EXPECT_EQ(value(figures, key), 0) << key;
    EXPECT_LT(value(figures, "line_rms_units"), 1);
    EXPECT_EQ(value(figures, "jitter_rms_units"), 0);
    EXPECT_NEAR(value(figures, "rate_p50_hz"), 100, 5);
}

TEST(AReport, OfABadBoardFindsItsFaultsAsLargeAsTheyAre)
{
    const Json figures = figuresOf({
        R"({"type":"move","board":7,"rate":100,"time":2000000,"contacts":[{"kind":"touch","id":1,"line":[[9000,9000]],"extent":300,"noise":20}]})",
        R"({"type":"move","board":7,"rate":100,"time":1500000,"contacts":[{"kind":"touch","id":2,"line":[[4000,12000],[28000,12000]],"extent":300,"curve":600}]})",
        R"({"type":"move","board":7,"rate":200,"time":1000000,"contacts":[{"kind":"touch","id":3,"line":[[4000,15000],[28000,15000]],"extent":300,"swap":{"after":0.5,"id":4}}]})",
        R"({"type":"move","board":7,"rate":100,"time":300000,"lift":false,"contacts":[{"kind":"touch","id":9,"line":[[4000,20000],[9000,20000]],"extent":300}]})",
        R"({"type":"wait","time":1200000})",
    });
    EXPECT_NEAR(value(figures, "jitter_rms_units"), 20, 4);
    // A parabola of this height lies two thirds of it from its line at the ends.
    EXPECT_NEAR(value(figures, "line_ends_max_units"), 400, 20);
    EXPECT_EQ(value(figures, "id_swap_count"), 1);
    EXPECT_EQ(value(figures, "stuck_count"), 1);
    EXPECT_EQ(value(figures, "handback_violation_count"), 0);
}

TEST(AReport, OfContactsBesideTheWindowHasThemHandedBackAsAWhole)
{
    // The window manager's title bar is above the window, where contacts are the operating system's.
    const Json figures = figuresOf({
        R"({"type":"move","board":7,"rate":100,"time":700000,"contacts":[{"kind":"touch","id":1,"line":[[9000,40],[9000,30000]],"extent":300}]})",
        R"({"type":"move","board":7,"rate":100,"time":700000,"contacts":[{"kind":"pen","id":1,"line":[[9000,40],[9000,30000]],"tip":true,"button":false}]})",
        R"({"type":"move","board":7,"rate":100,"time":700000,"contacts":[{"kind":"touch","id":2,"line":[[9000,9000],[9000,40]],"extent":300},{"kind":"touch","id":3,"line":[[15000,40],[15000,9000]],"extent":300}]})",
    });
    EXPECT_EQ(value(figures, "handback_violation_count"), 0);
}
