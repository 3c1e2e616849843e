#pragma once

#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <string>
#include <tuple>
#include <vector>

/// Reads traces, also by GTKWave's converters.
namespace trace_testing {

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

inline std::ostream &operator<<(std::ostream &out, const Change &change)
{
    return out << '#' << change.time << ' ' << change.name << " = " << change.value;
}

/// All changes in a trace, ordered by time and name.
inline std::vector<Change> changes_in(const QString &path)
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
inline bool run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(program, arguments);
    return process.waitForFinished(-1) && process.exitStatus() == QProcess::NormalExit
        && process.exitCode() == 0;
}

/// The same trace after GTKWave's converters have read it and written it again.
inline QString read_and_written_by_gtkwave(const QTemporaryDir &folder, const QString &trace)
{
    const QString fst = folder.filePath("trace.fst");
    const QString back = folder.filePath("back.vcd");
    EXPECT_TRUE(run("vcd2fst", {trace, fst})) << "vcd2fst, of Debian's package gtkwave, failed";
    EXPECT_TRUE(run("fst2vcd", {"-f", fst, "-o", back})) << "fst2vcd, of Debian's package gtkwave, failed";
    return back;
}

} // namespace trace_testing
