// Reads any text as a recording, as the commands do: it is read to its end, or one line says what is wrong
// with it, as the simulated board would say; both find the same reports; every line can be told; and what was
// read is measured and becomes a page.

#include "fuzzing.h"

#include "commands/eventtext.h"
#include "commands/figures.h"
#include "commands/motion.h"
#include "commands/watchtext.h"

#include "page/reportpage.h"

#include "grading/report.h"

#include "capture/boards.h"
#include "capture/reader.h"
#include "capture/writer.h"

#include "scenarioreader.h"

#include <sstream>
#include <string>
#include <variant>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace {

using Reports = std::vector<capture::Bytes>;

/// What the reader of recordings makes of a text.
struct Outcome
{
    std::string message;
    Reports reports;
};

/// The commands' ways to follow a line and to tell it.
class Commands
{
public:
    void follow(const capture::Line &line)
    {
        m_figures.follow(line);
        m_analysis.follow(line);
        m_boards.follow(line);
        if (line.type == capture::Line::Type::report)
            capture::decode(line.bytes.data(), line.bytes.size(), m_report);
        else
            require(lab::eventText(line).find('\n') == std::string::npos);
        require(!lab::eventJson(line, m_report).dump().empty());
        if (line.type == capture::Line::Type::report)
            m_motion.takes(line, m_report);
    }
    void finish()
    {
        m_motion.end();
        require(!lab::watchText(m_figures, true).empty());
        require(!lab::watchJson(m_figures).dump().empty());
        capture::Writer writer;
        m_boards.restore(0, writer);
        m_boards.lift(0, writer);
        const grading::Report report{"name", m_analysis.finish(), size, nullptr};
        require(!page::reportPage(report).empty());
    }

private:
    static constexpr grading::BoardSize size{1660, 934};

    lab::Figures m_figures;
    grading::Analysis m_analysis{size};
    lab::Motion m_motion;
    capture::Boards m_boards;
    capture::Report m_report;
};

Outcome readAsRecording(int file)
{
    Outcome outcome;
    capture::Reader reader(file, "name");
    Commands commands;
    std::int64_t number = 0;
    while (reader.next()) {
        const capture::Line &line = reader.line();
        require(line.number > number);
        number = line.number;
        if (line.type == capture::Line::Type::report)
            outcome.reports.push_back(line.bytes);
        commands.follow(line);
    }
    commands.finish();
    outcome.message = reader.error().empty() ? reader.remark() : reader.error();
    return outcome;
}

Reports reportsOf(const boardsim::Scenario &scenario)
{
    Reports reports;
    for (const boardsim::Step &step : scenario.steps) {
        if (const auto *const report = std::get_if<boardsim::SendReport>(&step))
            reports.push_back(report->report);
    }
    return reports;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const int file = memfd_create("recording", 0);
    require(ftruncate(file, 0) == 0 && pwrite(file, data, size, 0) == static_cast<ssize_t>(size)
            && lseek(file, 0, SEEK_SET) == 0);
    const Outcome outcome = readAsRecording(file);

    std::istringstream text(std::string(reinterpret_cast<const char *>(data), size));
    std::string message;
    const auto scenario = boardsim::readScenario(text, "name", message);
    require(outcome.message == message);
    require(!scenario || outcome.reports == reportsOf(*scenario));
    return 0;
}
