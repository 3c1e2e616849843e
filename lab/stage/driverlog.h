#pragma once

#include <cstdint>
#include <fstream>
#include <map>
#include <string>

namespace stage {

/// What the simulated driver has logged (BOARDSIM_LOG), read as it grows. Used on one thread.
class DriverLog
{
public:
    explicit DriverLog(std::string file) : m_file(std::move(file)) { }

    /// Takes in what has come. Lines that cannot be read are skipped.
    void read();
    bool hasMark(const std::string &text) const { return m_marks.count(text) > 0; }
    /// Reports that went to the system before the mark, which must be there.
    std::int64_t handbacksAtMark(const std::string &text) const { return m_marks.at(text); }
    std::int64_t handbacks() const { return m_handbacks; }
    /// The last call's function; empty if there was none.
    const std::string &lastCall() const { return m_lastCall; }
    /// Whether touches of @p board are reported to the program, as it has set last.
    bool isReporting(int board) const;

private:
    void take(const std::string &line);

    const std::string m_file;
    std::ifstream m_stream;
    std::string m_rest; ///< the beginning of a line
    std::map<std::string, std::int64_t> m_marks;
    std::map<int, int> m_destinations; ///< of touches, by board
    std::int64_t m_handbacks = 0;
    std::string m_lastCall;
};

} // namespace stage
