#include "grading/neighbours.h"

#include <algorithm>
#include <cmath>

namespace grading {

namespace {

constexpr std::int64_t millisecond = 1000; // microseconds

constexpr double ghostDistance = 0.05 * boardWidth;
constexpr std::int64_t ghostTime = 30 * millisecond;

constexpr double swapDistance = 0.01 * boardWidth;
constexpr std::int64_t swapTime = 100 * millisecond;

constexpr double dropoutDistance = 0.02 * boardWidth;
constexpr std::int64_t dropoutTime = 50 * millisecond;
constexpr double motion = 0.001 * boardWidth; // within dropoutTime

constexpr double mergeDistance = 0.05 * boardWidth;
constexpr double leastMergeDistance = 0.005 * boardWidth;
constexpr double mergeShare = 0.25; // of the way to the neighbour

constexpr std::int64_t rollTime = 200 * millisecond; // between two contacts
constexpr std::int64_t longestRoll = second / 2;
constexpr double rollPlace = 0.01 * boardWidth; // what counts as the same place
constexpr double rollReach = 0.1 * boardWidth;

constexpr std::size_t mostPlaces = 1000; // that are kept

/// What is kept of a contact's way: enough for a distance of 5 percent.
constexpr double thinDistance = 0.001 * boardWidth;
constexpr std::int64_t thinTime = 100 * millisecond;

/// Whether a contact was on its way when it ended.
bool endsInMotion(const Track &track)
{
    const Sample &last = track.samples.back();
    for (auto sample = track.samples.rbegin(); sample != track.samples.rend(); ++sample) {
        if (last.at - sample->at > dropoutTime)
            break;
        if (distance(*sample, last) > motion)
            return true;
    }
    return false;
}

double farthestBetween(const Track &a, const Sample &place, const Sample &other)
{
    double farthest = 0;
    for (const Sample &sample : a.samples)
        farthest = std::max(farthest, std::min(distance(sample, place), distance(sample, other)));
    return farthest;
}

} // namespace

void Places::add(int board, const Sample &sample)
{
    ++m_count;
    if (m_first.size() < mostPlaces)
        m_first.push_back({sample.at, board, sample.x, sample.y});
}

void Neighbours::began(const Track &track)
{
    Board &board = m_boards[track.board];
    const Sample &here = track.first;
    settle(track.board, board, here.at);
    board.kinds[track.serial] = track.kind;
    const auto isSwap = [&](const Lift &lift) {
        return lift.kind == track.kind && lift.id != track.id && lift.wasMoving
            && here.at - lift.at <= swapTime && distance(lift.last, here) <= swapDistance;
    };
    const auto isDropout = [&](const Lift &lift) {
        return lift.kind == capture::ReportKind::pen && track.kind == lift.kind && lift.id == track.id
            && lift.wasInMotion && here.at - lift.at <= dropoutTime
            && distance(lift.last, here) <= dropoutDistance;
    };
    const auto swap = std::find_if(board.lifts.begin(), board.lifts.end(), isSwap);
    const auto dropout = std::find_if(board.lifts.begin(), board.lifts.end(), isDropout);
    if (dropout != board.lifts.end()) {
        m_findings.dropouts.add(track.board, here);
        board.lifts.erase(dropout);
    } else if (swap != board.lifts.end()) {
        m_findings.swaps.add(track.board, here);
        board.lifts.erase(swap);
    }
}

void Neighbours::moved(const Track &track)
{
    Board &board = m_boards[track.board];
    const Spot here{track.serial, track.samples.back()};
    settle(track.board, board, here.sample.at);
    checkPull(track.board, board, track);
    board.down[track.serial] = here;
    const auto [told, isNew] = board.told.try_emplace(track.serial, here);
    if (isNew || distance(told->second.sample, here.sample) >= thinDistance
        || here.sample.at - told->second.sample.at >= thinTime) {
        told->second = here;
        board.recent.push_back(here);
    }
    const auto isNear = [&here](const Candidate &candidate) {
        return candidate.spot.serial != here.serial
            && distance(candidate.spot.sample, here.sample) <= ghostDistance;
    };
    auto &candidates = board.candidates;
    candidates.erase(std::remove_if(candidates.begin(), candidates.end(), isNear), candidates.end());
}

void Neighbours::ended(const Track &track, Track::End end)
{
    Board &board = m_boards[track.board];
    settle(track.board, board, track.to);
    board.down.erase(track.serial);
    board.told.erase(track.serial);
    board.pulls.erase(track.serial);
    board.kinds.erase(track.serial);
    if (end != Track::End::lifted)
        return;
    board.lifts.push_back(
        {track.kind, track.id, track.samples.back(), track.to, track.isMoving(), endsInMotion(track)});
    seekGhost(board, track);
    seekPulls(board, track);
    rollDrums(board, track);
}

void Neighbours::finish()
{
    for (auto &[number, board] : m_boards) {
        for (const Candidate &candidate : board.candidates)
            m_findings.ghosts.add(number, candidate.spot.sample);
        board.candidates.clear();
    }
}

/// What the passing of time decides.
void Neighbours::settle(int number, Board &board, std::int64_t now)
{
    while (!board.recent.empty() && board.recent.front().sample.at < now - second - ghostTime)
        board.recent.pop_front();
    while (!board.lifts.empty() && board.lifts.front().at < now - swapTime)
        board.lifts.pop_front();
    while (!board.candidates.empty() && board.candidates.front().to < now - second) {
        m_findings.ghosts.add(number, board.candidates.front().spot.sample);
        board.candidates.pop_front();
    }
}

void Neighbours::seekGhost(Board &board, const Track &track)
{
    if (track.to - track.from < ghostTime && isAlone(board, track))
        board.candidates.push_back({{track.serial, track.first}, track.to});
}

bool Neighbours::isAlone(const Board &board, const Track &track)
{
    const auto isNear = [&track](const Spot &spot) {
        return spot.serial != track.serial && spot.sample.at >= track.from - second
            && distance(spot.sample, track.first) <= ghostDistance;
    };
    const auto isDownNear = [&track](const auto &entry) {
        return distance(entry.second.sample, track.first) <= ghostDistance;
    };
    return std::none_of(board.recent.begin(), board.recent.end(), isNear)
        && std::none_of(board.down.begin(), board.down.end(), isDownNear);
}

/// Remembers where the neighbours of a contact that has lifted are, to see whether they take its place.
void Neighbours::seekPulls(Board &board, const Track &track)
{
    const Sample &last = track.samples.back();
    for (const auto &[serial, spot] : board.down) {
        const double way = distance(spot.sample, last);
        if (board.kinds.at(serial) == track.kind && way <= mergeDistance && way >= leastMergeDistance)
            board.pulls[serial] = {spot.sample, last};
    }
}

void Neighbours::checkPull(int number, Board &board, const Track &track)
{
    const auto pull = board.pulls.find(track.serial);
    if (pull == board.pulls.end())
        return;
    const auto [from, towards] = pull->second;
    board.pulls.erase(pull);
    const Sample &here = track.samples.back();
    const double way = distance(from, towards);
    const double part = (static_cast<double>(here.x - from.x) * (towards.x - from.x)
                         + static_cast<double>(here.y - from.y) * (towards.y - from.y))
        / way;
    if (here.at - from.at <= swapTime && part >= mergeShare * way)
        m_findings.merges.add(number, here);
}

/// Two fingers that roll touch down in turn at two places. A board that takes them for one contact reports
/// points between the places.
void Neighbours::rollDrums(Board &board, const Track &track)
{
    auto &last = board.shortOnes[track.kind];
    if (track.to - track.from > longestRoll) {
        last.clear();
        return;
    }
    last.push_back(track);
    if (last.size() > 3)
        last.pop_front();
    if (last.size() < 3)
        return;
    std::vector<const Track *> order{&last[0], &last[1], &last[2]};
    std::sort(order.begin(), order.end(), [](const Track *a, const Track *b) { return a->from < b->from; });
    const Track &a = *order[0];
    const Track &b = *order[1];
    const Track &again = *order[2];
    const double apart = distance(a.first, b.first);
    if (b.from - a.to > rollTime || again.from - b.to > rollTime || apart <= rollPlace || apart > rollReach
        || distance(a.first, again.first) > rollPlace)
        return;
    m_findings.drumRoll = std::max({m_findings.drumRoll.value_or(0), farthestBetween(b, a.first, b.first),
                                    farthestBetween(again, a.first, b.first)});
}

} // namespace grading
