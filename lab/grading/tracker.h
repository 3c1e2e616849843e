#pragma once

#include "grading/track.h"

#include "capture/contacts.h"
#include "capture/line.h"

#include <cstdint>
#include <map>
#include <tuple>

namespace grading {

/// Follows every contact of a recording from touching down to lifting. Used on one thread.
class Tracker
{
public:
    /// Who is told; calls come in the order of the reports.
    class Observer
    {
    public:
        virtual void began(const Track &track) = 0;
        /// Another sample; the track ends with it, for now.
        virtual void moved(const Track &track) = 0;
        /// So many samples have come that @p track, with all its samples, is measured before more come. What
        /// follows begins with its last sample.
        virtual void filled(const Track &track) = 0;
        virtual void ended(const Track &track, Track::End end) = 0;
        /// A touch or an eraser has lifted that was not down.
        virtual void liftedWithoutDown(int board, capture::ReportKind kind,
                                       const capture::Contact &contact) = 0;
        /// A pen in the air.
        virtual void hovered(int board, const capture::Contact &pen, std::int64_t at) = 0;

    protected:
        ~Observer() = default;
    };

    /// The samples that a track holds before they are taken out.
    static constexpr std::size_t longest = 65536;

    /// Keeps a reference to @p observer.
    explicit Tracker(Observer &observer) : m_observer(observer) { }

    /// Takes in a report that has been decoded.
    void follow(int board, const capture::Report &report, std::int64_t at);
    /// The board has left, and its contacts with it.
    void unplug(int board);
    /// The recording has ended.
    void finish();

private:
    using Key = std::tuple<int, capture::ReportKind, int>; ///< board, kind, identifier

    void touch(const Key &key, const capture::Contact &contact, std::int64_t at);
    void lift(const Key &key, const capture::Contact &contact, std::int64_t at);

    Observer &m_observer;
    std::map<Key, Track> m_tracks; ///< that are down
    std::map<int, int> m_down;     ///< how many, by board
    std::int64_t m_serial = 0;
};

} // namespace grading
