#include "support/technician.h"

#include "player.h"
#include "scenarioreader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace {

using acceptance::boardWidth;
using acceptance::Place;

const char *const finger = R"("kind":"touch","id":0,"extent":300)";

/// A stage whose clock jumps to each deadline.
class Rushing : public boardsim::Stage
{
public:
    explicit Rushing(acceptance::Seen &seen) : m_seen(seen) { }

    boardsim::Clock::time_point now() override { return m_now; }
    bool waitUntil(boardsim::Clock::time_point deadline) override
    {
        m_now = std::max(m_now, deadline);
        return true;
    }
    void deliver(int board, const boardsim::Bytes &report) override
    {
        capture::Line line = lineNow(board, capture::Line::Type::report);
        line.bytes = report;
        m_seen.follow(line);
    }
    void plug(int board, bool plugged) override
    {
        m_seen.follow(lineNow(board, plugged ? capture::Line::Type::plug : capture::Line::Type::unplug));
    }
    void mark(const std::string &) override { }

private:
    capture::Line lineNow(int board, capture::Line::Type type) const
    {
        capture::Line line;
        line.type = type;
        line.board = board;
        line.at = std::chrono::duration_cast<std::chrono::microseconds>(m_now - m_start).count();
        return line;
    }

    acceptance::Seen &m_seen;
    const boardsim::Clock::time_point m_start = boardsim::Clock::time_point(std::chrono::hours(1));
    boardsim::Clock::time_point m_now = m_start;
};

std::string microseconds(double seconds)
{
    return std::to_string(static_cast<std::int64_t>(seconds * 1e6));
}

/// A board maps each place of a line by itself.
std::vector<Place> inSmallSteps(const std::vector<Place> &line)
{
    constexpr int count = 40;
    std::vector<Place> steps{line.front()};
    for (std::size_t i = 1; i < line.size(); ++i) {
        const Place &from = line[i - 1];
        const Place &to = line[i];
        for (int step = 1; step <= count; ++step)
            steps.push_back(
                {from.x + (to.x - from.x) * step / count, from.y + (to.y - from.y) * step / count});
    }
    return steps;
}

std::string touch(int id, const Place &place, bool down)
{
    std::ostringstream line;
    line << R"({"type":"touch","board":1,"contacts":[{"id":)" << id << R"(,"x":)" << int(place.x)
         << R"(,"y":)" << int(place.y) << R"(,"extent":300,"down":)" << (down ? "true" : "false") << "}]}\n";
    return line.str();
}

} // namespace

std::string wait(double seconds)
{
    return R"({"type":"wait","time":)" + microseconds(seconds) + "}\n";
}

std::string Technician::move(const std::string &contact, const std::vector<Place> &line, double seconds) const
{
    std::ostringstream text;
    text << R"({"type":"move","board":1,"rate":100,"time":)" << microseconds(seconds) << R"(,"contacts":[{)"
         << contact << R"(,"line":[)";
    const char *comma = "";
    for (const Place &way : inSmallSteps(line)) {
        const Place place = report(way);
        text << comma << '[' << std::max(place.x, 0.0) << ',' << std::max(place.y, 0.0) << ']';
        comma = ",";
    }
    text << "]}]}\n";
    return text.str();
}

std::string Technician::rest(double seconds, const Place &way) const
{
    const Place centre{boardWidth / 2, boardWidth / 2};
    return move(finger, {centre, {centre.x + way.x, centre.y + way.y}}, seconds);
}

std::string Technician::tap(const Place &place) const
{
    return move(finger, {place}, 0.05) + wait(0.1);
}

std::string Technician::tapTargets(int leftOut) const
{
    std::string lines;
    int index = 0;
    for (const acceptance::Target &target : acceptance::targetsOf(frame)) {
        if (index++ != leftOut)
            lines += tap(target.place);
    }
    return lines;
}

std::string Technician::follow(const std::vector<acceptance::Course> &courses, const Place &beside) const
{
    std::string lines;
    for (const acceptance::Course &course : courses)
        lines += move(finger,
                      {{course.from.x + beside.x, course.from.y + beside.y},
                       {course.to.x + beside.x, course.to.y + beside.y}},
                      0.5)
            + wait(0.2);
    return lines;
}

std::string Technician::putFingers(int count) const
{
    std::string lines;
    const auto place = [this](int id) { return report({3000.0 * (id + 1), 16000}); };
    for (int id = 0; id < count; ++id)
        lines += touch(id, place(id), true) + wait(0.02);
    for (int id = 0; id < count; ++id)
        lines += touch(id, place(id), false) + wait(0.02);
    return lines;
}

std::string Technician::drum(int times) const
{
    std::string lines;
    for (int i = 0; i < times; ++i)
        lines += tap({i % 2 == 0 ? 14000.0 : 18000.0, 16000});
    return lines;
}

std::string Technician::write(int pen, const std::vector<Place> &line) const
{
    return move(R"("kind":"pen","tip":true,"button":false,"id":)" + std::to_string(pen), line, 0.3)
        + wait(0.2);
}

std::string Technician::wipe(const std::vector<Place> &line) const
{
    return move(R"("kind":"erase","id":0,"width":500,"height":900)", line, 0.5) + wait(0.2);
}

std::string Technician::replug() const
{
    return "{\"type\":\"unplug\",\"board\":1}\n" + wait(3) + "{\"type\":\"plug\",\"board\":1}\n" + wait(0.5);
}

void show(const std::string &lines, acceptance::Seen &seen)
{
    std::istringstream text("{\"type\":\"scenario\",\"version\":1}\n"
                            "{\"type\":\"device\",\"kind\":1,\"board\":1,\"info\":\"\"}\n"
                            + lines);
    std::string error;
    const auto scenario = boardsim::readScenario(text, "technician", error);
    ASSERT_EQ(error, "");
    Rushing stage(seen);
    boardsim::Player(*scenario, stage).play();
}
