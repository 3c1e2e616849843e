// Measures what one written change costs in time, bytes and memory: with our writer, with Verilator's, and,
// as the limit, with a plain loop that formats the same changes, already in order, into memory.

#include "timing.h"

#include "vcd.h"
#include "verilator_writer.h"

#include <benchmark/benchmark.h>

#include <QTemporaryDir>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <malloc.h>

namespace {

constexpr unsigned int signal_count = 100;
constexpr std::size_t change_count = 5'000'000;
constexpr std::size_t longest_lines = 64; ///< a time line and a value line

const QTemporaryDir folder;

std::string path(const char *name)
{
    return folder.filePath(name).toStdString();
}

std::string code_of(unsigned int signal)
{
    std::string code(1, static_cast<char>('!' + signal % 93));
    return signal < 93 ? code : code + static_cast<char>('!' + signal / 93);
}

/// A value of the signal's kind: a normalised position, a raw board unit or a position in pixels.
double value_for(unsigned int signal, std::mt19937_64 &random)
{
    if (signal % 3 == 0)
        return static_cast<double>(random() % 65536) / 32768;
    if (signal % 3 == 1)
        return static_cast<double>(random() % 65536);
    return std::uniform_real_distribution<double>(0, 3840)(random);
}

/// Records the changes and returns them in the order and with the times of the written file.
std::vector<TracedChange> record_changes()
{
    std::mt19937_64 random(1);
    std::vector<Vcd> handles;
    std::vector<std::vector<double>> values(signal_count, {-1.0});
    for (unsigned int signal = 0; signal < signal_count; ++signal)
        handles.emplace_back("signal" + std::to_string(signal), -1.0);
    for (std::size_t change = signal_count; change < change_count;) {
        const auto signal = static_cast<unsigned int>(random() % signal_count);
        const double value = value_for(signal, random);
        if (value == values[signal].back())
            continue;
        handles[signal].update(value);
        values[signal].push_back(value);
        ++change;
    }
    Vcd::write_vcd(path("ours.vcd"));

    std::vector<TracedChange> changes;
    changes.reserve(change_count);
    std::vector<std::size_t> taken(signal_count, 0);
    std::ifstream file(path("ours.vcd"));
    long long time = 0;
    for (std::string line; std::getline(file, line);) {
        if (line[0] == '#')
            time = std::stoll(line.substr(1));
        if (line[0] != 'r')
            continue;
        const std::string code = line.substr(line.find(' ') + 1);
        unsigned int signal = static_cast<unsigned int>(code[0] - '!');
        if (code.size() > 1)
            signal += 93 * static_cast<unsigned int>(code[1] - '!');
        changes.push_back({signal, values[signal][taken[signal]++], time});
    }
    return changes;
}

const std::vector<TracedChange> &changes()
{
    static const std::vector<TracedChange> recorded = record_changes();
    return recorded;
}

/// The limit: formats @p changes into @p text, without sorting them and without a file.
char *format(const std::vector<TracedChange> &changes, const std::vector<std::string> &endings, char *text)
{
    long long last_time = 0;
    for (const TracedChange &change : changes) {
        if (change.time != last_time) {
            last_time = change.time;
            *text++ = '#';
            text = std::to_chars(text, text + longest_lines, last_time).ptr;
            *text++ = '\n';
        }
        *text++ = 'r';
        text = std::to_chars(text, text + longest_lines, change.value, std::chars_format::general, 6).ptr;
        const std::string &ending = endings[change.signal];
        std::memcpy(text, ending.data(), ending.size());
        text += ending.size();
    }
    return text;
}

template <typename Work> double nanoseconds_per_change(Work work)
{
    return processor_nanoseconds(work) / static_cast<double>(change_count);
}

std::string read_file(const std::string &name)
{
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

double bytes_per_change(const std::string &name)
{
    std::ifstream file(name, std::ios::ate);
    return static_cast<double>(file.tellg()) / static_cast<double>(change_count);
}

/// All three write in turn in each round, so that whatever else the machine does falls on all.
void writing(benchmark::State &state)
{
    const std::vector<TracedChange> &all = changes();
    std::vector<std::string> endings;
    for (unsigned int signal = 0; signal < signal_count; ++signal)
        endings.push_back(' ' + code_of(signal) + '\n');
    std::vector<char> text(all.size() * longest_lines);
    const char *const text_end = format(all, endings, text.data());
    const std::string_view expected(text.data(), static_cast<std::size_t>(text_end - text.data()));
    const std::string written = read_file(path("ours.vcd"));
    const std::string end_of_header = "$enddefinitions $end\n";
    const std::size_t first_change = written.find(end_of_header) + end_of_header.size();
    if (all.size() != change_count || written.compare(first_change, std::string::npos, expected) != 0) {
        state.SkipWithError("the limit formats other bytes than the recorder writes");
        return;
    }

    std::vector<double> limit, ours, verilator, to_limit, to_verilator;
    for (auto _ : state) {
        limit.push_back(
            nanoseconds_per_change([&] { benchmark::DoNotOptimize(format(all, endings, text.data())); }));
        ours.push_back(nanoseconds_per_change([] { Vcd::write_vcd(path("ours.vcd")); }));
        verilator.push_back(
            nanoseconds_per_change([&] { write_with_verilator(path("verilator.vcd"), signal_count, all); }));
        to_limit.push_back(ours.back() / limit.back());
        to_verilator.push_back(ours.back() / verilator.back());
        state.SetIterationTime(ours.back() * change_count * 1e-9);
    }
    state.counters["ns_per_change"] = median(ours);
    state.counters["limit_ns"] = median(limit);
    state.counters["verilator_ns"] = median(verilator);
    state.counters["ratio_to_limit"] = median(to_limit);
    state.counters["ratio_to_verilator"] = median(to_verilator);
    state.counters["bytes_per_change"] = bytes_per_change(path("ours.vcd"));
    state.counters["verilator_bytes"] = bytes_per_change(path("verilator.vcd"));
}
BENCHMARK(writing)->Iterations(rounds(9))->UseManualTime()->Unit(benchmark::kMillisecond);

/// The value of a line of /proc/self/status, in bytes.
double process_memory(const std::string &field)
{
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        double kibibytes = 0;
        if (word == field + ':' && status >> kibibytes)
            return kibibytes * 1024;
    }
    return 0;
}

/// Measures the peak memory while writing, also as a multiple of what the recorded changes take.
void memory_while_writing(benchmark::State &state)
{
    changes();
    const double recorded = static_cast<double>(change_count * sizeof(Vcd::change));
    double worst = 0;
    for (auto _ : state) {
        malloc_trim(0);                                // free heap memory must not hide what writing takes
        std::ofstream("/proc/self/clear_refs") << "5"; // resets the peak
        const double before = process_memory("VmRSS");
        Vcd::write_vcd(path("ours.vcd"));
        worst = std::max(worst, process_memory("VmHWM") - before);
    }
    state.counters["recorded_MB"] = recorded / 1e6;
    state.counters["more_while_writing_MB"] = worst / 1e6;
    state.counters["peak_to_recorded"] = (recorded + worst) / recorded;
}
BENCHMARK(memory_while_writing)->Iterations(rounds(4))->Unit(benchmark::kMillisecond);

} // namespace
