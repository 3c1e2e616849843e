#include "commands/rewrite.h"

#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace lab {

namespace {

constexpr std::size_t blockSize = 1 << 18; // bytes

} // namespace

Result::Result(const std::string &name)
    : m_name(name == "-" ? "standard output" : name),
      m_temporary(name == "-" ? "" : name + ".part-" + std::to_string(getpid()))
{
    m_file = name == "-" ? stdout : std::fopen(m_temporary.c_str(), "we");
    if (!m_file)
        fail(errno);
}

Result::~Result()
{
    if (m_file && m_file != stdout) {
        std::fclose(m_file);
        std::remove(m_temporary.c_str());
    }
}

void Result::add(const capture::Line &line, std::int64_t at)
{
    const bool isPlain = line.type == capture::Line::Type::report && line.at
        && line.text.find("\"length\"") == std::string_view::npos;
    if (isPlain) {
        m_writer.addReport(at, line.board, line.bytes.data(), line.bytes.size(), {}, line.inside);
    } else {
        auto fields = capture::Writer::Json::parse(line.text);
        if (line.at)
            fields["at"] = at;
        m_writer.add(fields);
    }
    flush();
}

void Result::flush(bool all)
{
    if (m_failed || (!all && m_writer.text().size() < blockSize))
        return;
    const std::string &text = m_writer.text();
    if (std::fwrite(text.data(), 1, text.size(), m_file) != text.size())
        fail(errno);
    m_writer.clear();
}

bool Result::finish()
{
    flush(true);
    if (m_failed)
        return false;
    if (m_file == stdout) {
        if (std::fflush(stdout) != 0)
            fail(errno);
        return !m_failed;
    }
    const bool isWritten = std::fclose(m_file) == 0;
    m_file = nullptr;
    if (!isWritten || std::rename(m_temporary.c_str(), m_name.c_str()) != 0)
        fail(errno);
    return !m_failed;
}

void Result::fail(int error)
{
    if (!m_failed)
        std::fprintf(stderr, "%s:0: cannot be written: %s\n", m_name.c_str(), std::strerror(error));
    m_failed = true;
}

} // namespace lab
