#pragma once

#include <string>
#include <vector>

/// One change of a trace: the number of its signal, from 0, its value and its time in nanoseconds.
struct TracedChange
{
    unsigned int signal = 0;
    double value = 0;
    long long time = 0;
};

/// Writes @p changes, which are in order of time, with Verilator's writer. The real signals are named
/// "signal0" and so on.
void write_with_verilator(const std::string &file_name, unsigned int signal_count,
                          const std::vector<TracedChange> &changes);
