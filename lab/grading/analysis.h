#pragma once

#include "grading/evidence.h"
#include "grading/figures.h"
#include "grading/handbacks.h"
#include "grading/maps.h"
#include "grading/neighbours.h"
#include "grading/rates.h"
#include "grading/tracker.h"

#include "capture/contacts.h"
#include "capture/line.h"

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace grading {

/// The size of a board's active area in millimetres.
struct BoardSize
{
    double width = 0;
    double height = 0;

    Scale scale() const { return {width / boardWidth, height / boardWidth}; }
};

/// A contact with its own figures.
struct ContactSummary
{
    capture::ReportKind kind = capture::ReportKind::touch;
    int board = 0;
    int id = 0;
    std::int64_t from = 0; ///< microseconds, as the next
    std::int64_t to = 0;
    std::int64_t samples = 0;
    Track::End end = Track::End::lifted;
    Figures figures;
};

/// What contacts do while they are reported.
enum class Activity { moving, resting, hovering };

/// A report that nobody understands.
struct Undecodable
{
    std::int64_t line = 0;
    std::int64_t at = 0; ///< microseconds
    int board = 0;
    std::vector<std::uint8_t> bytes;
};

/// A device of a recording.
struct DeviceSummary
{
    int kind = 0;
    std::string info; ///< items key<value>
    std::uint64_t reports = 0;
};

/// All that a report says about one recording.
struct Summary
{
    std::int64_t duration = 0; ///< microseconds
    std::string firstLine;     ///< JSON: recorder, program, driver and screens
    std::map<int, DeviceSummary> devices;
    std::array<std::uint64_t, 5> reports{};               ///< by capture::ReportKind
    std::map<capture::ReportKind, std::int64_t> contacts; ///< how many touched down
    std::map<capture::ReportKind, int> mostAtOnce;
    std::uint64_t handbacks = 0;
    std::int64_t contactsHandedBack = 0;
    std::vector<std::string> complaints; ///< about hand-backs
    Figures figures;
    Evidences evidence;
    std::map<std::pair<capture::ReportKind, Activity>, Rates> rates;
    std::vector<std::uint64_t> intervals; ///< of moving contacts, by milliseconds; the last one: and more
    std::map<int, BoardMap> maps;         ///< by board
    Places jumps;
    Neighbours::Findings neighbours;
    std::vector<Undecodable> undecodable; ///< the first ones
    std::vector<std::string> notes;       ///< a person's words, the first ones
};

/// Measures a recording in one pass, in memory that does not grow with it except for what is drawn, which is
/// thinned. Used on one thread.
class Analysis : private Tracker::Observer
{
public:
    using ContactSink = std::function<void(const ContactSummary &)>;

    /// @p size if it is known; @p sink gets every contact when it has ended.
    explicit Analysis(std::optional<BoardSize> size = {}, ContactSink sink = {});
    Analysis(const Analysis &) = delete;
    Analysis &operator=(const Analysis &) = delete;

    void follow(const capture::Line &line);
    /// The recording has ended. To be called once; nothing may follow.
    Summary finish();

private:
    /// What is known of a contact so far.
    struct Open
    {
        Figures figures;
        std::optional<Rates> rates;
        bool sawMotion = false; ///< of another contact of its board
    };

    void began(const Track &track) override;
    void moved(const Track &track) override;
    void filled(const Track &track) override;
    void ended(const Track &track, Track::End end) override;
    void liftedWithoutDown(int board, capture::ReportKind kind, const capture::Contact &contact) override;
    void hovered(int board, const capture::Contact &pen, std::int64_t at) override;

    void followReport(const capture::Line &line);
    void followOther(const capture::Line &line);
    void measure(const Track &track, Open &open);
    void measureRest(const Track &track, Open &open);
    void measureMotion(const Track &track, Open &open);
    void measureTap(const Track &track, Open &open);
    void countIntervals(const Track &track);
    void flushHover(int board, int pen);
    void foldContact(const Track &track, Open &open);
    void foldFindings();
    void finishRates();
    void finishMaps();

    const std::optional<BoardSize> m_size;
    const ContactSink m_sink;
    Tracker m_tracker;
    Neighbours m_neighbours;
    Handbacks m_handbacks;
    Tally m_inside;
    Summary m_summary;
    capture::Report m_report;
    std::map<std::int64_t, Open> m_open;                        ///< by serial
    std::map<std::pair<int, int>, std::vector<Sample>> m_hover; ///< by board and pen
    std::map<std::pair<int, capture::ReportKind>, std::vector<std::uint8_t>> m_lastBytes;
    std::map<std::pair<int, capture::ReportKind>, int> m_down; ///< contacts, by board and kind
    std::uint64_t m_unchanged = 0;
};

} // namespace grading
