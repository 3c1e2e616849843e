#include "capture/reader.h"

#include "language.h"
#include "scenarioreader.h"

#include <cstring>
#include <utility>

namespace capture {

using lab::tr;

Reader::Reader(int file, std::string name) : m_name(std::move(name)), m_lines(file) { }

bool Reader::next()
{
    while (m_error.empty()) {
        switch (m_lines.next()) {
        case Lines::Next::end:
            return finish();
        case Lines::Next::tooLong:
            return refuse(m_lines.number(), lab::format(tr("longer than %zu bytes"), boardsim::longestLine));
        case Lines::Next::unreadable:
            return refuse(m_lines.number(),
                          lab::format(tr("cannot be read: %s"), std::strerror(m_lines.error())));
        case Lines::Next::line:
            break;
        }
        switch (m_parser.parse(m_lines.text(), m_lines.number(), m_lines.isWhole())) {
        case LineParser::Result::line:
            return true;
        case LineParser::Result::nothing:
            break;
        case LineParser::Result::cutOff:
            m_remark = message(m_lines.number(), tr("cut off; read up to the line before"));
            return finish();
        case LineParser::Result::wrong:
            return refuse(m_parser.faultLine(), m_parser.fault());
        }
    }
    return false;
}

bool Reader::finish()
{
    return m_parser.finish() ? false : refuse(m_parser.faultLine(), m_parser.fault());
}

bool Reader::refuse(std::int64_t number, const std::string &cause)
{
    m_error = message(number, cause);
    return false;
}

std::string Reader::message(std::int64_t number, const std::string &cause) const
{
    return boardsim::oneLine(m_name + ":" + std::to_string(number) + ": " + cause);
}

} // namespace capture
