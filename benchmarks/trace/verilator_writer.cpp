#include "verilator_writer.h"

#include <verilated_vcd_c.h>

#include <cstdint>

namespace {

/// Provides the changes that Verilator's writer asks for when it is told to dump a time.
struct Replay
{
    unsigned int signal_count = 0;
    std::uint32_t first_code = 0;
    const TracedChange *next = nullptr;
    const TracedChange *end = nullptr; ///< of the changes of the current time
};

constexpr std::uint32_t codes_per_double = 2;

void declare(void *user, VerilatedVcd *trace, std::uint32_t first_code)
{
    auto &replay = *static_cast<Replay *>(user);
    replay.first_code = first_code;
    for (unsigned int signal = 0; signal < replay.signal_count; ++signal) {
        const std::string name = "signal" + std::to_string(signal);
        trace->declDouble(first_code + codes_per_double * signal, name.c_str(), false, -1);
    }
}

void dump(void *user, VerilatedVcd::Buffer *buffer)
{
    auto &replay = *static_cast<Replay *>(user);
    for (; replay.next != replay.end; ++replay.next) {
        const std::uint32_t code = replay.first_code + codes_per_double * replay.next->signal;
        buffer->fullDouble(buffer->oldp(code), replay.next->value);
    }
}

} // namespace

void write_with_verilator(const std::string &file_name, unsigned int signal_count,
                          const std::vector<TracedChange> &changes)
{
    Replay replay;
    replay.signal_count = signal_count;

    VerilatedVcdC file;
    file.set_time_unit("1ns");
    file.set_time_resolution("1ns");
    file.spTrace()->addInitCb(declare, &replay);
    file.spTrace()->addFullCb(dump, &replay);
    file.spTrace()->addChgCb(dump, &replay);
    file.open(file_name.c_str());

    const TracedChange *const end = changes.data() + changes.size();
    for (replay.end = changes.data(); replay.end != end;) {
        replay.next = replay.end;
        while (replay.end != end && replay.end->time == replay.next->time)
            ++replay.end;
        file.dump(static_cast<std::uint64_t>(replay.next->time));
    }
    file.close();
}
