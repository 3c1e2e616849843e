#include "support/lab.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace lab_testing;

namespace {

/// Files of a test, and the command on them.
class Export : public testing::Test
{
protected:
    QString write(const QString &name, const QByteArray &text) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        return file.fileName();
    }
    QString path(const QString &name) const { return m_folder.filePath(name); }
    std::string read(const QString &name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "missing";
    }

private:
    QTemporaryDir m_folder;
};

using Change = std::tuple<long long, std::string, unsigned long>; ///< time, signal, value

/// All changes in a waveform, ordered by time and name. Signals that have no value yet do not count.
std::vector<Change> changesIn(const QString &path)
{
    std::vector<Change> changes;
    std::map<std::string, std::string> names;
    std::map<std::string, unsigned long> values;
    long long time = 0;
    std::ifstream file(path.toStdString());
    for (std::string word; file >> word;) {
        std::string code;
        if (word == "$var") {
            std::string name;
            file >> word >> word >> code >> name;
            names[code] = name;
            continue;
        }
        if (word[0] == '#') {
            time = std::stoll(word.substr(1));
            continue;
        }
        if (word[0] == 'b')
            file >> code;
        else if (word[0] == '0' || word[0] == '1')
            code = word.substr(1);
        const std::string bits = word[0] == 'b' ? word.substr(1) : word.substr(0, 1);
        if (names.count(code) == 0 || bits.find_first_not_of("01") != std::string::npos)
            continue;
        changes.emplace_back(time, names.at(code), std::stoul(bits, nullptr, 2));
    }
    std::sort(changes.begin(), changes.end());
    return changes;
}

bool run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    return process.waitForFinished(-1) && process.exitCode() == 0;
}

/// Reports of pens, touches and erasers at random; after the first of each contact, most change little.
QByteArray randomReports()
{
    std::mt19937 random(3);
    QByteArray lines;
    for (int i = 1; i < 3000; ++i) {
        QByteArray bytes = i % 3 == 0 ? QByteArray(9, '\0') : QByteArray(i % 3 == 1 ? 6 : 7, '\0');
        for (char &byte : bytes)
            byte = static_cast<char>(random());
        const QByteArray kind = i % 3 == 0 ? "0046" : i % 3 == 1 ? "0821" : "0045";
        lines += raw(i * 37, (kind + bytes.toHex()).constData());
    }
    return lines;
}

} // namespace

TEST_F(Export, WritesARowForEachContactOfEachReport)
{
    const Outcome outcome = lab({"export", "-", "--csv"},
                                first + board + pen(1'500'000, 9)
                                    + raw(2'000'000, "0045830100020003008401000200030 0").replace(" ", ""));

    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.output,
              "time_s,board,kind,id,x,y,width,height,down,button,bit2,inside_us,line\n"
              "1.500000,7,pen,2,9,5,0,0,1,0,0,,3\n"
              "2.000000,7,touch,3,1,2,3,0,1,0,0,,4\n"
              "2.000000,7,touch,4,1,2,3,0,1,0,0,,4\n");
}

TEST_F(Export, WritesAStrictWaveform)
{
    const QString file = write("a.jsonl", first + board + pen(1000, 9) + pen(2000, 9) + pen(3000, 10, false));

    const Outcome outcome = lab({"export", file, "--vcd"});

    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.output,
              "$timescale 1 us $end\n$scope module recording $end\n"
              "$var wire 16 ! board7_pen2_x $end\n$var wire 16 \" board7_pen2_y $end\n"
              "$var wire 1 # board7_pen2_tip $end\n$var wire 1 $ board7_pen2_button $end\n"
              "$upscope $end\n$enddefinitions $end\n"
              "#1000\nb1001 !\nb101 \"\n1#\n0$\n#3000\nb1010 !\n0#\n");
}

TEST_F(Export, NeedsOneFormatAndAWaveformAFile)
{
    EXPECT_EQ(lab({"export", "-"}).status, 2);
    EXPECT_EQ(lab({"export", "-", "--csv", "--vcd"}).status, 2);
    EXPECT_EQ(lab({"export", "-", "--vcd"}, first + board).errors,
              "lanternix-lab: export --vcd reads its file twice, so it needs one\n");
}

TEST_F(Export, WritesAWaveformThatOtherToolsRead)
{
    const QString recording = write("a.jsonl", first + board + randomReports());
    const QString wave = path("a.vcd");
    ASSERT_EQ(lab({"export", recording, "--vcd", "-o", wave}).status, 0);

    ASSERT_TRUE(run("vcd2fst", {wave, path("a.fst")})) << "vcd2fst is of Debian's package gtkwave";
    ASSERT_TRUE(run("fst2vcd", {"-f", path("a.fst"), "-o", path("back.vcd")}));

    const std::vector<Change> changes = changesIn(wave);
    EXPECT_GT(changes.size(), 5000U);
    EXPECT_EQ(changesIn(path("back.vcd")), changes);
}

TEST_F(Export, LeavesATimeEmptyThatALineDoesNotHave)
{
    const Outcome outcome =
        lab({"export", "-", "--csv"}, first + board + R"({"type":"raw","board":7,"hex":"0821000100020001"})");

    EXPECT_NE(outcome.output.find("\n,7,pen,0,1,2,0,0,1,0,0,,3\n"), std::string::npos) << outcome.output;
}

TEST_F(Export, LeavesTheFileThatItWouldReplaceIfItFails)
{
    write("a.csv", "before");

    const Outcome outcome = lab({"export", write("a.jsonl", first + "{}\n"), "--csv", "-o", path("a.csv")});

    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(read("a.csv"), "before");
}

TEST_F(Export, WritesIntoAPipeAndLeavesItThere)
{
    const QByteArray pipe = path("pipe").toLocal8Bit();
    ASSERT_EQ(mkfifo(pipe.constData(), 0600), 0);
    const int reader = open(pipe.constData(), O_RDONLY | O_NONBLOCK);

    const Outcome outcome = lab({"export", "-", "--csv", "-o", path("pipe")}, first + board);

    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    char text[200] = {};
    EXPECT_GT(::read(reader, text, sizeof text - 1), 0);
    EXPECT_EQ(std::string(text).find("time_s,"), 0U);
    struct stat status = {};
    EXPECT_EQ(stat(pipe.constData(), &status), 0);
    EXPECT_TRUE(S_ISFIFO(status.st_mode));
    close(reader);
}

TEST_F(Export, ReplacesTheFileBehindALink)
{
    write("a.csv", "before");
    ASSERT_TRUE(QFile::link(path("a.csv"), path("link")));

    const Outcome outcome = lab({"export", "-", "--csv", "-o", path("link")}, first + board);

    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(read("a.csv").find("time_s,"), 0U);
    EXPECT_TRUE(QFileInfo(path("link")).isSymLink());
}
