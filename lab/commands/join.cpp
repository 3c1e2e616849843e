#include "commands/command.h"
#include "commands/input.h"

#include "capture/boards.h"
#include "capture/result.h"

#include <memory>
#include <string>
#include <vector>

namespace lab {

namespace {

using capture::Line;

struct JoinOptions
{
    std::vector<std::string> files;
    std::string output = "-";
};

/// One recording behind another: what is down at the end of the former lifts, and the devices become those of
/// the latter.
class Join
{
public:
    Join(capture::Result &result, Input::Progress progress) : m_result(result), m_progress(progress) { }

    /// False if the recording is at fault.
    bool add(const std::string &file)
    {
        Input input(file, m_progress);
        m_boards.lift(m_end, m_result.writer());
        const std::int64_t begin = m_end;
        while (input.next()) {
            const Line &line = input.line();
            m_end = std::max(m_end, begin + line.at.value_or(0));
            addLine(line, begin + line.at.value_or(0));
        }
        m_isFirst = false;
        return input.tellEnd();
    }

    std::int64_t end() const { return m_end; }

private:
    void addLine(const Line &line, std::int64_t at)
    {
        if (line.type == Line::Type::end || (line.type == Line::Type::first && !m_isFirst))
            return;
        const auto known = m_boards.devices().find(line.board);
        if (line.type != Line::Type::device || known == m_boards.devices().end()) {
            m_boards.follow(line);
            m_result.add(line, at);
            return;
        }
        // A device is declared once; the second recording may begin with it unplugged, or plugged in again.
        const bool wasPlugged = known->second.plugged;
        m_boards.follow(line);
        const bool isPlugged = m_boards.devices().at(line.board).plugged;
        if (wasPlugged != isPlugged)
            m_result.writer().add(
                {{"type", isPlugged ? "plug" : "unplug"}, {"at", at}, {"board", line.board}});
    }

    capture::Result &m_result;
    const Input::Progress m_progress;
    capture::Boards m_boards;
    std::int64_t m_end = 0; ///< microseconds: of what has been added
    bool m_isFirst = true;
};

int join(const JoinOptions &options)
{
    capture::Result result(options.output);
    Join joined(result, progressFor(options.output));
    for (const std::string &file : options.files) {
        if (!joined.add(file))
            return unreadable;
    }
    result.writer().add({{"type", "end"}, {"at", joined.end()}});
    return result.finish() ? success : unreadable;
}

} // namespace

void addJoin(CommandLine &lab)
{
    const Command command = lab.command("join", "Write several recordings as one, one behind the other");
    const auto options = std::make_shared<JoinOptions>();
    command.option("FILE", options->files, "The recordings, in their order").required().atLeast(2);
    command.option("-o,--output", options->output, "The file to write; by default standard output")
        .type("FILE");
    command.run([options] { return join(*options); });
}

} // namespace lab
