#include "vcd.h"

#include <gtest/gtest.h>

#include <QFileInfo>
#include <QTemporaryDir>

#include <algorithm>
#include <fstream>
#include <future>
#include <iterator>
#include <limits>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <thread>

namespace {

const std::string header = "$date It's a new day. $end\n"
                           "$version VCD generator V1.0. $end\n"
                           "$comment VCD generator by D.K.Orwin $end\n"
                           "$timescale 1 ns $end\n"
                           "$scope module logic $end\n";
const std::string end_of_header = "$upscope $end\n$enddefinitions $end\n";

std::string read_file(const QString &path)
{
    std::ifstream file(path.toStdString(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string written_trace()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("trace.vcd");
    Vcd::write_vcd(path.toStdString());
    return read_file(path);
}

std::string declarations(const std::string &trace)
{
    return trace.substr(header.size(), trace.find(end_of_header) - header.size());
}

std::string changes(const std::string &trace)
{
    return trace.substr(trace.find(end_of_header) + end_of_header.size());
}

std::vector<std::string> lines(const std::string &text)
{
    std::vector<std::string> result;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        result.push_back(line);
    return result;
}

std::vector<std::string> times(const std::string &trace)
{
    std::vector<std::string> result = lines(changes(trace));
    result.erase(std::remove_if(result.begin(), result.end(), [](auto &line) { return line[0] != '#'; }),
                 result.end());
    return result;
}

/// The value lines alone.
std::string values(const std::string &trace)
{
    std::string result;
    for (const std::string &line : lines(changes(trace)))
        if (line[0] != '#')
            result += line + '\n';
    return result;
}

struct Change
{
    long long time;
    int value;
};

/// The changes of each signal, by name, in the order of the file, whose times must not decrease.
std::map<std::string, std::vector<Change>> changes_by_name(const std::string &trace)
{
    std::map<std::string, std::string> names;
    for (const std::string &line : lines(declarations(trace))) {
        std::istringstream words(line);
        std::string word, code, name;
        words >> word >> word >> word >> code >> name;
        EXPECT_TRUE(names.emplace(code, name).second) << code << " stands for two signals";
    }
    std::map<std::string, std::vector<Change>> result;
    long long time = 0;
    for (const std::string &line : lines(changes(trace))) {
        if (line[0] == '#') {
            EXPECT_GT(std::stoll(line.substr(1)), time) << "a time line out of order";
            time = std::stoll(line.substr(1));
            continue;
        }
        const std::size_t blank = line.find(' ');
        result[names.at(line.substr(blank + 1))].push_back({time, std::stoi(line.substr(1, blank - 1))});
    }
    return result;
}

TEST(Trace, WithoutSignalsHoldsTheHeaderOnly)
{
    EXPECT_EQ(written_trace(), header + end_of_header);
}

TEST(Trace, IsThisFileByteForByte)
{
    Vcd fraction("position", 1.5);
    Vcd letter("position", 'A');
    Vcd count("position", -7);
    Vcd mask("position", 4294967295U);
    fraction.update(0);
    letter.update('z');

    const std::string trace = written_trace();

    // All handles have one name. The times of a signal increase strictly, so each has its own line.
    const std::vector<std::string> time = times(trace);
    ASSERT_EQ(time.size(), 6U);
    EXPECT_EQ(trace,
              "$date It's a new day. $end\n"
              "$version VCD generator V1.0. $end\n"
              "$comment VCD generator by D.K.Orwin $end\n"
              "$timescale 1 ns $end\n"
              "$scope module logic $end\n"
              "$var real 64 ! position $end\n"
              "$upscope $end\n"
              "$enddefinitions $end\n"
                  + time[0] + "\nr1.5 !\n" + time[1] + "\nsA !\n" + time[2] + "\nr-7 !\n" + time[3]
                  + "\nr4.29497e+09 !\n" + time[4] + "\nr0 !\n" + time[5] + "\nsz !\n");
}

TEST(Trace, RecordsAnUnchangedValueOnce)
{
    Vcd level("level", 2.0);
    level.update(2.0);
    level.update(3);
    level.update(3);
    level.update(2);
    level.update(0);
    level.update(-0.0);

    EXPECT_EQ(values(written_trace()), "r2 !\nr3 !\nr2 !\nr0 !\n");
}

TEST(Trace, RecordsEachNotANumberBecauseItEqualsNothing)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Vcd level("level", nan);
    level.update(nan);

    EXPECT_EQ(values(written_trace()), "rnan !\nrnan !\n");
}

TEST(Trace, HandlesOfOneNameShareTheSignal)
{
    Vcd number("twice", 65);
    Vcd other("other", 1);
    Vcd letter("twice", 'A');
    letter.update(66);
    number.update(66);
    number.update(67);

    const std::string trace = written_trace();

    EXPECT_EQ(declarations(trace), "$var real 64 ! twice $end\n$var real 64 \" other $end\n");
    EXPECT_EQ(values(trace), "r65 !\nr1 \"\nsB !\nr67 !\n");
}

TEST(Trace, OutlivesItsHandles)
{
    {
        Vcd first("first", 1);
    }
    {
        Vcd second("second", 2);
    }
    Vcd again("first", 3);

    const std::string trace = written_trace();

    EXPECT_EQ(declarations(trace), "$var real 64 ! first $end\n$var real 64 \" second $end\n");
    EXPECT_EQ(values(trace), "r1 !\nr2 \"\nr3 !\n");
}

TEST(Trace, KeepsAnUnsignedValueExactly)
{
    Vcd mask("mask", std::numeric_limits<unsigned int>::max());
    mask.update(4294967295.0);
    mask.update(4294967294.0);

    EXPECT_EQ(values(written_trace()), "r4.29497e+09 !\nr4.29497e+09 !\n");
}

TEST(Trace, TakesACharThroughItsSignedValue)
{
    Vcd letter("letter", '\xff');
    letter.update(-1);
    letter.update(255);

    EXPECT_EQ(values(written_trace()), "s\xff !\ns\xff !\n");
}

TEST(Trace, WritesANewlineAsACharToo)
{
    Vcd letter("letter", '\n');

    EXPECT_EQ(values(written_trace()), "s\n !\n");
}

TEST(Trace, WritesNamesAsTheyAre)
{
    Vcd blank("pen x", 1);
    Vcd empty("", 2);
    Vcd keyword("$end", 3);
    Vcd accent("h\xc3\xb6he\n", 4);

    EXPECT_EQ(declarations(written_trace()),
              "$var real 64 ! pen x $end\n"
              "$var real 64 \"  $end\n"
              "$var real 64 # $end $end\n"
              "$var real 64 $ h\xc3\xb6he\n $end\n");
}

TEST(Trace, IsWrittenWholeAgainWithTheNewerChanges)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("trace.vcd");
    Vcd level("level", 1);
    Vcd::write_vcd(path.toStdString());
    const std::string before = read_file(path);
    level.update(2);

    Vcd::write_vcd(path.toStdString());

    const std::string after = read_file(path);
    EXPECT_EQ(after.substr(0, before.size()), before);
    EXPECT_EQ(values(after), "r1 !\nr2 !\n");
}

TEST(Trace, ReplacesALongerFile)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("trace.vcd");
    std::ofstream(path.toStdString()) << std::string(100000, 'x');

    Vcd::write_vcd(path.toStdString());

    EXPECT_EQ(read_file(path), header + end_of_header);
}

TEST(Trace, IsSilentAboutAFileItCannotWrite)
{
    const QTemporaryDir folder;
    const QString missing = folder.filePath("missing/trace.vcd");
    Vcd level("level", 1);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();

    for (const QString &path : {missing, folder.path(), QString(), QString("/dev/full")})
        EXPECT_NO_THROW(Vcd::write_vcd(path.toStdString()));

    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_FALSE(QFileInfo::exists(QFileInfo(missing).path()));
    EXPECT_EQ(values(written_trace()), "r1 !\n") << "what was recorded is lost";
}

TEST(Trace, CodesCountInBase93LowestDigitFirst)
{
    const std::map<int, std::string> expected{{0, "!"},       {1, "\""},       {92, "}"},      {93, "!\""},
                                              {94, "\"\""},   {185, "}\""},    {186, "!#"},    {8648, "}}"},
                                              {8649, "!!\""}, {8650, "\"!\""}, {8742, "!\"\""}};
    const int count = expected.rbegin()->first + 1;
    for (int index = 0; index < count; ++index)
        Vcd("signal" + std::to_string(index), index);

    const std::string trace = written_trace();

    const std::vector<std::string> declared = lines(declarations(trace));
    ASSERT_EQ(declared.size(), std::size_t(count));
    for (const auto &[index, code] : expected)
        EXPECT_EQ(declared[std::size_t(index)],
                  "$var real 64 " + code + " signal" + std::to_string(index) + " $end");
    const auto recorded = changes_by_name(trace);
    ASSERT_EQ(recorded.size(), std::size_t(count));
    for (int index = 0; index < count; ++index)
        EXPECT_EQ(recorded.at("signal" + std::to_string(index)).at(0).value, index);
}

class SignalsAreMergedInTime : public testing::TestWithParam<int>
{
};

TEST_P(SignalsAreMergedInTime, EachInItsOwnOrder)
{
    std::mt19937 random(7);
    std::vector<Vcd> handles;
    std::map<std::string, std::vector<int>> expected;
    const auto name = [](int signal) { return "signal" + std::to_string(signal); };
    for (int signal = 0; signal < GetParam(); ++signal) {
        handles.emplace_back(name(signal), 0);
        expected[name(signal)] = {0};
    }
    for (int value = 1; value <= 30000; ++value) {
        const int signal = int(random() % unsigned(GetParam()));
        handles[std::size_t(signal)].update(value);
        expected[name(signal)].push_back(value);
    }

    const auto recorded = changes_by_name(written_trace());

    ASSERT_EQ(recorded.size(), expected.size());
    for (const auto &[signal, list] : recorded) {
        std::vector<int> in_file;
        for (const Change &change : list)
            in_file.push_back(change.value);
        EXPECT_EQ(in_file, expected[signal]) << signal;
    }
}
INSTANTIATE_TEST_SUITE_P(Trace, SignalsAreMergedInTime, testing::Values(1, 2, 3, 37, 64, 200),
                         testing::PrintToStringParamName());

constexpr int threads = 8;
constexpr int updates = 10000;
constexpr int created = 3000;

int unique_value(int thread, int update)
{
    return thread * (updates + 1) + update;
}

/// Records on one of several threads: with handles that all threads create at the same time, in a signal of
/// its own, and in one that all share.
void record(int thread, const std::shared_future<void> &start)
{
    start.wait();
    for (int handle = 0; handle < created; ++handle)
        Vcd("created" + std::to_string(handle), thread);
    Vcd own("own" + std::to_string(thread), 0);
    Vcd shared("shared", unique_value(thread, 0));
    for (int update = 1; update <= updates; ++update) {
        own.update(update);
        shared.update(unique_value(thread, update));
    }
}

TEST(Trace, LosesNothingFromEightThreads)
{
    std::promise<void> start;
    const std::shared_future<void> started = start.get_future().share();
    std::vector<std::thread> running;
    for (int thread = 0; thread < threads; ++thread)
        running.emplace_back(record, thread, started);
    start.set_value();
    for (std::thread &thread : running)
        thread.join();

    const auto recorded = changes_by_name(written_trace());

    ASSERT_EQ(recorded.size(), std::size_t(created + threads + 1));
    for (const auto &[name, list] : recorded) {
        SCOPED_TRACE(name);
        std::set<int> distinct;
        for (const Change &change : list)
            distinct.insert(change.value);
        EXPECT_EQ(distinct.size(), list.size()) << "a value was recorded twice";
        const bool own = name.rfind("own", 0) == 0;
        EXPECT_EQ(list.size(),
                  std::size_t(name == "shared" ? threads * (updates + 1)
                                  : own        ? updates + 1
                                               : threads));
        for (std::size_t next = 1; next < list.size(); ++next) {
            ASSERT_GT(list[next].time, list[next - 1].time);
            if (own) {
                ASSERT_EQ(list[next].value, list[next - 1].value + 1);
            }
        }
    }
}

} // namespace
