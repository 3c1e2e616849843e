#include "capture/lines.h"

#include "scenariolines.h"

#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace capture {

namespace {

constexpr std::size_t readSize = 1 << 18; // bytes
static_assert(readSize > boardsim::longestLine, "a block holds a line of any length");

} // namespace

Lines::Lines(int file) : m_file(file), m_buffer(2 * readSize + padding) { }

Lines::Next Lines::next()
{
    std::size_t searched = m_begin;
    for (;;) {
        const char *const start = m_buffer.data() + searched;
        const auto *const newline = static_cast<const char *>(std::memchr(start, '\n', m_end - searched));
        const bool isLast = !newline && m_atEnd;
        const std::size_t stop = newline ? static_cast<std::size_t>(newline - m_buffer.data()) : m_end;
        if (stop - m_begin > boardsim::longestLine) {
            ++m_number;
            return Next::tooLong;
        }
        if (isLast && m_begin == m_end)
            return m_error == 0 ? Next::end : Next::unreadable;
        if (newline || isLast) {
            m_text = {m_buffer.data() + m_begin, stop - m_begin};
            m_isWhole = newline;
            m_begin = newline ? stop + 1 : stop;
            ++m_number;
            return Next::line;
        }
        const std::size_t kept = m_end - m_begin;
        fill();
        searched = m_begin + kept;
    }
}

void Lines::fill()
{
    std::memmove(m_buffer.data(), m_buffer.data() + m_begin, m_end - m_begin);
    m_end -= m_begin;
    m_begin = 0;
    ssize_t count = 0;
    do
        count = read(m_file, m_buffer.data() + m_end, readSize);
    while (count < 0 && errno == EINTR);
    if (count <= 0) {
        m_error = count < 0 ? errno : 0;
        m_atEnd = true;
        return;
    }
    m_end += static_cast<std::size_t>(count);
    m_bytesRead += count;
}

} // namespace capture
