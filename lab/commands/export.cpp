#include "commands/command.h"
#include "commands/input.h"
#include "commands/waveform.h"
#include "language.h"

#include "capture/contacts.h"
#include "capture/newfile.h"

#include <cinttypes>
#include <cstdio>
#include <memory>
#include <string>

namespace lab {

namespace {

using capture::Contact;
using capture::Line;

struct ExportOptions
{
    std::string file;
    std::string output = "-";
    bool csv = false;
    bool vcd = false;
};

/// RFC 4180, but with a newline alone at the end of a line, as tools under Linux write it.
void printRow(std::FILE *out, const Line &line, capture::ReportKind kind, const Contact &contact)
{
    if (line.at)
        std::fprintf(out, "%.6f", static_cast<double>(*line.at) / 1e6);
    std::fprintf(out, ",%d,%s,%d,%d,%d,%d,%d,%d,%d,%d,", line.board, std::string(nameOf(kind)).c_str(),
                 contact.id, contact.x, contact.y, contact.width, contact.height, contact.down ? 1 : 0,
                 contact.button ? 1 : 0, contact.bit2 ? 1 : 0);
    if (line.inside)
        std::fprintf(out, "%.2f", *line.inside);
    std::fprintf(out, ",%" PRId64 "\n", line.number);
}

bool exportCsv(Input &input, std::FILE *out)
{
    std::fprintf(out, "time_s,board,kind,id,x,y,width,height,down,button,bit2,inside_us,line\n");
    capture::Report report;
    while (input.next()) {
        const Line &line = input.line();
        if (line.type != Line::Type::report)
            continue;
        capture::decode(line.bytes.data(), line.bytes.size(), report);
        for (const Contact &contact : report.contacts)
            printRow(out, line, report.kind, contact);
    }
    return input.tellEnd();
}

int exportTo(const ExportOptions &options, std::FILE *out)
{
    if (options.csv) {
        Input input(options.file, progressFor(options.output));
        return exportCsv(input, out) ? success : unreadable;
    }
    return writeWaveform(options.file, progressFor(options.output), out) ? success : unreadable;
}

int run(const ExportOptions &options)
{
    if (options.csv == options.vcd) {
        complain(tr("export needs either --csv or --vcd; see lanternix-lab export --help"));
        return unreadable;
    }
    if (options.vcd && options.file == "-") {
        complain(tr("export --vcd reads its file twice, so it needs one"));
        return unreadable;
    }
    capture::NewFile out(options.output);
    if (!out.stream())
        return unreadable;
    const int status = exportTo(options, out.stream());
    if (status == success)
        return out.finish() ? success : unreadable;
    return status;
}

} // namespace

void addExport(CommandLine &lab)
{
    const Command command = lab.command("export", "Write the contacts of a recording for other tools");
    const auto options = std::make_shared<ExportOptions>();
    command.option("FILE", options->file, "The recording").required();
    command.flag("--csv", options->csv, "A table: a row for each contact of each report");
    command.flag("--vcd", options->vcd, "A waveform (IEEE 1364), for GTKWave for example; reads FILE twice");
    command.option("-o,--output", options->output, "The file to write; by default standard output")
        .type("FILE");
    command.run([options] { return run(*options); });
}

} // namespace lab
