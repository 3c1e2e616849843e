// Tests that third-party software reads a trace: GTKWave's converters turn it into their own format and back.

#include "vcd.h"

#include <gtest/gtest.h>

#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <tuple>

namespace {

struct Change
{
    long long time;
    std::string name;
    double value;

    bool operator==(const Change &other) const
    {
        return std::tie(time, name, value) == std::tie(other.time, other.name, other.value);
    }
    bool operator<(const Change &other) const
    {
        return std::tie(time, name) < std::tie(other.time, other.name);
    }
};

std::ostream &operator<<(std::ostream &out, const Change &change)
{
    return out << '#' << change.time << ' ' << change.name << " = " << change.value;
}

/// All changes in a trace, ordered by time and name.
std::vector<Change> changes_in(const QString &path)
{
    std::vector<Change> changes;
    std::map<std::string, std::string> names;
    long long time = 0;
    std::ifstream file(path.toStdString());
    for (std::string word; file >> word;) {
        std::string code, name;
        if (word == "$var") {
            file >> word >> word >> code >> name;
            names[code] = name;
        } else if (word[0] == '#') {
            time = std::stoll(word.substr(1));
        } else if (word[0] == 'r' && file >> code) {
            changes.push_back({time, names.at(code), std::stod(word.substr(1))});
        }
    }
    std::sort(changes.begin(), changes.end());
    return changes;
}

/// Runs a program to its end; what it prints goes to the test's own output.
bool run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(program, arguments);
    return process.waitForFinished(-1) && process.exitStatus() == QProcess::NormalExit
        && process.exitCode() == 0;
}

/// The same trace after GTKWave's converters have read it and written it again.
QString read_and_written_by_gtkwave(const QTemporaryDir &folder, const QString &trace)
{
    const QString fst = folder.filePath("trace.fst");
    const QString back = folder.filePath("back.vcd");
    EXPECT_TRUE(run("vcd2fst", {trace, fst})) << "vcd2fst, of Debian's package gtkwave, failed";
    EXPECT_TRUE(run("fst2vcd", {"-f", fst, "-o", back})) << "fst2vcd, of Debian's package gtkwave, failed";
    return back;
}

TEST(TraceReaders, GtkwaveReadsEveryNumericType)
{
    const QTemporaryDir folder;
    const QString trace = folder.filePath("trace.vcd");
    Vcd position("position", 0.5);
    Vcd count("count", -3);
    Vcd mask("mask", 4294967295U);
    position.update(-1.5e-7);
    position.update(1234567);
    position.update(HUGE_VAL);
    count.update(2147483647);
    mask.update(0);
    position.update(-HUGE_VAL);
    Vcd::write_vcd(trace.toStdString());

    const std::vector<Change> read = changes_in(read_and_written_by_gtkwave(folder, trace));

    EXPECT_EQ(read, changes_in(trace));
    std::map<std::string, std::vector<double>> values;
    for (const Change &change : read)
        values[change.name].push_back(change.value);
    const std::map<std::string, std::vector<double>> expected{
        {"position", {0.5, -1.5e-7, 1234570, HUGE_VAL, -HUGE_VAL}},
        {"count", {-3, 2147480000}},
        {"mask", {4294970000, 0}}};
    EXPECT_EQ(values, expected);
}

TEST(TraceReaders, GtkwaveReadsThousandsOfSignals)
{
    const QTemporaryDir folder;
    const QString trace = folder.filePath("trace.vcd");
    std::vector<Vcd> handles;
    for (int signal = 0; signal < 9000; ++signal) // codes of one, two and three characters
        handles.emplace_back("signal" + std::to_string(signal), signal / 7.0);
    std::mt19937 random(3);
    for (int change = 1; change <= 50000; ++change)
        handles[random() % handles.size()].update(change * 1.25);
    Vcd::write_vcd(trace.toStdString());

    const std::vector<Change> read = changes_in(read_and_written_by_gtkwave(folder, trace));

    const std::vector<Change> written = changes_in(trace);
    ASSERT_EQ(read.size(), written.size());
    EXPECT_EQ(read.size(), 59000U);
    for (std::size_t change = 0; change < written.size(); ++change)
        ASSERT_EQ(read[change], written[change]);
}

} // namespace
