#pragma once

#include "capture/lineparser.h"
#include "capture/lines.h"

#include <cstdint>
#include <string>

namespace capture {

/// Reads a recording or a scenario from a file, line by line, in memory that does not grow with it. Used on
/// one thread.
class Reader
{
public:
    /// @p file is a descriptor that stays open and the caller's; @p name stands in messages.
    Reader(int file, std::string name);

    /// Reads on to the next line that is neither blank nor a comment. False at the end, and at the first
    /// wrong line.
    bool next();
    const Line &line() const { return m_parser.line(); }

    /// What is wrong, as "name:line: cause"; empty if nothing is.
    const std::string &error() const { return m_error; }
    /// What a reader should know, in the same form: that the file ends in the middle of a line.
    const std::string &remark() const { return m_remark; }
    std::int64_t bytesRead() const { return m_lines.bytesRead(); }

private:
    bool finish();
    bool refuse(std::int64_t number, const std::string &cause);
    std::string message(std::int64_t number, const std::string &cause) const;

    const std::string m_name;
    Lines m_lines;
    LineParser m_parser;
    std::string m_error;
    std::string m_remark;
};

} // namespace capture
