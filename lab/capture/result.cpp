#include "capture/result.h"

namespace capture {

namespace {

constexpr std::size_t blockSize = 1 << 18; // bytes

} // namespace

void Result::add(const Line &line, std::int64_t at)
{
    m_writer.addAt(line, at);
    flush();
}

void Result::flush(bool all)
{
    if (!all && m_writer.text().size() < blockSize)
        return;
    m_file.write(m_writer.text());
    m_writer.clear();
}

bool Result::finish()
{
    flush(true);
    return m_file.finish();
}

} // namespace capture
