#include "support/synthetic.h"

#include "capture/lineparser.h"
#include "capture/lines.h"
#include "capture/writer.h"
#include "hardware/reportlayout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <sstream>

namespace synthetic {

namespace {

using capture::ReportKind;

std::int64_t microseconds(double seconds)
{
    return std::llround(seconds * 1e6);
}

int units(double value)
{
    return static_cast<int>(std::clamp(std::round(value), 0.0, 65535.0));
}

Point pointOf(const Contact &contact, double share)
{
    return {contact.from.x + share * (contact.to.x - contact.from.x),
            contact.from.y + share * (contact.to.y - contact.from.y)};
}

} // namespace

boardsim::Bytes reportOf(ReportKind kind, int id, Point point, bool down)
{
    const int x = units(point.x);
    const int y = units(point.y);
    if (kind == ReportKind::pen)
        return boardsim::penReport({id, x, y, down, false, false});
    if (kind == ReportKind::erase)
        return boardsim::eraseReport({{id, x, y, 500, 500, down}});
    return boardsim::touchReport({{id, x, y, 300, down}});
}

void Recording::push(double at, Type type, int board, boardsim::Bytes bytes)
{
    m_events.push_back({microseconds(at), type, board, std::move(bytes)});
}

void Recording::add(const Contact &contact, const Distortion &distort)
{
    const auto count = static_cast<int>(std::lround(contact.seconds * contact.rate));
    Point last;
    for (int i = 0; i < count; ++i) {
        const double share = count > 1 ? i / double(count - 1) : 0;
        last = pointOf(contact, share);
        if (distort)
            last = distort(share, last);
        report(contact.begin + i / contact.rate, reportOf(contact.kind, contact.id, last, true),
               contact.board);
    }
    if (contact.lifts)
        report(contact.begin + contact.seconds, reportOf(contact.kind, contact.id, last, false),
               contact.board);
}

void Recording::pen(double at, int id, Point point, bool down, int board)
{
    report(at, reportOf(ReportKind::pen, id, point, down), board);
}

void Recording::touch(double at, const std::vector<boardsim::TouchContact> &contacts, int board)
{
    report(at, boardsim::touchReport(contacts), board);
}

void Recording::report(double at, const boardsim::Bytes &bytes, int board)
{
    push(at, Type::report, board, bytes);
}

void Recording::handBack(double at, ReportKind kind, int id, Point point, bool down)
{
    using namespace reportlayout;
    const bool isPen = kind == ReportKind::pen;
    boardsim::Bytes bytes(
        static_cast<std::size_t>(isPen ? systemReport::penLength : contact::firstAt + touch::contactSize));
    const auto put = [&bytes](int place, int value) {
        bytes.at(static_cast<std::size_t>(place)) = static_cast<std::uint8_t>(value & 0xff);
        bytes.at(static_cast<std::size_t>(place) + 1) = static_cast<std::uint8_t>(value >> 8);
    };
    put(isPen ? systemReport::penXAt : contact::firstAt + contact::xAt, units(point.x));
    put(isPen ? systemReport::penYAt : contact::firstAt + contact::yAt, units(point.y));
    bytes[systemReport::lengthAt] = static_cast<std::uint8_t>(bytes.size());
    bytes[kindAt] = isPen ? pen::kind : touch::kind;
    const int state = isPen ? int(systemReport::penNumberAt) : contact::firstAt + contact::stateAt;
    bytes.at(static_cast<std::size_t>(state)) = static_cast<std::uint8_t>(id | (down ? 0x80 : 0));
    push(at, Type::handback, 1, bytes);
}

void Recording::append(const Recording &other, double later)
{
    for (Event event : other.m_events) {
        event.at += microseconds(later);
        m_events.push_back(std::move(event));
    }
}

void Recording::unplug(double at, int board)
{
    push(at, Type::unplug, board, {});
}

void Recording::lose(double from, double to)
{
    const auto isLost = [&](const Event &event) {
        return event.at >= microseconds(from) && event.at < microseconds(to);
    };
    m_events.erase(std::remove_if(m_events.begin(), m_events.end(), isLost), m_events.end());
}

std::string Recording::text() const
{
    std::vector<Event> events = m_events;
    std::stable_sort(events.begin(), events.end(),
                     [](const Event &a, const Event &b) { return a.at < b.at; });
    capture::Writer writer;
    writer.add({{"type", "scenario"}, {"version", 2}});
    std::set<int> boards{1};
    for (const Event &event : events)
        boards.insert(event.board);
    for (const int board : boards)
        writer.add({{"type", "device"}, {"kind", 1}, {"board", board}, {"info", "hid<true>vid<04d8>"}});
    for (const Event &event : events) {
        if (event.type == Type::report)
            writer.addReport(event.at, event.board, event.bytes.data(), event.bytes.size(), {}, 25.0);
        else if (event.type == Type::handback)
            writer.addHandback(event.at, event.board, event.bytes.data(), event.bytes.size(), 1, {});
        else
            writer.add({{"type", "unplug"}, {"at", event.at}, {"board", event.board}});
    }
    if (m_end)
        writer.add({{"type", "end"}, {"at", microseconds(*m_end)}});
    return writer.text();
}

grading::Summary Recording::measure(std::optional<grading::BoardSize> size,
                                    grading::Analysis::ContactSink sink) const
{
    return measureText(text(), size, std::move(sink));
}

grading::Summary measureText(const std::string &text, std::optional<grading::BoardSize> size,
                             grading::Analysis::ContactSink sink)
{
    grading::Analysis analysis(size, std::move(sink));
    capture::LineParser parser;
    std::istringstream lines(text);
    std::int64_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        line.reserve(line.size() + capture::padding);
        if (parser.parse(line, ++number, true) == capture::LineParser::Result::line)
            analysis.follow(parser.line());
        EXPECT_EQ(parser.fault(), "") << number;
    }
    return analysis.finish();
}

double figure(const grading::Summary &summary, const std::string &key)
{
    const auto found = summary.figures.find(key);
    return found == summary.figures.end() ? std::nan("") : found->second;
}

Recording cleanRecording(unsigned seed)
{
    Recording recording(seed);
    const auto noisy = [&recording](double, Point point) {
        return Point{point.x + recording.normal(2), point.y + recording.normal(2)};
    };
    double now = 0.5;
    for (int i = 0; i < 6; ++i, now += 2.5) {
        const Point from{recording.between(2000, 12000), recording.between(2000, 30000)};
        const Point to{recording.between(20000, 30000), recording.between(2000, 30000)};
        recording.add({ReportKind::pen, i % 3, now, recording.between(1.2, 2), from, to}, noisy);
        const Point rest{recording.between(2000, 30000), recording.between(2000, 30000)};
        recording.add({ReportKind::touch, i, now + 0.1, recording.between(1.2, 2), rest, rest}, noisy);
    }
    for (int i = 0; i < 4; ++i, now += 0.6) {
        const Point tap{recording.between(2000, 30000), recording.between(2000, 30000)};
        recording.add({ReportKind::touch, 20 + i, now, recording.between(0.06, 0.2), tap, tap}, noisy);
    }
    recording.end(now + 2);
    return recording;
}

} // namespace synthetic
