#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace capture {

/// A file that is written as a whole, or standard output for "-". It appears under its name when all is
/// written, so that an error leaves what was there before. Used on one thread.
class NewFile
{
public:
    explicit NewFile(const std::string &name);
    ~NewFile();
    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;

    /// Null if it cannot be opened, which one line on standard error has told, or behind finish().
    std::FILE *stream() const { return m_stream; }
    /// Writes to the stream, if there is one.
    void write(std::string_view text);
    /// Ends the file. False if anything could not be written, which one line on standard error tells.
    bool finish();
    /// The first such line, without its newline; empty if all went well.
    const std::string &error() const { return m_error; }

private:
    bool fail(int error);

    const std::string m_name;
    std::string m_target;    ///< m_name, behind links
    std::string m_temporary; ///< empty if the file itself is written
    std::FILE *m_stream = nullptr;
    std::string m_error;
};

} // namespace capture
