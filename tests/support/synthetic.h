#pragma once

#include "grading/analysis.h"

#include "report.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <vector>

/// Recordings whose true figures are known, because the test has computed them.
namespace synthetic {

struct Point
{
    double x = 0; ///< board units
    double y = 0;
};

/// A contact that goes straight from one place to another, or stays if both are the same.
struct Contact
{
    capture::ReportKind kind = capture::ReportKind::touch;
    int id = 0;
    double begin = 0;   ///< seconds
    double seconds = 1; ///< how long it is down
    Point from;
    Point to;
    double rate = 125; ///< reports a second
    int board = 1;
    bool lifts = true;
};

/// What a fault changes: gets the share of the way and the point on it, and returns where the board reports
/// it.
using Distortion = std::function<Point(double share, Point point)>;

/// A recording that grows contact by contact, in any order of their times. Used on one thread.
class Recording
{
public:
    /// All randomness follows from @p seed.
    explicit Recording(unsigned seed = 1) : m_random(seed) { }

    void add(const Contact &contact, const Distortion &distort = {});
    void pen(double at, int id, Point point, bool down, int board = 1);
    void touch(double at, const std::vector<boardsim::TouchContact> &contacts, int board = 1);
    void report(double at, const boardsim::Bytes &bytes, int board = 1);
    /// The report that the program hands back for this contact.
    void handBack(double at, capture::ReportKind kind, int id, Point point, bool down);
    /// All events of another recording, so many seconds later.
    void append(const Recording &other, double later);
    void unplug(double at, int board = 1);
    void end(double at) { m_end = at; }
    /// Reports begun before @p to and not before @p from are lost.
    void lose(double from, double to);

    double normal(double deviation) { return std::normal_distribution<double>(0, deviation)(m_random); }
    double between(double lowest, double highest)
    {
        return std::uniform_real_distribution<double>(lowest, highest)(m_random);
    }

    /// The lines of the file.
    std::string text() const;
    grading::Summary measure(std::optional<grading::BoardSize> size = {},
                             grading::Analysis::ContactSink sink = {}) const;

private:
    enum class Type { report, handback, unplug };
    struct Event
    {
        std::int64_t at;
        Type type;
        int board;
        boardsim::Bytes bytes;
    };

    void push(double at, Type type, int board, boardsim::Bytes bytes);

    std::vector<Event> m_events;
    std::optional<double> m_end;
    std::mt19937 m_random;
};

/// The report of one contact, as a board sends it.
boardsim::Bytes reportOf(capture::ReportKind kind, int id, Point point, bool down);

/// Measures the lines of a file.
grading::Summary measureText(const std::string &text, std::optional<grading::BoardSize> size = {},
                             grading::Analysis::ContactSink sink = {});

/// A figure; NaN if it was not measured.
double figure(const grading::Summary &summary, const std::string &key);

/// Two seconds' worth each of pens and touches that write, rest and tap as they should, with a little noise.
Recording cleanRecording(unsigned seed);

} // namespace synthetic
