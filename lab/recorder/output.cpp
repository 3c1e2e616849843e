#include "recorder/output.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace recorder {

Output::Output(const std::string &name) : m_name(name)
{
    if (name.empty())
        return;
    m_file = open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (m_file < 0)
        std::fprintf(stderr, "%s:0: cannot be opened: %s; nothing is recorded\n", name.c_str(),
                     std::strerror(errno));
}

Output::~Output()
{
    if (m_file >= 0)
        close(m_file);
}

void Output::write(std::string_view lines)
{
    if (m_file < 0)
        return;
    std::string_view rest = lines;
    while (!rest.empty()) {
        const ssize_t written = ::write(m_file, rest.data(), rest.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0) {
            const std::string_view done = lines.substr(0, lines.size() - rest.size());
            const std::size_t whole = done.rfind('\n') + 1; // 0 if there is none
            m_bytes += static_cast<std::int64_t>(whole);
            m_lines += std::count(done.begin(), done.end(), '\n');
            end("written", errno);
            return;
        }
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
    m_bytes += static_cast<std::int64_t>(lines.size());
    m_lines += std::count(lines.begin(), lines.end(), '\n');
}

void Output::end(const char *what, int error)
{
    // A line that is cut off would be read, but tells nothing. If this fails as well, readers skip it.
    [[maybe_unused]] const int result = ftruncate(m_file, m_bytes);
    std::fprintf(stderr, "%s:%" PRId64 ": cannot be %s: %s; the recording ends here\n", m_name.c_str(),
                 m_lines + 1, what, std::strerror(error));
    close(m_file);
    m_file = -1;
}

} // namespace recorder
