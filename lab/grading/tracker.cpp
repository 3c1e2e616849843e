#include "grading/tracker.h"

#include <utility>

namespace grading {

using capture::Contact;
using capture::ReportKind;

void Tracker::follow(int board, const capture::Report &report, std::int64_t at)
{
    // Lifts first: a contact that goes on under another identifier may be listed before the one that ends.
    for (const Contact &contact : report.contacts) {
        if (!contact.down)
            lift({board, report.kind, contact.id}, contact, at);
    }
    for (const Contact &contact : report.contacts) {
        if (contact.down)
            touch({board, report.kind, contact.id}, contact, at);
    }
}

void Tracker::touch(const Key &key, const Contact &contact, std::int64_t at)
{
    const auto [found, isNew] = m_tracks.try_emplace(key);
    Track &track = found->second;
    if (isNew) {
        std::tie(track.board, track.kind, track.id) = key;
        track.serial = ++m_serial;
        track.from = at;
        ++m_down[track.board];
    }
    const Sample sample(at, contact, m_down[track.board] == 1);
    track.add(sample);
    if (isNew)
        m_observer.began(track);
    m_observer.moved(track);
    if (track.samples.size() >= longest) {
        m_observer.filled(track);
        track.samples.assign(1, sample);
    }
}

void Tracker::lift(const Key &key, const Contact &contact, std::int64_t at)
{
    const auto found = m_tracks.find(key);
    const auto [board, kind, id] = key;
    if (found != m_tracks.end()) {
        Track track = std::move(found->second);
        m_tracks.erase(found);
        --m_down[board];
        track.to = at;
        m_observer.ended(track, Track::End::lifted);
    } else if (kind != ReportKind::pen) {
        m_observer.liftedWithoutDown(board, kind, contact);
    }
    if (kind == ReportKind::pen)
        m_observer.hovered(board, contact, at);
}

void Tracker::unplug(int board)
{
    for (auto track = m_tracks.begin(); track != m_tracks.end();) {
        if (std::get<0>(track->first) == board) {
            m_observer.ended(track->second, Track::End::unplugged);
            track = m_tracks.erase(track);
        } else {
            ++track;
        }
    }
    m_down.erase(board);
}

void Tracker::finish()
{
    for (const auto &[key, track] : m_tracks)
        m_observer.ended(track, Track::End::stillDown);
    m_tracks.clear();
    m_down.clear();
}

} // namespace grading
