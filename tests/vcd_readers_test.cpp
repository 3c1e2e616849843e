// Tests that third-party software reads a trace: GTKWave's converters turn it into their own format and back.

#include "support/trace_readers.h"
#include "vcd.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

using namespace trace_testing;

namespace {

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
