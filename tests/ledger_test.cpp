// What scripts/evidence writes, of a small project and of what the tools have printed about it.

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <string>

namespace {

const QByteArray header = "#pragma once\n"
                          "class Counter\n"
                          "{\n"
                          "public:\n"
                          "    int next(int step);\n"
                          "    int count() const { return m_count; }\n"
                          "    Counter(const Counter &) = delete;\n"
                          "    Counter() = default;\n"
                          "private:\n"
                          "    void hidden();\n"
                          "    int m_count = 0;\n"
                          "};\n"
                          "bool is_even(int number);\n";
const QByteArray source = "#include \"counter.h\"\n"
                          "int Counter::next(int step)\n"
                          "{\n"
                          "    return m_count += step;\n"
                          "}\n"
                          "void Counter::hidden() { }\n"
                          "bool is_even(int number) { return number % 2 == 0; }\n";

QByteArray mutant(const QByteArray &line, const QByteArray &column, const QByteArray &original,
                  const QByteArray &mutated)
{
    return R"({"file": "src/counter.cpp", "line": )" + line + R"(, "column": )" + column
        + R"(, "text": "", "original": ")" + original + R"(", "mutated": ")" + mutated + "\"}";
}

struct Answer
{
    int status = -1;
    QByteArray errors;
};

/// A project with its mutants, their verdicts, the tools' figures and the tests of a build.
class Project
{
public:
    Project()
    {
        write("src/counter.h", header);
        write("src/counter.cpp", source);
        write("src/lxwindow.h", "static constexpr const char *version = \"0.2.0\";\n");
        write("CHANGELOG.md", "# Changelog\n\n## [Unreleased]\n\n## [0.2.0] - 2026-01-01\n\n- More.\n");
        write("tests/counter_test.cpp", "TEST(ACounter, Counts) { EXPECT_EQ(counter.count(), 0); }\n");
        write("build/compile_commands.json",
              R"([{"directory": "/", "file": ")" + path("src/counter.cpp").toUtf8()
                  + R"(", "command": "c++ -std=c++17 -c counter.cpp"}])");
        write(
            "build/CTestTestfile.cmake",
            "add_test([=[ACounter.Counts]=] true)\nadd_test([=[Numbers/EachNumber.IsEvenOrOdd/3]=] true)\n");
        write("mutation/mutants.json",
              R"({"left out": {"3": "does not compile"}, "mutants": [)"
                  + mutant("4", "12", "m_count += step", "m_count -= step") + ", "
                  + mutant("7", "35", "number % 2 == 0", "number % 2 != 0") + ", "
                  + mutant("7", "47", "0", "1") + ", " + mutant("7", "1", "left", "out") + "]}");
        write("mutation/results.jsonl",
              verdicts + "{\"mutant\": \"src/counter.cpp:7:47: 0 -> 1\", \"result\": \"lived\"}\n");
        write("mutation/reach.jsonl", "{\"reached\": [0]}\n{\"reached\": [0, 1, 2]}\n{\"reached\": [1]}\n");
        write("figures/coverage.txt", "lines: 98.5% (2 out of 3)\nbranches: 91.2% (1 out of 2)\n");
        write("figures/mutation.txt",
              "file  mutants\nall   3\n\nscore: 96.0 percent, 24 of 25 that are not equivalent\n");
        write("figures/fuzz.txt",
              "report      1200 inputs tried, 7 places\ndialog      34 inputs tried, 9 places\n");
        write("figures/soak.txt",
              "delay's median, ms: first tenth 7.0, last tenth 7.2\nprobes: 90, lost: 0\nminutes: 10\n");
        write("figures/latency.txt",
              R"({"rows": [{"split": "contacts", "contacts": 1, "tags": true, "median_ms": 5.84}]})"
              "\n");
        write("figures/commit.txt", "abc1234\n");
        write("scripts/mutation/evidence.md.in", "# Evidence\n\n@FIGURES@\n\n@SCORES@\n\n@LEDGER@\n");
        QDir().mkpath(path("docs"));
    }

    QString path(const QString &name) const { return m_folder.filePath(name); }

    void write(const QString &name, const QByteArray &text) const
    {
        QDir().mkpath(QFileInfo(path(name)).path());
        QFile file(path(name));
        EXPECT_TRUE(file.open(QFile::WriteOnly) && file.write(text) == text.size()) << name.toStdString();
    }

    std::string document() const
    {
        QFile file(path("docs/evidence.md"));
        EXPECT_TRUE(file.open(QFile::ReadOnly));
        return file.readAll().toStdString();
    }

    Answer write_document() const { return run({path("figures"), path("mutation")}); }
    Answer check() const { return run({"--check"}); }

    const QByteArray verdicts =
        "{\"sources\": \"\"}\n"
        "{\"mutant\": \"src/counter.cpp:4:12: m_count += step -> m_count -= step\", "
        "\"result\": \"killed\", \"by\": \"ACounter.Counts\"}\n"
        "{\"mutant\": \"src/counter.cpp:7:35: number % 2 == 0 -> number % 2 != 0\", "
        "\"result\": \"killed by time\", \"by\": \"Numbers/EachNumber.IsEvenOrOdd/3\"}\n";

private:
    Answer run(const QStringList &arguments) const
    {
        QProcess process;
        process.start("/usr/bin/python3",
                      QStringList{"-B", LEDGER, m_folder.path(), path("build")} + arguments);
        if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit)
            return {-1, process.errorString().toUtf8()};
        return {process.exitCode(), process.readAllStandardError()};
    }

    QTemporaryDir m_folder;
};

} // namespace

TEST(ALedger, TellsOfEachPublicOperationWhichTestsHoldIt)
{
    const Project project;

    const Answer answer = project.write_document();

    EXPECT_EQ(answer.status, 0) << answer.errors.constData();
    EXPECT_EQ(
        project.document(),
        "# Evidence\n\n"
        "| Release | Commit | Lines | Branches | Mutants killed | Fuzzing, inputs | Soak | Report to pixel "
        "|\n"
        "|---|---|---|---|---|---|---|---|\n"
        "| 0.2.0 | `abc1234` | 98.5% | 91.2% | 96.0 % (24 of 25) | 1,234 | 10 min, 0 probes lost, 7.2 ms | "
        "5.8 ms median |\n\n"
        "    file  mutants\n"
        "    all   3\n\n"
        "### `src/counter.h`\n\n"
        "| Operation | Changes noticed | Tests that reach it | Tests that fail if it changes |\n"
        "|---|---|---|---|\n"
        "| `Counter::next` | 1 of 1 | 2 | `ACounter.Counts` |\n"
        "| `Counter::count` | none is possible |  | `counter_test`, by name |\n"
        "| `is_even` | 1 of 2 | 2 | `EachNumber.IsEvenOrOdd` |\n");
}

TEST(ALedger, KeepsTheFiguresOfEarlierReleases)
{
    const Project project;
    project.write_document();
    project.write("CHANGELOG.md", "## [Unreleased]\n\n- News.\n\n## [0.2.0] - 2026-01-01\n");

    project.write_document();
    project.write_document();

    const std::string document = project.document();
    const std::size_t unreleased = document.find("\n| unreleased | `abc1234` |");
    const std::size_t earlier = document.find("\n| 0.2.0 | `abc1234` |");
    EXPECT_LT(unreleased, earlier) << document;
    EXPECT_NE(earlier, std::string::npos) << document;
    EXPECT_EQ(document.find("\n| unreleased |", unreleased + 1), std::string::npos) << document;
}

struct Gap
{
    const char *name;
    void (*make)(const Project &project);
    const char *error;
};

class ALedgerWithAGap : public testing::TestWithParam<Gap>
{
};

TEST_P(ALedgerWithAGap, IsNotWritten)
{
    const Project project;
    GetParam().make(project);

    const Answer answer = project.write_document();

    EXPECT_EQ(answer.status, 1);
    EXPECT_TRUE(answer.errors.contains(GetParam().error)) << answer.errors.constData();
    EXPECT_EQ(answer.errors.count('\n'), 1) << answer.errors.constData();
    EXPECT_FALSE(QFile::exists(project.path("docs/evidence.md")));
}

INSTANTIATE_TEST_SUITE_P(
    , ALedgerWithAGap,
    testing::Values(
        Gap{"OperationThatNoTestHolds",
            [](const Project &project) { project.write("tests/counter_test.cpp", ""); },
            "no test holds Counter::count"},
        Gap{"MutantThatWasNotTried",
            [](const Project &project) { project.write("mutation/results.jsonl", project.verdicts); },
            "results.jsonl has no verdict on src/counter.cpp:7:47: 0 -> 1"},
        Gap{"NoMutants", [](const Project &project) { QFile::remove(project.path("mutation/mutants.json")); },
            "mutants.json is not there; scripts/mutate makes it"},
        Gap{"NoFigures", [](const Project &project) { QFile::remove(project.path("figures/fuzz.txt")); },
            "fuzz.txt is not there; scripts/evidence fuzz makes it"},
        Gap{"FiguresOfAnInterruptedRun",
            [](const Project &project) { project.write("figures/soak.txt", "probes: 3, lost: 0\n"); },
            "soak.txt does not tell what is looked for"}),
    [](const auto &row) { return row.param.name; });

struct Change
{
    const char *name;
    void (*make)(const Project &project);
    const char *error; ///< empty if the document still holds
};

class AChangedProject : public testing::TestWithParam<Change>
{
};

TEST_P(AChangedProject, IsHeldAgainstItsLedger)
{
    const Project project;
    project.write_document();
    GetParam().make(project);

    const Answer answer = project.check();

    EXPECT_EQ(answer.status, *GetParam().error ? 1 : 0);
    EXPECT_EQ(answer.errors.toStdString(),
              *GetParam().error ? std::string("scripts/evidence: docs/evidence.md ") + GetParam().error + "\n"
                                : "");
}

INSTANTIATE_TEST_SUITE_P(
    , AChangedProject,
    testing::Values(Change{"InNothing", [](const Project &) {}, ""},
                    Change{"InAnOperationThatIsNew",
                           [](const Project &project) {
                               project.write("src/counter.h", header + "bool is_odd(int number);\n");
                           },
                           "lacks: is_odd"},
                    Change{"InAnOperationThatIsGone",
                           [](const Project &project) {
                               project.write("src/counter.h",
                                             QByteArray(header).replace("bool is_even(int number);\n", ""));
                               project.write(
                                   "src/counter.cpp",
                                   QByteArray(source).replace("bool is_even", "static bool is_even"));
                           },
                           "names, but there is not: is_even"},
                    Change{"InATestThatIsGone",
                           [](const Project &project) {
                               project.write("build/CTestTestfile.cmake",
                                             "add_test([=[ACounter.Counts]=] true)\n");
                           },
                           "names, but there is no test: EachNumber.IsEvenOrOdd"}),
    [](const auto &row) { return row.param.name; });
