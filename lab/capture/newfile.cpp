#include "capture/newfile.h"

#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace capture {

NewFile::NewFile(const std::string &name)
    : m_name(name == "-" ? "standard output" : name),
      m_temporary(name == "-" ? "" : name + ".part-" + std::to_string(getpid()))
{
    m_stream = name == "-" ? stdout : std::fopen(m_temporary.c_str(), "we");
    if (!m_stream)
        fail(errno);
}

NewFile::~NewFile()
{
    if (!m_stream || m_stream == stdout)
        return;
    std::fclose(m_stream);
    std::remove(m_temporary.c_str());
}

void NewFile::write(std::string_view text)
{
    if (m_stream && std::fwrite(text.data(), 1, text.size(), m_stream) != text.size())
        fail(errno);
}

bool NewFile::finish()
{
    if (!m_stream)
        return false;
    const bool hadError = std::ferror(m_stream) != 0;
    if (std::fflush(m_stream) != 0 || hadError)
        return fail(errno);
    if (m_stream == stdout)
        return true;
    std::FILE *const stream = m_stream;
    m_stream = nullptr;
    if (std::fclose(stream) == 0 && std::rename(m_temporary.c_str(), m_name.c_str()) == 0)
        return true;
    fail(errno);
    std::remove(m_temporary.c_str());
    return false;
}

/// Tells the first error; false.
bool NewFile::fail(int error)
{
    if (m_error.empty()) {
        m_error = m_name + ":0: cannot be written: " + std::strerror(error);
        std::fprintf(stderr, "%s\n", m_error.c_str());
    }
    return false;
}

} // namespace capture
