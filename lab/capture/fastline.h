#pragma once

#include "capture/line.h"

#include <memory>
#include <string_view>

namespace capture {

/// Parses the lines that a recording has most of, its reports, many times as fast as the reader of scenarios,
/// which remains the judge of every other line: of all that is unusual, this says only that it is not fast.
/// Used on one thread.
class FastLine
{
public:
    FastLine();
    ~FastLine();

    /// Whether @p text, which readable padding follows, is a raw or hand-back line with no fields but known
    /// ones, each once and in range. Then @p line holds it, but for its number. Otherwise @p line is
    /// undefined.
    bool parse(std::string_view text, Line &line);

private:
    struct Parser;

    const std::unique_ptr<Parser> m_parser;
};

} // namespace capture
