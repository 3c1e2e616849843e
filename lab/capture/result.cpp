#include "capture/result.h"

#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace capture {

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

void Result::add(const Line &line, std::int64_t at)
{
    m_writer.addAt(line, at);
    flush();
}

void Result::flush(bool all)
{
    if (!m_error.empty() || (!all && m_writer.text().size() < blockSize))
        return;
    const std::string &text = m_writer.text();
    if (std::fwrite(text.data(), 1, text.size(), m_file) != text.size())
        fail(errno);
    m_writer.clear();
}

bool Result::finish()
{
    flush(true);
    if (!m_error.empty())
        return false;
    if (m_file == stdout) {
        if (std::fflush(stdout) != 0)
            fail(errno);
        return m_error.empty();
    }
    const bool isWritten = std::fclose(m_file) == 0;
    m_file = nullptr;
    if (!isWritten || std::rename(m_temporary.c_str(), m_name.c_str()) != 0)
        fail(errno);
    return m_error.empty();
}

void Result::fail(int error)
{
    if (!m_error.empty())
        return;
    m_error = m_name + ":0: cannot be written: " + std::strerror(error);
    std::fprintf(stderr, "%s\n", m_error.c_str());
}

} // namespace capture
