#include "player.h"
#include "scenarioreader.h"

#include "capture/contacts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

using namespace boardsim;
using namespace std::chrono_literals;
using capture::ReportKind;

namespace {

struct Sample
{
    Clock::time_point time;
    int x = 0; ///< board units
    int y = 0;
};

/// Board units.
double distance(const Sample &a, const Sample &b)
{
    return std::hypot(b.x - a.x, b.y - a.y);
}

/// One contact from touching down to lifting.
struct Track
{
    ReportKind kind = ReportKind::touch;
    int id = 0;
    bool has_lifted = false;
    std::vector<Sample> samples;

    const Sample &first() const { return samples.front(); }
    const Sample &last() const { return samples.back(); }
    double way() const { return distance(first(), last()); }
};

/// A stage whose clock jumps to each deadline, and which follows every contact of its one board.
class Followed : public Stage
{
public:
    explicit Followed(const char *name)
    {
        std::string error;
        const auto scenario = readScenarioFile(std::string(SCENARIOS "/") + name, error);
        EXPECT_EQ(error, "");
        EXPECT_TRUE(scenario && Player(*scenario, *this).play());
    }

    Clock::time_point now() override { return m_now; }
    bool waitUntil(Clock::time_point deadline) override
    {
        m_now = std::max(m_now, deadline);
        return true;
    }
    void deliver(int, const Bytes &bytes) override
    {
        capture::Report report;
        capture::decode(bytes.data(), bytes.size(), report);
        for (const capture::Contact &contact : report.contacts)
            follow(report.kind, contact);
    }
    void plug(int, bool) override { }
    void mark(const std::string &text) override { marks.push_back(text); }

    std::vector<Track> tracks; ///< in the order in which they touch down
    std::vector<std::string> marks;
    int lifts_of_nothing = 0; ///< of touches and erasers

private:
    void follow(ReportKind kind, const capture::Contact &contact)
    {
        const auto found = m_down.find({kind, contact.id});
        if (contact.down) {
            const std::size_t index = found != m_down.end() ? found->second : begin(kind, contact.id);
            tracks[index].samples.push_back({m_now, contact.x, contact.y});
        } else if (found != m_down.end()) {
            tracks[found->second].has_lifted = true;
            m_down.erase(found);
        } else if (kind != ReportKind::pen) {
            ++lifts_of_nothing;
        }
    }
    std::size_t begin(ReportKind kind, int id)
    {
        m_down[{kind, id}] = tracks.size();
        tracks.push_back({kind, id, false, {}});
        return tracks.size() - 1;
    }

    Clock::time_point m_now;
    std::map<std::pair<ReportKind, int>, std::size_t> m_down; ///< by kind and identifier: the track
};

/// Board units: how far a contact leaves the straight line between its ends; 0 if they are near each other.
double bow(const Track &track)
{
    double farthest = 0;
    if (track.way() < 5000)
        return farthest;
    const double width = track.last().x - track.first().x;
    const double height = track.last().y - track.first().y;
    for (const Sample &sample : track.samples) {
        const double area = width * (sample.y - track.first().y) - height * (sample.x - track.first().x);
        farthest = std::max(farthest, std::abs(area) / track.way());
    }
    return farthest;
}

/// Counts the touches and pens for which @p is_meant holds.
template <typename IsMeant> std::ptrdiff_t count(const Followed &board, const IsMeant &is_meant)
{
    return std::count_if(board.tracks.begin(), board.tracks.end(), [&](const Track &track) {
        return track.kind != ReportKind::erase && is_meant(track);
    });
}

/// Counts the contacts of one kind, each with the one before it, for which @p is_meant holds.
template <typename IsMeant>
int count_followers(const Followed &board, ReportKind kind, const IsMeant &is_meant)
{
    int found = 0;
    const Track *before = nullptr;
    for (const Track &track : board.tracks) {
        if (track.kind != kind)
            continue;
        found += before && is_meant(*before, track) ? 1 : 0;
        before = &track;
    }
    return found;
}

std::ptrdiff_t wandering_rests(const Followed &board)
{
    return count(board, [](const Track &track) {
        const auto is_elsewhere = [&track](const Sample &sample) {
            return distance(track.first(), sample) > 0;
        };
        return track.way() < 1000 && track.samples.size() == 120
            && std::any_of(track.samples.begin(), track.samples.end(), is_elsewhere);
    });
}

std::ptrdiff_t lost_tips(const Followed &board)
{
    return count_followers(board, ReportKind::pen, [](const Track &before, const Track &track) {
        return track.first().time - before.last().time < 50ms;
    });
}

std::ptrdiff_t offsets(const Followed &board)
{
    return count_followers(board, ReportKind::pen, [](const Track &before, const Track &track) {
        return track.first().x == before.last().x && track.first().y == before.last().y + 500;
    });
}

std::ptrdiff_t bent_lines(const Followed &board)
{
    return count(board, [](const Track &track) { return bow(track) > 500; });
}

std::ptrdiff_t trembling_lines(const Followed &board)
{
    return count(board, [](const Track &track) { return bow(track) > 10 && bow(track) < 500; });
}

std::ptrdiff_t swaps(const Followed &board)
{
    return count_followers(board, ReportKind::touch, [](const Track &before, const Track &track) {
        return track.id != before.id && track.first().time - before.last().time == 10ms
            && distance(before.last(), track.first()) < 200;
    });
}

std::ptrdiff_t gaps(const Followed &board)
{
    std::ptrdiff_t found = 0;
    for (const Track &track : board.tracks) {
        for (std::size_t i = 1; i < track.samples.size(); ++i)
            found += track.samples[i].time - track.samples[i - 1].time == 70ms ? 1 : 0;
    }
    return found;
}

std::ptrdiff_t ghosts(const Followed &board)
{
    return count(board, [](const Track &track) { return track.samples.size() == 1; });
}

std::ptrdiff_t stuck_contacts(const Followed &board)
{
    return count(board, [](const Track &track) { return !track.has_lifted; });
}

} // namespace

struct ShownRow
{
    const char *name;
    std::ptrdiff_t (*count)(const Followed &);
    int expected;
};
class AFault : public testing::TestWithParam<ShownRow>
{
};

TEST_P(AFault, IsShownByTheBadBoardOnly)
{
    EXPECT_EQ(GetParam().count(Followed("bad-board.jsonl")), GetParam().expected);
    EXPECT_EQ(GetParam().count(Followed("good-board.jsonl")), 0);
}

INSTANTIATE_TEST_SUITE_P(Kinds, AFault,
                         testing::Values(ShownRow{"NoiseAtRest", wandering_rests, 1},
                                         ShownRow{"NoiseInMotion", trembling_lines, 1},
                                         ShownRow{"Dropouts", lost_tips, 3}, ShownRow{"Offset", offsets, 1},
                                         ShownRow{"BentLine", bent_lines, 1}, ShownRow{"Swap", swaps, 1},
                                         ShownRow{"Gaps", gaps, 2}, ShownRow{"Ghost", ghosts, 1},
                                         ShownRow{"StuckContact", stuck_contacts, 1}),
                         [](const auto &row) { return std::string(row.param.name); });

class EitherBoard : public testing::TestWithParam<const char *>
{
};

TEST_P(EitherBoard, TakesAboutTwentySecondsAndEndsWithItsPicture)
{
    Followed board(GetParam());

    EXPECT_NEAR(std::chrono::duration<double>(board.now().time_since_epoch()).count(), 20, 2);
    EXPECT_EQ(board.marks, std::vector<std::string>{"picture"});
    EXPECT_EQ(board.lifts_of_nothing, 0);
}

TEST_P(EitherBoard, WipesEachOf32By18Cells)
{
    std::set<std::pair<int, int>> wiped; ///< column, row

    for (const Track &track : Followed(GetParam()).tracks) {
        for (const Sample &sample : track.samples) {
            if (track.kind == ReportKind::erase)
                wiped.insert({sample.x * 32 / 32768, sample.y * 18 / 32768});
        }
    }

    EXPECT_EQ(wiped.size(), 576u);
}

TEST_P(EitherBoard, ReachesEveryEdgeWithAFinger)
{
    std::array<bool, 4> reached{};

    for (const Track &track : Followed(GetParam()).tracks) {
        for (const Sample &sample : track.samples) {
            if (track.kind != ReportKind::touch)
                continue;
            reached[0] = reached[0] || sample.x == 0;
            reached[1] = reached[1] || sample.x == 32767;
            reached[2] = reached[2] || sample.y == 0;
            reached[3] = reached[3] || sample.y == 32767;
        }
    }

    EXPECT_EQ(reached, (std::array<bool, 4>{true, true, true, true}));
}

INSTANTIATE_TEST_SUITE_P(Scenarios, EitherBoard, testing::Values("good-board.jsonl", "bad-board.jsonl"),
                         [](const auto &row) { return row.index == 0 ? "Good" : "Bad"; });
