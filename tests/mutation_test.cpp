// What scripts/mutate runs, on small projects with a test program of their own.

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace {

struct Answer
{
    int status = -1;
    QStringList lines;
    QByteArray errors;
};

/// A project in a temporary folder with one source file in src/, and a program check.cpp that runs the test
/// that its argument names.
class Project
{
public:
    Project(const QByteArray &source, const QByteArray &check)
    {
        write("CMakePresets.json", R"({"version": 6,
            "configurePresets": [{"name": "release", "generator": "Ninja",
                                  "binaryDir": "${sourceDir}/build/release",
                                  "cacheVariables": {"CMAKE_EXPORT_COMPILE_COMMANDS": "ON"}}],
            "buildPresets": [{"name": "release", "configurePreset": "release"}]})");
        write("CMakeLists.txt",
              "cmake_minimum_required(VERSION 3.25)\n"
              "project(Small LANGUAGES CXX)\n"
              "enable_testing()\n"
              "add_subdirectory(src)\n"
              "add_executable(check check.cpp)\n"
              "target_link_libraries(check PRIVATE small)\n"
              "foreach(test first second)\n"
              "    add_test(NAME ${test} COMMAND check ${test})\n"
              "endforeach()\n");
        write("src/CMakeLists.txt", "add_library(small STATIC small.cpp)\n");
        write("src/small.cpp", source);
        write("check.cpp", check);
    }

    QString path(const QString &name) const { return m_folder.filePath(name); }

    void write(const QString &name, const QByteArray &text) const
    {
        QDir().mkpath(QFileInfo(path(name)).path());
        QFile file(path(name));
        EXPECT_TRUE(file.open(QFile::WriteOnly) && file.write(text) == text.size()) << name.toStdString();
    }

    QByteArray read(const QString &name) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QFile::ReadOnly)) << name.toStdString();
        return file.readAll();
    }

    /// A test that a mutant keeps from ending is given up after a second.
    Answer mutate(const QStringList &arguments = {}) const
    {
        QProcess process;
        process.start("/usr/bin/python3",
                      QStringList{"-B", MUTATE, m_folder.path(), "--more-time", "1"} + arguments);
        if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit)
            return {-1, {}, process.errorString().toUtf8()};
        const QString output = process.readAllStandardOutput();
        return {process.exitCode(), output.split('\n', Qt::SkipEmptyParts), process.readAllStandardError()};
    }

private:
    QTemporaryDir m_folder;
};

struct Code
{
    const char *name;
    const char *line;     ///< of the source
    QStringList expected; ///< its mutants
};

void PrintTo(const Code &row, std::ostream *out)
{
    *out << row.line;
}

const std::vector<Code> &codes()
{
    static const std::vector<Code> rows{
        {"Arithmetic", "int f1(int a, int b) { return a - b; }", {"a - b -> a + b"}},
        {"Relation", "bool f2(int a, int b) { return a < b; }", {"a < b -> a <= b", "a < b -> a >= b"}},
        {"Equality", "bool f3(int a, int b) { return a == b; }", {"a == b -> a != b"}},
        {"Shift", "int f4(int a, int b) { return a << b; }", {"a << b -> a >> b"}},
        {"Bits", "int f5(int a, int b) { return a & b; }", {"a & b -> a | b"}},
        {"LogicAndResult",
         "bool f6(bool a, bool b) { return a && b; }",
         {"a && b -> !(a && b)", "a && b -> a || b"}},
        {"Unary", "int f7(int a, bool b) { return b ? -a : ~a; }", {"-a -> a", "~a -> a"}},
        {"Negation", "bool f8(bool a) { return !a; }", {"!a -> a"}},
        {"CompoundAssignment",
         "void f9(int &a, int b) { a += b; }",
         {"a += b -> a -= b", "a += b; -> (nothing)"}},
        {"Increment", "int f10(int &a) { return ++a; }", {"++a -> --a"}},
        {"IncrementBehind", "int f11(int &a) { return a++; }", {"a++ -> a--"}},
        {"Zero", "int f12() { return 0; }", {"0 -> 1"}},
        {"One", "int f13() { return 1; }", {"1 -> 0"}},
        {"Number", "double f14() { return 2.5; }", {"2.5 -> 2.5 + 1"}},
        {"Truth", "bool f15() { return true; }", {"true -> false"}},
        {"NamedConstant", "constexpr int few = 3; int f16() { return few; }", {"few -> few + 1"}},
        {"Call", "void f17(void (*a)()) { a(); }", {"a(); -> (nothing)"}},
        {"EarlyReturn",
         "void f18(bool a, int &b) { if (a) return; b = 2; }",
         {"2 -> 2 + 1", "b = 2; -> (nothing)", "return; -> (nothing)"}},
        {"BodyWithoutBraces",
         "void f19(int &a, int b) { if (b) a = b; else a = -b; }",
         {"-b -> b", "a = -b; -> (nothing)", "a = b; -> (nothing)"}},
        {"Loop", "void f20(int &a, int b) { for (; b; --b) a = b; }", {"--b -> ++b", "a = b; -> (nothing)"}},
        {"Member", "struct S21 { int a = 0; };", {"0 -> 1"}},
        {"ClassWithOperators", "S22 f22(S22 a, S22 b) { return a + b; }", {"a + b -> a - b"}},
        {"Case", "int f23(int a) { switch (a) { case 2: return a; } return a; }", {}},
        {"ConstantFunction", "constexpr int f24(int a) { return a + 1; }", {}},
        {"ArraySize",
         "int f25() { int a[7]; return sizeof(a) == sizeof(int[3]); }",
         {"sizeof(a) == sizeof(int[3]) -> sizeof(a) != sizeof(int[3])"}},
        {"Assertion", "static_assert(sizeof(int) == 4);", {}},
        {"DefaultArgument", "int f26(int a = 2);", {}},
        {"Enumerators", "enum { e27 = 3 };", {}},
        {"Macro", "int f28(int a) { return TWICE(a); }", {}},
        {"OperandThatIsAMacro", "int f29(int a) { return a * THREE; }", {"a * THREE -> a / THREE"}},
        {"NullPointer", "const char *f30() { return 0; }", {}},
        {"LineBreak", "int f31(int a) { return a // one\n        + a; }", {"a + a -> a - a"}},
    };
    return rows;
}

/// All rows in one file, of which the mutants are listed once.
class Mutants : public testing::TestWithParam<Code>
{
protected:
    static void SetUpTestSuite()
    {
        QByteArray source = "struct S22 { S22 operator+(S22) const; S22 operator-(S22) const; };\n"
                            "#define THREE 3\n"
                            "#define TWICE(a) (2 * (a))\n";
        for (const Code &row : codes())
            source += QByteArray(row.line) + "\n";
        const Project project(source, "int main() {}\n");
        s_answer = project.mutate({"--list"});
    }

    static Answer s_answer;
};

Answer Mutants::s_answer;

TEST_P(Mutants, AreFoundInTheSyntaxTree)
{
    ASSERT_EQ(s_answer.status, 0) << s_answer.errors.constData();
    int first = 4;
    for (const Code &row : codes()) {
        if (row.name == std::string(GetParam().name))
            break;
        first += 1 + QByteArray(row.line).count('\n');
    }

    QStringList found;
    for (const QString &line : s_answer.lines) {
        // NUMBER: FILE:LINE:COLUMN: ORIGINAL -> MUTATED
        if (line.section(':', 2, 2).toInt() == first)
            found << line.section(": ", 2);
    }
    found.sort();
    EXPECT_EQ(found.join(", ").toStdString(), GetParam().expected.join(", ").toStdString());
}

INSTANTIATE_TEST_SUITE_P(, Mutants, testing::ValuesIn(codes()),
                         [](const auto &row) { return row.param.name; });

const QByteArray small = "int sum(int a, int b, int c) { return a * b + c; }\n"
                         "bool positive(int a) { return a > 0; }\n"
                         "void wait(volatile bool *done) { while (!*done) *done = true; }\n"
                         "const int *at(int n, const int *p) { return n + p; }\n"
                         "int never(int a) { return -a; }\n";
const QByteArray check = "#include <cstring>\n"
                         "int sum(int, int, int);\n"
                         "bool positive(int);\n"
                         "void wait(volatile bool *);\n"
                         "int main(int, char **arguments)\n"
                         "{\n"
                         "    if (std::strcmp(arguments[1], \"first\") == 0)\n"
                         "        return sum(6, 2, 3) == 15 && positive(5) ? 0 : 1;\n"
                         "    bool done = false;\n"
                         "    wait(&done);\n"
                         "    return done ? 0 : 1;\n"
                         "}\n";

const QByteArray explanation = "# Why not.\n\n"
                               "src/small.cpp\n"
                               "  bool positive(int a) { return a > 0; }\n"
                               "  a > 0 -> a >= 0\n"
                               "  Zero is never asked for,\n"
                               "  and one is not, either.\n";

/// A project with mutants that are killed, that run for ever, that live, that are not reached, and one that
/// does not compile. Built once.
class Verdicts : public testing::Test
{
protected:
    static void SetUpTestSuite() { s_project = std::make_unique<Project>(small, check); }
    static void TearDownTestSuite() { s_project.reset(); }

    ~Verdicts() override
    {
        QFile::remove(s_project->path(explained));
        QFile::remove(s_project->path(results));
    }

    static constexpr const char *explained = "scripts/mutation/equivalent.txt";
    static constexpr const char *results = "build/mutation/results.jsonl";
    static std::unique_ptr<Project> s_project;
};

std::unique_ptr<Project> Verdicts::s_project;

TEST_F(Verdicts, AreReportedForEachMutant)
{
    const Answer answer = s_project->mutate();

    EXPECT_EQ(answer.status, 1) << answer.errors.constData();
    const QStringList expected{
        "file           mutants  killed  killed by time  lived  not reached  equivalent",
        "src/small.cpp        9       4               2      2            1           0",
        "all                  9       4               2      2            1           0",
        "left out, since they do not compile: 1",
        "  src/small.cpp:4:45: n + p -> n - p: invalid operands of types 'int' and 'const int*' to binary "
        "'operator-'",
        "lived, 2: src/small.cpp:2:31: a > 0 -> a >= 0",
        "lived, 4: src/small.cpp:2:35: 0 -> 1",
        "not reached, 9: src/small.cpp:5:27: -a -> a",
        "score: 66.7 percent, 6 of 9 that are not equivalent"};
    EXPECT_EQ(answer.lines.join('\n').toStdString(), expected.join('\n').toStdString());
}

TEST_F(Verdicts, AreGoodIfNoMutantLives)
{
    const Answer answer = s_project->mutate({"--file", "cpp:1:"});

    EXPECT_EQ(answer.status, 0) << answer.errors.constData();
    EXPECT_EQ(answer.lines.last().toStdString(), "score: 100.0 percent, 2 of 2 that are not equivalent");
}

TEST_F(Verdicts, DoNotCountWhatIsExplained)
{
    s_project->write(explained, explanation);

    const Answer answer = s_project->mutate({"--file", "cpp:2:31"});

    EXPECT_EQ(answer.status, 0) << answer.errors.constData();
    EXPECT_EQ(answer.lines.value(1).toStdString(),
              "src/small.cpp        2       1               0      0            0           1");
    EXPECT_EQ(answer.lines.last().toStdString(), "score: 100.0 percent, 1 of 1 that are not equivalent");
}

TEST_F(Verdicts, OfOneOfTwoEqualLinesAreExplainedWithTheLineAbove)
{
    const Project project("int f(int a)\n{\nif (a)\nreturn 2;\nelse\nreturn 2;\n}\n", "int main() {}\n");
    project.write(explained, "src/small.cpp\nelse return 2;\n2 -> 2 + 1\nNobody asks.\n");

    const Answer answer = project.mutate();

    EXPECT_EQ(answer.lines.value(1).toStdString(),
              "src/small.cpp        2       0               0      0            1           1")
        << answer.errors.constData();
}

TEST_F(Verdicts, OfAnInterruptedRunAreKept)
{
    s_project->mutate({"--file", "cpp:1:"});
    QByteArray lines = s_project->read(results);
    lines.replace("killed", "lived");
    lines.chop(5); // of the second verdict
    s_project->write(results, lines);

    const Answer answer = s_project->mutate({"--file", "cpp:1:", "--resume"});

    EXPECT_EQ(answer.lines.value(1).toStdString(),
              "src/small.cpp        2       1               0      1            0           0")
        << answer.errors.constData();
    EXPECT_EQ(answer.errors.count('\n'), 1) << answer.errors.constData();
    EXPECT_TRUE(answer.errors.startsWith("1 of 1: killed")) << answer.errors.constData();
}

TEST_F(Verdicts, OfMutantsThatLivedAreFoundAgainIfThatIsWanted)
{
    s_project->mutate({"--file", "cpp:1:"});
    QByteArray lines = s_project->read(results);
    lines.replace(lines.indexOf("killed"), 6, "lived");
    s_project->write(results, lines);

    const Answer answer = s_project->mutate({"--file", "cpp:1:", "--resume", "--again"});

    EXPECT_EQ(answer.status, 0) << answer.errors.constData();
    EXPECT_TRUE(answer.errors.startsWith("1 of 1: killed")) << answer.errors.constData();
}

TEST_F(Verdicts, OfMutantsThatAreExplainedAreNotFoundAgain)
{
    s_project->write(explained, explanation);
    s_project->mutate({"--file", "cpp:2:31"});

    const Answer answer = s_project->mutate({"--file", "cpp:2:31", "--resume", "--again"});

    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.errors.toStdString(), "");
}

TEST(AMutantThatTakesTooLong, CountsAsOneThatLives)
{
    const Project project(
        "int twice(int a) { return a + a; }\n",
        "#include <chrono>\n"
        "#include <cstring>\n"
        "int twice(int);\n"
        "int main(int, char **arguments)\n"
        "{\n"
        "    if (std::strcmp(arguments[1], \"first\") == 0)\n"
        "        return twice(0);\n"
        "    const auto begin = std::chrono::steady_clock::now();\n"
        "    while (std::chrono::steady_clock::now() - begin < std::chrono::milliseconds(300)) { }\n"
        "    return twice(1) == 2 ? 0 : 1;\n"
        "}\n");

    EXPECT_TRUE(project.mutate({"--most-time", "0.001"}).errors.contains("1 of 1: lived (1 cases"));
    EXPECT_TRUE(project.mutate().errors.contains("1 of 1: killed (2 cases"));
}

TEST_F(Verdicts, AreOfTheSameMutantsForTheSameSeed)
{
    const Answer first = s_project->mutate({"--list", "--sample", "3", "--seed", "5"});

    EXPECT_EQ(first.lines.size(), 3) << first.errors.constData();
    EXPECT_EQ(first.lines, s_project->mutate({"--list", "--sample", "3", "--seed", "5"}).lines);
    EXPECT_NE(first.lines, s_project->mutate({"--list", "--sample", "3", "--seed", "6"}).lines);
}

TEST(ATestThatAlwaysFails, KillsNoMutant)
{
    const Project project("int one() { return 1; }\n", "int one();\nint main() { return one(); }\n");

    const Answer answer = project.mutate();

    EXPECT_EQ(answer.status, 1);
    EXPECT_EQ(answer.lines.value(1).toStdString(),
              "src/small.cpp        1       0               0      0            1           0");
    for (const char *test : {"first", "second"})
        EXPECT_TRUE(answer.errors.contains(QByteArray("scripts/mutate: ") + test
                                           + " fails on the unchanged program and is left out\n"))
            << answer.errors.constData();
}

struct Fault
{
    const char *name;
    QByteArray explained;
    const char *error;
};

void PrintTo(const Fault &row, std::ostream *out)
{
    *out << row.explained.constData();
}

class Explanations : public Verdicts, public testing::WithParamInterface<Fault>
{
};

TEST_P(Explanations, AreRefusedIfTheyAreWrong)
{
    s_project->write(explained, GetParam().explained);

    const Answer answer = s_project->mutate({"--file", "cpp:1:"});

    EXPECT_EQ(answer.status, 1);
    EXPECT_EQ(answer.errors.trimmed().split('\n').last().toStdString(),
              std::string("scripts/mutate: ") + explained + GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    , Explanations,
    testing::Values(
        Fault{"OfNoMutant", "\nsrc/small.cpp\nbool positive(int a) { return a > 0; }\na > 0 -> a\nNone.\n",
              ":2: no mutant of src/small.cpp is \"a > 0 -> a\" in such a line"},
        Fault{"InAnotherLine", "src/small.cpp\nbool positive\na > 0 -> a >= 0\nNone.\n",
              ":1: no mutant of src/small.cpp is \"a > 0 -> a >= 0\" in such a line"},
        Fault{"WithoutAReason", "src/small.cpp\nbool positive(int a) { return a > 0; }\na > 0 -> a >= 0\n",
              ":1: an entry has a file, a line, a mutation and a reason"},
        Fault{"OfAKilledMutant",
              "src/small.cpp\nint sum(int a, int b, int c) { return a * b + c; }\na * b -> a / b\nNo.\n",
              ": first kills src/small.cpp:1:39: a * b -> a / b"}),
    [](const auto &row) { return row.param.name; });

} // namespace
