#include "capture/newfile.h"

#include "language.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <unistd.h>

namespace capture {

NewFile::NewFile(const std::string &name)
    : m_name(name == "-" ? lab::tr("standard output") : name), m_target(name)
{
    namespace fs = std::filesystem;
    if (name == "-") {
        m_stream = stdout;
        return;
    }
    std::error_code isNew;
    const fs::path existing = fs::canonical(name, isNew);
    if (!isNew)
        m_target = existing.string();
    // Only a file can be replaced: renaming would put one into the place of a device.
    if (isNew || fs::is_regular_file(existing))
        m_temporary = m_target + ".part-" + std::to_string(getpid());
    m_stream = std::fopen((m_temporary.empty() ? m_target : m_temporary).c_str(), "we");
    if (!m_stream)
        fail(errno);
}

NewFile::~NewFile()
{
    if (!m_stream || m_stream == stdout)
        return;
    std::fclose(m_stream);
    if (!m_temporary.empty())
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
    const bool isClosed = std::fclose(stream) == 0;
    if (m_temporary.empty())
        return isClosed || fail(errno);
    if (isClosed && std::rename(m_temporary.c_str(), m_target.c_str()) == 0)
        return true;
    fail(errno);
    std::remove(m_temporary.c_str());
    return false;
}

/// Tells the first error; false.
bool NewFile::fail(int error)
{
    if (m_error.empty()) {
        m_error = m_name + ":0: " + lab::format(lab::tr("cannot be written: %s"), std::strerror(error));
        std::fprintf(stderr, "%s\n", m_error.c_str());
    }
    return false;
}

} // namespace capture
