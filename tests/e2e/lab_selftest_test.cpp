#include "selftest/check.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <set>
#include <string>

#include <nlohmann/json.hpp>

// lanternix-lab selftest with the real program, and with one that shows nothing.

namespace {

using Json = nlohmann::json;

constexpr int patience_ms = 110'000;

struct Result
{
    int status = -1;
    std::string output;
    std::string errors;
};

Result selftest_with(const QStringList &arguments)
{
    QProcess lab;
    lab.start(LANTERNIX_LAB, QStringList{"selftest"} + arguments);
    lab.waitForFinished(patience_ms);
    return {lab.exitStatus() == QProcess::NormalExit ? lab.exitCode() : -1,
            lab.readAllStandardOutput().toStdString(), lab.readAllStandardError().toStdString()};
}

std::set<std::string> requirements()
{
    std::set<std::string> names;
    for (const selftest::Check &check : selftest::checks())
        names.insert(check.requirement);
    return names;
}

} // namespace

TEST(TheChecks, CoverEachRequirement)
{
    EXPECT_EQ(requirements(),
              (std::set<std::string>{"contacts", "mapping", "patterns", "resize", "scales", "screens", "tags",
                                     "text", "tools", "torture"}));
}

class ARequirement : public testing::TestWithParam<const char *>
{
};

TEST_P(ARequirement, IsMetByTheProgramAndTheTools)
{
    const Result result = selftest_with({"--json", "--run", GetParam()});

    EXPECT_EQ(result.status, 0) << result.errors;
    const Json json = Json::parse(result.output);
    EXPECT_EQ(json["passed"], true) << json.dump(1);
    EXPECT_FALSE(json["ledger"].empty());
    for (const Json &entry : json["ledger"]) {
        EXPECT_EQ(entry["requirement"], GetParam());
        EXPECT_EQ(entry["result"], "passed") << entry.dump(1);
    }
}

INSTANTIATE_TEST_SUITE_P(, ARequirement,
                         testing::Values("contacts", "mapping", "patterns", "resize", "scales", "screens",
                                         "tags", "text", "tools"),
                         [](const auto &row) { return std::string(row.param); });

TEST(AProgramWithoutAWindow, FailsTheTests)
{
    const QTemporaryDir folder;
    QFile program(folder.filePath("program"));
    ASSERT_TRUE(program.open(QIODevice::WriteOnly));
    program.write("#!/bin/sh\nexit 0\n");
    program.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    program.close();
    const QString junit = folder.filePath("selftest.xml");

    const Result result = selftest_with({program.fileName(), "--run", "tags", "--junit", junit});

    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find(" failed "), std::string::npos) << result.output;
    EXPECT_NE(result.output.find("  no window\n1 tests, 1 failed, 0 left out"), std::string::npos)
        << result.output;
    QFile written(junit);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    const QByteArray xml = written.readAll();
    EXPECT_TRUE(xml.contains(R"(<failure message="no window"/>)")) << xml.toStdString();
}

TEST(AnUnknownRequirement, IsRefusedWithOneLineAndStatusTwo)
{
    const Result result = selftest_with({"--run", "dance"});

    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "lanternix-lab: there is no requirement \"dance\"\n");
}
