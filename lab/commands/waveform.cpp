#include "commands/waveform.h"

#include "capture/contacts.h"
#include "capture/signals.h"

#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <map>
#include <set>
#include <tuple>
#include <vector>

namespace lab {

namespace {

using capture::Contact;
using capture::Line;
using capture::Report;
using capture::ReportKind;
using capture::SignalValue;

/// Whose signals they are: board, kind and identifier.
using Owner = std::tuple<int, ReportKind, int>;

/// The short name of a signal in the file: printable characters other than the space.
std::string codeOf(std::size_t index)
{
    constexpr std::size_t base = 94;
    std::string code;
    do {
        code += static_cast<char>('!' + index % base);
        index /= base;
    } while (index != 0);
    return code;
}

struct Signal
{
    std::string code;
    int last = -1; ///< the value written last; below 0 for none
};

using Signals = std::map<Owner, std::vector<Signal>>; ///< in the order of valuesOf()

/// Calls @p see with the line, the report and each of its contacts; false if the recording is at fault.
template <typename See> bool forEachContact(const std::string &file, Input::Progress progress, See see)
{
    Input input(file, progress);
    Report report;
    while (input.next()) {
        const Line &line = input.line();
        if (line.type != Line::Type::report)
            continue;
        capture::decode(line.bytes.data(), line.bytes.size(), report);
        for (const Contact &contact : report.contacts)
            see(line, Owner{line.board, report.kind, contact.id}, contact);
    }
    return input.tellEnd();
}

void writeChange(std::FILE *out, const Signal &signal, const SignalValue &value)
{
    if (value.width == 1) {
        std::fprintf(out, "%d%s\n", value.value, signal.code.c_str());
        return;
    }
    std::string bits;
    for (int rest = value.value; rest > 0; rest >>= 1)
        bits.insert(bits.begin(), rest & 1 ? '1' : '0');
    std::fprintf(out, "b%s %s\n", bits.empty() ? "0" : bits.c_str(), signal.code.c_str());
}

void declare(std::FILE *out, const std::set<Owner> &owners, Signals &signals)
{
    std::fputs("$timescale 1 us $end\n$scope module recording $end\n", out);
    std::size_t count = 0;
    for (const Owner &owner : owners) {
        for (const SignalValue &value : valuesOf(std::get<1>(owner), {})) {
            const std::string code = codeOf(count++);
            const auto &[board, kind, contact] = owner;
            std::fprintf(out, "$var wire %d %s %s $end\n", value.width, code.c_str(),
                         capture::signalName(board, kind, contact, value.name).c_str());
            signals[owner].push_back({code});
        }
    }
    std::fputs("$upscope $end\n$enddefinitions $end\n", out);
}

} // namespace

bool writeWaveform(const std::string &file, Input::Progress progress, std::FILE *out)
{
    std::set<Owner> owners;
    if (!forEachContact(file, progress, [&owners](const Line &, const Owner &owner, const Contact &) {
            owners.insert(owner);
        }))
        return false;
    Signals signals;
    declare(out, owners, signals);

    std::int64_t time = -1;
    return forEachContact(file, progress, [&](const Line &line, const Owner &owner, const Contact &contact) {
        // Times never go back, which a waveform cannot tell.
        const std::int64_t at = std::max(line.at.value_or(0), time);
        auto signal = signals.at(owner).begin();
        for (const SignalValue &value : valuesOf(std::get<1>(owner), contact)) {
            Signal &changed = *signal++;
            if (changed.last == value.value)
                continue;
            if (at != time)
                std::fprintf(out, "#%" PRId64 "\n", at);
            time = at;
            changed.last = value.value;
            writeChange(out, changed, value);
        }
    });
}

} // namespace lab
