#include "recorder/parts.h"

#include "capture/lines.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

namespace recorder {

namespace {

namespace fs = std::filesystem;

/// What an earlier process has recorded may be what somebody is looking for. False if it could not be moved,
/// which one line on standard error then tells.
bool moveAside(const std::string &folder)
{
    std::error_code ignored;
    if (capture::partsIn(folder).empty())
        return true;
    const std::string before = folder + ".before";
    for (const std::int64_t number : capture::partsIn(before))
        fs::remove(capture::partName(before, number), ignored);
    fs::remove(before, ignored);
    std::error_code error;
    fs::rename(folder, before, error);
    if (error)
        std::fprintf(stderr, "%s:0: cannot be moved to %s: %s; nothing is recorded\n", folder.c_str(),
                     before.c_str(), error.message().c_str());
    return !error;
}

} // namespace

Parts::Parts(const std::string &capture, capture::Writer::Json first, std::int64_t keep, std::int64_t length)
    : m_folder(capture::partsFolder(capture)), m_first(std::move(first)), m_length(length)
{
    m_head.keep = keep;
    m_hasEnded = !moveAside(m_folder);
    if (m_hasEnded)
        return;
    std::error_code ignored;
    fs::create_directory(m_folder, ignored); // what fails here fails again, and is told, as a part is opened
    open();
}

void Parts::write(std::string_view lines)
{
    if (m_hasEnded)
        return;
    for (std::size_t end = 0; (end = lines.find('\n')) != std::string_view::npos;
         lines.remove_prefix(end + 1))
        writeLine(lines.substr(0, end));
    m_output->write(m_writer.text());
    m_writer.clear();
    m_hasEnded = !m_output->isOpen();
}

void Parts::writeLine(std::string_view text)
{
    m_line.assign(text);
    m_line.reserve(m_line.size() + capture::padding);
    if (m_parser.parse(m_line, ++m_lines, true) != capture::LineParser::Result::line)
        return;
    const capture::Line &line = m_parser.line();
    if (line.type == capture::Line::Type::first)
        return; // open() writes it
    m_boards.follow(line);
    m_writer.addAt(line, std::max<std::int64_t>(line.at.value_or(0) - m_head.begin, 0));
}

void Parts::roll(std::int64_t time)
{
    if (time - m_head.begin >= m_length)
        beginNext(time);
}

void Parts::beginNext(std::int64_t time)
{
    if (m_hasEnded)
        return;
    m_head.begin = std::max(time, m_head.begin);
    m_written.push_back({m_head.number, m_head.begin});
    ++m_head.number;
    open();
}

void Parts::deleteOld(std::int64_t time)
{
    if (m_hasEnded)
        return;
    const auto isOld = [this, time](const Written &part) {
        if (part.end > time - m_head.keep)
            return false;
        std::error_code ignored;
        fs::remove(capture::partName(m_folder, part.number), ignored);
        return true;
    };
    m_written.erase(std::remove_if(m_written.begin(), m_written.end(), isOld), m_written.end());
}

void Parts::open()
{
    capture::Writer restored;
    m_boards.restore(0, restored);
    m_head.restored = std::count(restored.text().begin(), restored.text().end(), '\n');
    m_output = std::make_unique<Output>(capture::partName(m_folder, m_head.number));
    m_writer.add(capture::withHead(m_first, m_head));
    m_output->write(m_writer.text() + restored.text());
    m_writer.clear();
    m_hasEnded = !m_output->isOpen();
}

} // namespace recorder
