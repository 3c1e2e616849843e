#include "commands/command.h"
#include "commands/input.h"
#include "commands/json.h"
#include "language.h"

#include "capture/privacy.h"
#include "capture/result.h"

#include <filesystem>
#include <memory>
#include <string>

namespace lab {

namespace {

using capture::Line;

struct AnonymiseOptions
{
    std::string file;
    std::string output = "-";
    bool notes = false;
};

/// The first line without what names a person, a machine or a place.
Json withoutNames(Json first)
{
    for (const char *const key : {"user", "host"})
        first.erase(key);
    const auto driver = first.find("driver");
    if (driver != first.end() && driver->is_object() && driver->contains("path")
        && (*driver)["path"].is_string())
        (*driver)["path"] = std::filesystem::path((*driver)["path"].get<std::string>()).filename().string();
    return first;
}

int anonymise(const AnonymiseOptions &options)
{
    Input input(options.file, progressFor(options.output));
    capture::Result result(options.output);
    std::int64_t notes = 0;
    while (input.next()) {
        const Line &line = input.line();
        if (line.type == Line::Type::first) {
            result.writer().add(withoutNames(Json::parse(line.text)));
        } else if (line.type == Line::Type::device) {
            auto fields = Json::parse(line.text);
            fields["info"] = capture::withoutSerialNumbers(fields.value("info", ""));
            result.writer().add(fields);
        } else if (line.type == Line::Type::note && !options.notes) {
            ++notes;
        } else {
            result.writer().addLine(line.text);
        }
        result.flush();
    }
    if (!input.tellEnd() || !result.finish())
        return unreadable;
    if (notes > 0)
        complain(trCount("%lld notes are left out; --notes keeps them", notes), whole(notes));
    return success;
}

} // namespace

void addAnonymise(CommandLine &lab)
{
    const Command command =
        lab.command("anonymise", "Write a recording without users, hosts, folders, serial numbers and notes");
    const auto options = std::make_shared<AnonymiseOptions>();
    command.option("FILE", options->file, "The recording; - for standard input").required();
    command.option("-o,--output", options->output, "The file to write; by default standard output")
        .type("FILE");
    command.flag("--notes", options->notes, "Keep the notes, which somebody has looked through");
    command.run([options] { return anonymise(*options); });
}

} // namespace lab
