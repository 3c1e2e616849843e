#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace recorder {

/// The file of a recording. What cannot be written ends it with one line on standard error, which names the
/// file, the line and the cause; the file then ends with its last whole line. Used on the writer's thread.
class Output
{
public:
    /// Creates the file, or empties it; without a name there is none.
    explicit Output(const std::string &name);
    ~Output();
    Output(const Output &) = delete;
    Output &operator=(const Output &) = delete;

    bool isOpen() const { return m_file >= 0; }
    /// Writes whole lines at once, so that they survive the end of the process.
    void write(std::string_view lines);

private:
    void end(const char *what, int error);

    const std::string m_name;
    int m_file = -1;
    std::int64_t m_lines = 0; ///< written so far, as the next
    std::int64_t m_bytes = 0;
};

} // namespace recorder
