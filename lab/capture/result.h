#pragma once

#include "capture/line.h"
#include "capture/newfile.h"
#include "capture/writer.h"

#include <cstdint>
#include <string>

namespace capture {

/// A recording that is written as a whole: to a file, or to standard output for "-". Used on one thread.
class Result
{
public:
    explicit Result(const std::string &name) : m_file(name) { }

    Writer &writer() { return m_writer; }
    /// Adds a line that was read, at another time. Without a time it has none then either.
    void add(const Line &line, std::int64_t at);
    /// Writes what has been added so far, if that is much, or @p all of it.
    void flush(bool all = false);
    /// Ends the file. False if anything could not be written, which one line on standard error then tells.
    bool finish();
    /// That line, without its newline; empty if all went well.
    const std::string &error() const { return m_file.error(); }

private:
    NewFile m_file;
    Writer m_writer;
};

} // namespace capture
