#include "capture/cut.h"

#include "capture/result.h"

#include <algorithm>

namespace capture {

Cut::Cut(std::int64_t from, Result &result) : m_from(from), m_result(result), m_last(from) { }

void Cut::add(const Line &line, std::int64_t at)
{
    if (at >= m_from)
        begin();
    const bool isKnown = line.type == Line::Type::device && m_boards.devices().count(line.board) > 0;
    m_boards.follow(line);
    if (m_hasBegun && !isKnown)
        m_result.add(line, std::max<std::int64_t>(at - m_from, 0)); // a call is told when it has ended
    m_last = std::max(m_last, at);
}

bool Cut::finish()
{
    begin();
    m_result.writer().add({{"type", "end"}, {"at", length()}});
    return m_result.finish();
}

std::int64_t Cut::length() const
{
    return m_last - m_from;
}

void Cut::begin()
{
    if (m_hasBegun)
        return;
    m_boards.restore(0, m_result.writer());
    m_hasBegun = true;
}

} // namespace capture
