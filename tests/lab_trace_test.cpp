#include "recorder/clock.h"
#include "recorder/trace.h"
#include "support/recording.h"
#include "support/trace_readers.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

using namespace driver_testing;
using namespace trace_testing;
using recorder::Trace;

namespace {

constexpr std::int64_t second = 1'000'000'000; // nanoseconds

class ATrace : public testing::Test
{
protected:
    std::string path(const std::string &name) const
    {
        return m_folder.filePath(QString::fromStdString(name)).toStdString();
    }
    /// The values of each signal, in their order, as GTKWave reads them.
    std::map<std::string, std::vector<double>> values() const
    {
        std::map<std::string, std::vector<double>> values;
        for (const Change &change : read())
            values[change.name].push_back(change.value);
        return values;
    }
    std::vector<Change> read() const
    {
        return changes_in(read_and_written_by_gtkwave(m_folder, m_folder.filePath("session.vcd")));
    }
    void add(Trace &trace, int board, const char *hex, std::int64_t time) const
    {
        const QByteArray bytes = QByteArray::fromHex(hex);
        trace.addReport(board, reinterpret_cast<const std::uint8_t *>(bytes.data()),
                        static_cast<std::size_t>(bytes.size()), time);
    }

    QTemporaryDir m_folder;
};

/// A recording that also writes a waveform.
class ARecordingWithATrace : public ARecording
{
protected:
    ARecordingWithATrace() { setenv("BOARDREC_VCD", path("session.vcd").c_str(), 1); }
    ~ARecordingWithATrace() override { unsetenv("BOARDREC_VCD"); }

    std::vector<Change> changes() const { return changes_in(QString::fromStdString(path("session.vcd"))); }
};

} // namespace

TEST_F(ATrace, HasASignalForEachValueOfEachContact)
{
    const std::int64_t begin = recorder::now();
    Trace trace(path("session.vcd"));

    add(trace, 1, "0821000100020003", begin + 1000);
    add(trace, 1, "0821000200020002", begin + 2000);
    add(trace, 2, "004583010002000300", begin + 3000);
    add(trace, 2, "00468401000200030004000501000200030004 00", begin + 4000);
    trace.addReturn(2, begin + 4000, begin + 6500);
    trace.write(begin + 7000);

    EXPECT_EQ(values(),
              (std::map<std::string, std::vector<double>>{{"board1_pen0_x", {1, 2}},
                                                          {"board1_pen0_y", {2}},
                                                          {"board1_pen0_tip", {1, 0}},
                                                          {"board1_pen0_button", {1}},
                                                          {"board2_touch3_x", {1}},
                                                          {"board2_touch3_y", {2}},
                                                          {"board2_touch3_down", {1}},
                                                          {"board2_touch3_extent", {3}},
                                                          {"board2_erase4_x", {1}},
                                                          {"board2_erase4_y", {2}},
                                                          {"board2_erase4_down", {1}},
                                                          {"board2_erase4_width", {3}},
                                                          {"board2_erase4_height", {4}},
                                                          {"board2_erase5_x", {1}},
                                                          {"board2_erase5_y", {2}},
                                                          {"board2_erase5_down", {0}},
                                                          {"board2_erase5_width", {3}},
                                                          {"board2_erase5_height", {4}},
                                                          {"board2_inside_us", {2.5}}}));
}

TEST_F(ATrace, ChangesWhenTheReportsCame)
{
    const std::int64_t begin = recorder::now() + second;
    Trace trace(path("session.vcd"));

    add(trace, 1, "0821000100020003", begin);
    add(trace, 1, "0821000200020003", begin + 50);
    add(trace, 1, "0821000300020003", begin + 50);
    add(trace, 1, "0821000400020003", begin + 5 * second);
    trace.write(begin + 6 * second);

    std::vector<std::int64_t> times;
    for (const Change &change : read()) {
        if (change.name == "board1_pen0_x")
            times.push_back(change.time);
    }
    ASSERT_EQ(times.size(), 4U);
    EXPECT_EQ(times[1] - times[0], 50);
    EXPECT_EQ(times[2] - times[1], 1) << "a signal never changes twice at one time";
    EXPECT_EQ(times[3] - times[0], 5 * second);
}

TEST_F(ATrace, CountsTheReportsOfEachSecond)
{
    const std::int64_t begin = recorder::now();
    Trace trace(path("session.vcd"));

    for (const std::int64_t tenth : {1, 2, 3, 11, 12, 45})
        add(trace, 1, "ff", begin + tenth * second / 10);
    trace.write(begin + 13 * second / 2);

    EXPECT_EQ(values().at("board1_reports_per_second"), (std::vector<double>{3, 2, 0, 1, 0}));
}

TEST_F(ATrace, EndsWithOneLineWhenItHasAllTheChangesThatItMayHave)
{
    const std::int64_t begin = recorder::now();
    testing::internal::CaptureStderr();
    Trace trace(path("session.vcd"), 3);

    add(trace, 1, "0821000100020003", begin + 1000);
    add(trace, 1, "0821000200030003", begin + 2000);
    trace.write(begin + 3000);

    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              path("session.vcd") + ":0: has 3 changes, which is all it may have; it ends here\n");
    EXPECT_EQ(read().size(), 3U);
}

TEST_F(ATrace, SaysWhyThereIsNone)
{
    testing::internal::CaptureStderr();
    Trace trace("/nowhere/session.vcd");

    add(trace, 1, "0821000100020003", recorder::now());
    trace.write(recorder::now());

    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "/nowhere/session.vcd:0: cannot be opened: No such file or directory; there is no waveform\n");
}

TEST_F(ARecordingWithATrace, IsWrittenWhenTheProgramDetaches)
{
    use(gate() + raw(1, "0821000100020003") + "{\"type\":\"wait\",\"time\":20000}\n"
        + raw(1, "0821000200020003"));
    Receiver receiver;
    record();
    {
        const Attached attached(*this);
        receive(1, receiver);
        open_gate();
        EXPECT_TRUE(receiver.has(2));
    }
    EXPECT_TRUE(eventually([&] { return !changes().empty(); })) << "while the library is loaded";
    close();

    std::vector<std::int64_t> times;
    for (const Change &change : changes()) {
        if (change.name == "board1_pen0_x")
            times.push_back(change.time);
    }
    ASSERT_EQ(times.size(), 2U);
    const auto reports = lines("raw");
    const auto recorded = reports[1]["at"].get<std::int64_t>() - reports[0]["at"].get<std::int64_t>();
    EXPECT_NEAR(static_cast<double>(times[1] - times[0]) / 1000, static_cast<double>(recorded), 1.5);
}

TEST_F(ARecordingWithATrace, HasAViewOfAllItsSignals)
{
    use(gate() + raw(1, "0821000100020003") + raw(1, "004583010002000300") + mark("sent"));
    Receiver receiver;
    record();
    {
        const Attached attached(*this);
        receive(1, receiver);
        open_gate();
        EXPECT_TRUE(receiver.has(2));
    }
    close();

    std::set<std::string> written;
    for (const Change &change : changes())
        written.insert("logic." + change.name);
    std::set<std::string> seen;
    std::ifstream view(path("session.gtkw"));
    std::string text;
    std::getline(view, text);
    EXPECT_EQ(text, "[dumpfile] \"" + path("session.vcd") + "\"");
    while (std::getline(view, text)) {
        if (text.rfind("logic.", 0) == 0)
            seen.insert(text);
    }
    EXPECT_EQ(seen, written);
    EXPECT_EQ(seen.count("logic.board1_touch3_extent"), 1U);
}

TEST_F(ARecordingWithATrace, NeedsNoFileOfLines)
{
    use("");
    setenv("BOARDREC_DRIVER", (SimulatedDriver::folder() + "/libzorvicboardex.so.1").toUtf8(), 1);
    open_recorder();
    {
        const Attached attached(*this);
    }
    close();

    EXPECT_TRUE(std::filesystem::exists(path("session.vcd")));
    EXPECT_FALSE(std::filesystem::exists(capture_path()));
}
