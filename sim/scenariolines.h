#pragma once

#include "fields.h"
#include "scenario.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace boardsim {

constexpr std::size_t longestLine = 65536; ///< bytes; keeps other files from filling the memory

/// The latest time of a line of version 2, in microseconds: 31 years, as long as a program may be recorded.
constexpr std::int64_t latestTime = 1'000'000'000'000'000;

/// Whether a line holds nothing: it is blank, or a comment.
bool isIgnored(const std::string &line);

/// Reads a scenario line by line. Used on one thread.
class ScenarioLines
{
public:
    /// Returns false if the line is wrong; error() says why.
    bool read(const std::string &line, int number);
    /// Whether the last line may be the start of one: a recording is cut off where its program was killed.
    bool mayBeCutOff() const { return m_version > 1 && m_isNoJson; }
    /// Checks what only the end of the file can show. Returns false if that is wrong; errorLine() says where.
    bool finish(int lastLine);

    const std::string &error() const { return m_error; }
    int errorLine() const { return m_errorLine; }
    std::int64_t version() const { return m_version; }

    /// The devices and steps so far. Who does not keep the steps may clear them, with their lines.
    Scenario &scenario() { return m_scenario; }

private:
    using LineReader = void (ScenarioLines::*)(Fields &);

    void readFirst(Fields &fields, const std::string &type);
    void readOther(Fields &fields, const std::string &type);
    void readDevice(Fields &fields);
    void readRaw(Fields &fields);
    void readPen(Fields &fields);
    void readTouch(Fields &fields);
    void readErase(Fields &fields);
    void readMove(Fields &fields);
    void readWait(Fields &fields);
    void readRepeat(Fields &fields);
    void readEnd(Fields &fields);
    void readPlug(Fields &fields);
    void readUnplug(Fields &fields);
    void readMark(Fields &fields);
    void readCall(Fields &fields);
    void readHandback(Fields &fields);
    void readLost(Fields &fields);
    void readNote(Fields &fields);

    /// The time of a line of version 2, if it has one.
    void readTime(Fields &fields, const std::string &type);
    int declaredBoard(Fields &fields);
    void addReport(int board, Bytes report);

    struct OpenBlock
    {
        std::size_t repeat;
        int line;
    };

    static const std::map<std::string, LineReader> lineReaders;
    /// Of what a recording tells beside what a board did; playing skips it.
    static const std::map<std::string, LineReader> tellingReaders;

    Scenario m_scenario;
    std::vector<OpenBlock> m_openBlocks;
    bool m_started = false; ///< the first line has been read
    std::int64_t m_version = 1;
    int m_line = 0;
    bool m_isNoJson = false; ///< the last line
    std::string m_error;
    int m_errorLine = 0;
};

} // namespace boardsim
