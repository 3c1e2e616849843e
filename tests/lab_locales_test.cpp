#include "support/lab_lines.h"
#include "support/simulated_driver.h"
#include "support/synthetic.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

using namespace lab_testing;

// The same bytes in every locale: numbers have a point and no separators, whatever a person's own habits.

namespace {

struct Row
{
    const char *name;
    QStringList arguments;
    const char *number;    ///< a regular expression for one that is printed or written
    bool is_timed = false; ///< the numbers are those of a clock, or of chance
};

struct Printed
{
    int status = -1;
    std::string output;
    std::string errors;
    std::map<std::string, std::string> files; ///< that the command has written

    std::string all() const
    {
        std::string text = output + errors;
        for (const auto &[name, content] : files)
            text += content;
        return text;
    }
};

/// What stays of a text whose numbers come from a clock: its shape, with "#" for digits.
std::string shape_of(const std::string &text)
{
    QString shape = QString::fromStdString(text);
    shape.replace(QRegularExpression("[0-9]+"), "#").replace(QRegularExpression(" +"), " ");
    return shape.toStdString();
}

void write(const QDir &folder, const QString &name, const std::string &text)
{
    QFile file(folder.filePath(name));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text.data(), qint64(text.size()));
}

/// A pen whose last report comes so many microseconds later.
std::string short_recording(int later)
{
    const QByteArray inside = R"({"type":"raw","at":2400000,"board":7,"hex":"0045","inside":1.25})";
    return (first + board + pen(1'500'000, 5) + pen(2'250'000, 6) + inside + "\n"
            + pen(2'500'000 + later, 6, false) + end(3'000'000))
        .toStdString();
}

/// What the commands read: two long recordings, two short ones, and a rolling one that was killed.
void write_recordings(const QDir &folder)
{
    write(folder, "a.jsonl", synthetic::cleanRecording(1).text());
    write(folder, "b.jsonl", synthetic::cleanRecording(2).text());
    write(folder, "short.jsonl", short_recording(0));
    write(folder, "later.jsonl", short_recording(125'000));
    write(folder, "bad.jsonl", "{\"type\":\"scenario\",\"version\":2}\n{\"type\":\"raw\",\"at\":1.5}\n");
    ASSERT_TRUE(folder.mkdir("rolling.jsonl.parts"));
    write(folder, "rolling.jsonl.parts/000001.jsonl",
          R"({"type":"scenario","version":2,"part":{"number":1,"begin":0,"restored":0,"keep":60000000}})"
          "\n" + (board + pen(1'500'000, 5) + pen(2'250'000, 6, false)).toStdString());
    ASSERT_TRUE(folder.mkdir("driver"));
    ASSERT_TRUE(QFile::copy(SimulatedDriver::folder() + "/libzorvicboardex.so.1",
                            folder.filePath("driver/libzorvicboardex.so.1")));
}

QStringList files_in(const QString &folder)
{
    QStringList files;
    for (QDirIterator found(folder, QDir::Files, QDirIterator::Subdirectories); found.hasNext();)
        files.append(found.next());
    return files;
}

std::map<std::string, std::string> new_files(const QDir &folder, const QStringList &before)
{
    std::map<std::string, std::string> files;
    for (const QString &name : files_in(folder.path())) {
        QFile file(name);
        if (before.contains(name) || !file.open(QIODevice::ReadOnly))
            continue;
        files[folder.relativeFilePath(name).toStdString()] = file.readAll().toStdString();
    }
    return files;
}

/// Runs the command in a folder of its own.
Printed run(const QStringList &arguments, const QString &locale)
{
    const QTemporaryDir place;
    const QTemporaryDir runtime_folder; // locks are named after processes
    const QDir folder(place.path());
    write_recordings(folder);
    const QStringList before = files_in(folder.path());
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LANGUAGE", "C"); // texts differ, numbers and times must not
    environment.insert("LC_ALL", locale);
    environment.insert("HOME", folder.path());
    environment.insert("XDG_RUNTIME_DIR", runtime_folder.path());
    environment.insert("LD_LIBRARY_PATH", folder.filePath("driver"));
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    environment.insert("BOARDSIM_SCENARIO", folder.filePath("short.jsonl"));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(folder.path());
    process.start(LANTERNIX_LAB, arguments);
    EXPECT_TRUE(process.waitForFinished());
    Printed printed;
    printed.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    const auto text = [&folder](const QByteArray &bytes) {
        return QString::fromUtf8(bytes).replace(folder.path(), "FOLDER").toStdString();
    };
    printed.output = text(process.readAllStandardOutput());
    printed.errors = text(process.readAllStandardError());
    printed.files = new_files(folder, before);
    return printed;
}

class EveryLocale : public testing::TestWithParam<Row>
{
};

} // namespace

TEST_P(EveryLocale, GetsTheSameBytes)
{
    const Row &row = GetParam();
    const Printed expected = run(row.arguments, "C");
    ASSERT_TRUE(QRegularExpression(row.number).match(QString::fromStdString(expected.all())).hasMatch())
        << row.number << " in " << expected.all().substr(0, 2000);

    for (const char *const locale : {"fr_FR.UTF-8", "ja_JP.UTF-8"}) {
        const Printed printed = run(row.arguments, locale);

        const auto compared = [&row](const std::string &text) {
            return row.is_timed ? shape_of(text) : text;
        };
        EXPECT_EQ(printed.status, expected.status) << locale;
        EXPECT_EQ(compared(printed.output), compared(expected.output)) << locale;
        EXPECT_EQ(compared(printed.errors), compared(expected.errors)) << locale;
        EXPECT_EQ(printed.files, expected.files) << locale;
        if (row.arguments.contains("--json")) {
            for (const QString &line : QString::fromStdString(printed.output).split('\n', Qt::SkipEmptyParts))
                EXPECT_TRUE(nlohmann::json::accept(line.toStdString()))
                    << locale << ": " << line.toStdString();
        }
    }
}

const QStringList graded{"--profile", "board", "--size", "1660.5x934.25"};

INSTANTIATE_TEST_SUITE_P(
    Command, EveryLocale,
    testing::Values(
        Row{"Check", {"check", "a.jsonl"}, "\\d\\.\\d{6} s"},
        Row{"CheckJson", {"check", "--json", "a.jsonl"}, "\\d"},
        Row{"CheckOfABadOne", {"check", "bad.jsonl"}, "bad\\.jsonl:2: "},
        Row{"Show", {"show", "--all", "short.jsonl"}, "2\\.250000"},
        Row{"ShowFolded", {"show", "a.jsonl"}, "\\d\\.\\d a second"},
        Row{"ShowJson", {"show", "--json", "--from", "1.5", "short.jsonl"}, "1\\.25"},
        Row{"Diff", {"diff", "--times", "short.jsonl", "later.jsonl"}, "\\d\\.\\d{6} s"},
        Row{"DiffJson", {"diff", "--json", "--times", "short.jsonl", "later.jsonl"}, "\\d"},
        Row{"Report", QStringList{"report", "a.jsonl"} + graded, "\\d\\.\\d"},
        Row{"ReportJson", QStringList{"report", "--json", "a.jsonl"} + graded, "\\d\\.\\d"},
        Row{"ReportPage", QStringList{"report", "a.jsonl", "-o", "page.html"} + graded,
            "\\d\\.\\d+ Hz|\\d\\.\\d"},
        Row{"ReportOfTwo", QStringList{"report", "a.jsonl", "b.jsonl", "-o", "page.html"}, "\\d\\.\\d"},
        Row{"ReportThatFails", {"report", "a.jsonl", "--fail-on", "jitter_rms_units>1.5"}, "it is 2\\.\\d"},
        Row{"Cut", {"cut", "short.jsonl", "--from", "1.6", "--to", "2.4", "-o", "cut.jsonl"}, "\\d"},
        Row{"Join", {"join", "short.jsonl", "a.jsonl", "-o", "join.jsonl"}, "1\\.25"},
        Row{"Anonymise", {"anonymise", "short.jsonl", "-o", "bare.jsonl"}, "1\\.25"},
        Row{"Keep", {"keep", "rolling.jsonl"}, "2\\.2 s"},
        Row{"KeepJson", {"keep", "--json", "rolling.jsonl"}, "\\d"},
        Row{"ExportCsv", {"export", "--csv", "short.jsonl", "-o", "a.csv"}, "2\\.250000,7,pen"},
        Row{"ExportVcd", {"export", "--vcd", "short.jsonl", "-o", "a.vcd"}, "#2250000"},
        Row{"Probe", {"probe", "--seconds", "0.1"}, "\\d\\.\\d s", true},
        Row{"ProbeJson", {"probe", "--json", "--seconds", "0.1"}, "\\d\\.\\d", true},
        Row{"WrongNumber", {"probe", "--seconds", "0,1"}, "0,1"},
        Row{"Torture", {"torture", "--list"}, "\\d"}),
    [](const auto &row) { return std::string(row.param.name); });
