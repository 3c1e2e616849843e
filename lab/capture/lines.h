#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace capture {

/// Bytes behind each line that a parser may read, whatever they hold.
constexpr std::size_t padding = 64;

/// Splits a file into its lines with the memory of one block and one line. Used on one thread.
class Lines
{
public:
    /// @p file is a descriptor that is read from where it is; it stays open and the caller's.
    explicit Lines(int file);

    enum class Next { line, end, tooLong, unreadable };

    /// Reads on to the next line. After tooLong and unreadable there is none.
    Next next();
    /// The line without its newline; valid until next(), followed by readable padding.
    std::string_view text() const { return m_text; }
    /// Whether a newline ended it; a file may end without one.
    bool isWhole() const { return m_isWhole; }
    /// Its number, from 1 on.
    std::int64_t number() const { return m_number; }
    /// Bytes read so far, for a progress bar.
    std::int64_t bytesRead() const { return m_bytesRead; }
    /// The error number after unreadable.
    int error() const { return m_error; }

private:
    /// Reads more behind what is left of the buffer, or notes that there is no more.
    void fill();

    const int m_file;
    std::vector<char> m_buffer;
    std::size_t m_begin = 0; ///< of what has not been returned yet
    std::size_t m_end = 0;   ///< of what has been read
    bool m_atEnd = false;
    std::string_view m_text;
    bool m_isWhole = false;
    std::int64_t m_number = 0;
    std::int64_t m_bytesRead = 0;
    int m_error = 0;
};

} // namespace capture
