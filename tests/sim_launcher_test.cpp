#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <stdexcept>

#include <sys/stat.h>

namespace {

constexpr int patience_ms = 60'000;
const QByteArray first_line = R"({"type":"scenario","version":1})"
                              "\n";

/// How the launcher has ended and what it has printed.
struct Ending
{
    int status = -1; ///< -1: it crashed, or did not end in time
    std::string output;
    std::string errors;
};

/// lanternix-sim as the package installs it, beside a program that only prints how it was started.
class Launcher : public testing::Test
{
protected:
    Launcher()
    {
        install("lanternix-sim");
        write("bin/lanternix",
              "#!/bin/sh\necho \"$LD_LIBRARY_PATH $BOARDSIM_SCENARIO\"\n"
              "echo \"$QT_QPA_PLATFORM\" >&2\n");
        QFile::setPermissions(path("bin/lanternix"), QFile::Permissions(0x7755));
    }

    void install(const QString &component) const
    {
        QProcess cmake;
        cmake.start(CMAKE, {"--install", BUILD, "--prefix", m_folder.path(), "--component", component});
        if (!cmake.waitForFinished(patience_ms) || cmake.exitCode() != 0)
            throw std::runtime_error(cmake.readAllStandardError().toStdString());
    }
    QString path(const QString &name) const
    {
        return QFileInfo(m_folder.path()).canonicalFilePath() + '/' + name;
    }
    QString driver_folder() const { return path(LIBDIR "/lanternix/simulated-board"); }
    void write(const QString &name, const QByteArray &content) const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            throw std::runtime_error("cannot write " + name.toStdString());
    }
    /// Runs the launcher in the folder that it is installed in, without a display.
    Ending run(const QStringList &arguments, const char *platform = "") const
    {
        QProcess launcher;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "LD_LIBRARY_PATH"})
            environment.remove(name);
        environment.insert("QT_QPA_PLATFORM", platform);
        launcher.setProcessEnvironment(environment);
        launcher.setWorkingDirectory(m_folder.path());
        launcher.start(path("bin/lanternix-sim"), arguments);
        Ending ending;
        if (launcher.waitForFinished(patience_ms) && launcher.exitStatus() == QProcess::NormalExit)
            ending.status = launcher.exitCode();
        ending.output = launcher.readAllStandardOutput().toStdString();
        ending.errors = launcher.readAllStandardError().toStdString();
        return ending;
    }

private:
    const QTemporaryDir m_folder;
};

TEST_F(Launcher, SaysThatAScenarioIsGood)
{
    write("a scenario", first_line);

    const Ending ending = run({"--check", "a scenario"});

    EXPECT_EQ(ending.status, 0);
    EXPECT_EQ(ending.output, "a scenario: good\n");
    EXPECT_EQ(ending.errors, "");
}

TEST_F(Launcher, FindsNoFaultInTheInstalledScenarios)
{
    const QDir scenarios(path("share/lanternix/scenarios"));
    const QStringList names = scenarios.entryList({"*.jsonl"}, QDir::Files);

    EXPECT_TRUE(names.contains("demonstration.jsonl"));
    for (const QString &name : names)
        EXPECT_EQ(run({"--check", scenarios.filePath(name)}).errors, "");
}

TEST_F(Launcher, SaysWhichLineIsWrong)
{
    write("broken", first_line + "nonsense\n");
    write("twice", first_line + R"({"type":"wait","time":1,"time":2})");
    ASSERT_EQ(mkfifo(path("pipe").toUtf8().constData(), 0600), 0);
    const std::vector<std::pair<QString, std::string>> lines{
        {"broken", "broken:2: not valid JSON at column 2\n"},
        {"twice", "twice:2: field \"time\" stands twice\n"},
        {"missing", "missing:0: cannot be opened: No such file or directory\n"},
        {"pipe", "pipe:0: not a regular file\n"},
        {"bin", "bin:0: not a regular file\n"},
        {"", ":0: cannot be opened: No such file or directory\n"},
    };

    for (const auto &[name, line] : lines) {
        for (const QStringList &arguments : {QStringList{"--check", name}, QStringList{name}}) {
            const Ending ending = run(arguments);

            EXPECT_EQ(ending.status, 1);
            EXPECT_EQ(ending.output, "") << "the program does not start";
            EXPECT_EQ(ending.errors, line);
        }
    }
}

TEST_F(Launcher, SaysThatItsCheckerIsMissing)
{
    const QString checker = driver_folder() + "/check-scenario";
    ASSERT_TRUE(QFile::remove(checker));

    const Ending ending = run({"--check", "good"});

    EXPECT_EQ(ending.status, 1);
    EXPECT_EQ(ending.errors.find("lanternix-sim: "), 0U) << ending.errors;
    EXPECT_NE(ending.errors.find("check-scenario: no checker of scenarios\n"), std::string::npos);
}

TEST_F(Launcher, ShowsItsUsage)
{
    for (const char *const option : {"--help", "-h"}) {
        const Ending ending = run({option});

        EXPECT_EQ(ending.status, 0);
        EXPECT_EQ(ending.output.find("Usage: lanternix-sim [SCENARIO]\n"), 0U) << ending.output;
        EXPECT_EQ(ending.errors, "");
    }
}

TEST_F(Launcher, RefusesArgumentsThatCannotBeMeant)
{
    write("good", first_line);
    for (const QStringList &arguments :
         {QStringList{"--check"}, QStringList{"--check", "good", "good"}, QStringList{"good", "--check"},
          QStringList{"--check", "--help"}, QStringList{"--version", "--check"}, QStringList{"--nonsense"}}) {
        const Ending ending = run(arguments);

        EXPECT_EQ(ending.status, 2);
        EXPECT_EQ(ending.output, "");
        EXPECT_EQ(ending.errors.find("lanternix-sim: "), 0U) << ending.errors;
    }
}

TEST_F(Launcher, NamesTheDriverAndTheQtThatTheProgramWouldUse)
{
    QFile::remove(path("bin/lanternix"));
    install("lanternix");

    const Ending ending = run({"--version"});

    EXPECT_EQ(ending.status, 0);
    EXPECT_EQ(ending.errors, "");
    QStringList lines = QString::fromStdString(ending.output).trimmed().split('\n');
    EXPECT_EQ(lines.takeFirst().toStdString(), "lanternix-sim " VERSION);
    ASSERT_FALSE(lines.isEmpty());
    EXPECT_EQ(lines.takeFirst(), "driver: " + driver_folder() + "/libzorvicboardex.so.1");
    lines.sort();
    ASSERT_EQ(lines.size(), 3);
    for (const char *name : {"Core", "Gui", "Widgets"}) {
        const QString line = lines.takeFirst();
        const QString library = line.section(": ", 1);
        EXPECT_EQ(line.section(": ", 0, 0), QStringLiteral("Qt ") + qVersion());
        EXPECT_TRUE(QFileInfo(library).isFile()) << line.toStdString();
        EXPECT_TRUE(library.contains(QStringLiteral("/libQt5%1.so.5").arg(name))) << line.toStdString();
    }
}

TEST_F(Launcher, StartsTheProgramWithItsDriverAndAScenario)
{
    write("-a scenario", first_line);

    const Ending ending = run({"--", "-a scenario"});

    EXPECT_EQ(ending.status, 0) << ending.errors;
    const QString printed = QString::fromStdString(ending.output).trimmed();
    const int blank = printed.indexOf(' ');
    EXPECT_EQ(QFileInfo(printed.left(blank)).canonicalFilePath(), driver_folder());
    EXPECT_EQ(printed.mid(blank + 1).toStdString(), "-a scenario");
}

TEST_F(Launcher, PrefersX11UnlessTheUserChoosesAPlatform)
{
    EXPECT_EQ(run({}).errors, "xcb;wayland\n");
    EXPECT_EQ(run({}, "wayland").errors, "wayland\n");
}

} // namespace
