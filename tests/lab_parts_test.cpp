#include "recorder/keeping.h"
#include "recorder/parts.h"
#include "support/lab.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using namespace lab_testing;
using recorder::Parts;

namespace {

constexpr std::int64_t second = 1'000'000;

using Lines = std::vector<std::pair<std::int64_t, std::string>>; ///< each with its time, in microseconds

std::string text(const QByteArray &bytes)
{
    return bytes.toStdString();
}

/// A recording of @p seconds with contacts that stay down for long, and boards that come and go.
Lines some_recording(unsigned int seed, std::int64_t seconds)
{
    Lines lines{{0, text(first)},
                {0, text(board)},
                {0,
                 R"({"type":"device","at":0,"kind":1,"board":2,"info":"","plugged":false})"
                 "\n"}};
    const std::vector<std::string> events{
        R"("raw","at":@,"board":7,"hex":"0821000001000201","inside":3.25})",
        R"("raw","at":@,"board":7,"hex":"0821000002000300"})",
        R"("raw","at":@,"board":7,"hex":"004583010002000300"})",
        R"("raw","at":@,"board":7,"hex":"004503010002000300"})",
        R"("raw","at":@,"board":2,"hex":"0046850100020003000400"})",
        R"("raw","at":@,"board":2,"hex":"0046050100020003000400"})",
        R"("raw","at":@,"board":7,"hex":"ff","length":20000})",
        R"("call","at":@,"thread":5,"export":"zorvicLock","arguments":{},"result":null,"inside":1.5})",
        R"("handback","at":@,"board":7,"hex":"0945","thread":5,"kind":"touch","contacts":[]})",
        R"("note","at":@,"text":"here"})",
        R"("plug","at":@,"board":2})",
        R"("unplug","at":@,"board":2})",
    };
    std::mt19937 random(seed);
    std::uniform_int_distribution<std::size_t> any(0, events.size() - 1);
    std::uniform_int_distribution<std::int64_t> pause(0, second / 10);
    for (std::int64_t at = pause(random); at < seconds * second; at += pause(random)) {
        std::string event = events.at(any(random));
        event.replace(event.find('@'), 1, std::to_string(at));
        lines.emplace_back(at, R"({"type":)" + event + "\n");
    }
    return lines;
}

/// A rolling recording in a folder of its own.
class ARollingRecording : public testing::Test
{
protected:
    std::string path(const std::string &name) const
    {
        return m_folder.filePath(QString::fromStdString(name)).toStdString();
    }
    QString file(const std::string &name) const { return QString::fromStdString(path(name)); }
    std::string read(const std::string &name) const
    {
        std::ifstream in(path(name));
        return {std::istreambuf_iterator<char>(in), {}};
    }
    void write(const std::string &name, const std::string &content) const
    {
        std::ofstream(path(name)) << content;
    }
    std::vector<std::int64_t> parts() const
    {
        return capture::partsIn(capture::partsFolder(path("capture.jsonl")));
    }
    std::string part(std::int64_t number) const
    {
        return capture::partName(capture::partsFolder(path("capture.jsonl")), number);
    }
    Parts new_parts(std::int64_t keep, std::int64_t length) const
    {
        return {path("capture.jsonl"), capture::Writer::Json::parse(text(first)), keep, length};
    }
    /// Writes the lines one by one, as time goes by.
    static void play(const Lines &lines, Parts &parts)
    {
        for (const auto &[at, line] : lines) {
            parts.roll(at);
            parts.deleteOld(at);
            parts.write(line);
        }
    }

private:
    QTemporaryDir m_folder;
};

} // namespace

TEST_F(ARollingRecording, IsSavedAsCutDoesIt)
{
    for (const unsigned int seed : {1U, 2U, 3U, 4U, 5U}) {
        SCOPED_TRACE(seed);
        const Lines lines = some_recording(seed, 20);
        std::string whole;
        for (const auto &[at, line] : lines)
            whole += line;
        write("whole.jsonl", whole);
        Parts parts = new_parts(3 * second, 700'000);

        play(lines, parts);

        const std::int64_t from = lines.back().first - 3 * second;
        const Outcome cut = lab({"cut", file("whole.jsonl"), "-o", file("cut.jsonl"), "--from",
                                 QString::number(static_cast<double>(from) / 1e6, 'f', 6)});
        EXPECT_EQ(cut.status, 0) << cut.errors;
        const auto kept = capture::joinParts(parts.folder(), path("kept.jsonl"));
        EXPECT_EQ(kept.error, "");
        EXPECT_GT(kept.reports, 10);
        EXPECT_EQ(read("kept.jsonl"), read("cut.jsonl"));
        EXPECT_EQ(lab({"check", file("kept.jsonl")}).status, 0);
    }
}

TEST_F(ARollingRecording, IsSavedWholeAsLongAsItIsShort)
{
    const Lines lines = some_recording(1, 2);
    Parts parts = new_parts(60 * second, 500'000);

    play(lines, parts);

    const auto kept = capture::joinParts(parts.folder(), path("kept.jsonl"));
    EXPECT_EQ(kept.error, "");
    EXPECT_EQ(kept.time, lines.back().first);
}

TEST_F(ARollingRecording, MayGoOnForMonths)
{
    constexpr std::int64_t month = 30 * 24 * 3600 * second;
    Parts parts = new_parts(60 * second, second);
    parts.write(text(first + board));
    parts.roll(month);

    for (const std::string kind : {R"("raw","at":@,"board":7,"hex":"0821000001000201"})",
                                   R"("call","at":@,"thread":5,"export":"zorvicLock"})"}) {
        std::string line = R"({"type":)" + kind + "\n";
        parts.write(line.replace(line.find('@'), 1, std::to_string(month + second)));
    }

    EXPECT_EQ(capture::joinParts(parts.folder(), path("kept.jsonl")).reports, 1);
    EXPECT_NE(read("kept.jsonl").find("zorvicLock"), std::string::npos);
}

TEST_F(ARollingRecording, HasPartsThatPlayByThemselves)
{
    Parts parts = new_parts(5 * second, second);

    play(some_recording(6, 9), parts);

    EXPECT_GE(this->parts().size(), 5U);
    for (const std::int64_t number : this->parts()) {
        const Outcome outcome = lab({"check", QString::fromStdString(part(number))});
        EXPECT_EQ(outcome.status, 0) << outcome.errors;
    }
}

TEST_F(ARollingRecording, DeletesAPartAsSoonAsAllOfItIsOlder)
{
    Parts parts = new_parts(3 * second, second);
    struct Row
    {
        std::int64_t time; ///< seconds
        std::vector<std::int64_t> left;
    };

    for (const Row &row : {Row{0, {1}}, Row{1, {1, 2}}, Row{2, {1, 2, 3}}, Row{3, {1, 2, 3, 4}},
                           Row{4, {2, 3, 4, 5}}, Row{5, {3, 4, 5, 6}}}) {
        parts.roll(row.time * second);
        parts.deleteOld(row.time * second);
        EXPECT_EQ(this->parts(), row.left) << row.time << " s";
    }
}

TEST_F(ARollingRecording, OfAProcessThatWasKilledIsReadUpToItsLastWholeLine)
{
    struct Row
    {
        const char *name;
        std::string newest; ///< what the newest part holds
    };
    const std::string head = R"({"type":"scenario","version":2,"part":{"number":2,"begin":1000000,)"
                             R"("restored":0,"keep":60000000}})";
    const std::string device = "\n"
                               R"({"type":"device","at":0,"kind":1,"board":7,"info":""})"
                               "\n";
    for (const Row &row :
         {Row{"Nothing", ""}, Row{"HalfAFirstLine", head.substr(0, 30)}, Row{"NoNewline", head},
          Row{"HalfALine", head + device + R"({"type":"raw","at":5)"}}) {
        SCOPED_TRACE(row.name);
        Parts parts = new_parts(60 * second, second);
        parts.write(text(first + board + raw(1000, "0821000001000201")));
        std::ofstream(part(2)) << row.newest;

        const auto kept = capture::joinParts(parts.folder(), path("kept.jsonl"));

        EXPECT_EQ(kept.error, "");
        EXPECT_EQ(kept.reports, 1);
    }
}

TEST_F(ARollingRecording, LeavesThePartsOfTheProcessBefore)
{
    for (const char *const note_text : {"first process", "second process", "third process"})
        new_parts(60 * second, second).write(text(first + note(1, note_text)));

    const std::string before = capture::partsFolder(path("capture.jsonl")) + ".before";
    EXPECT_EQ(capture::joinParts(before, path("before.jsonl")).error, "");
    EXPECT_NE(read("before.jsonl").find("second process"), std::string::npos);
    EXPECT_EQ(read("before.jsonl").find("third process"), std::string::npos);
}

TEST_F(ARollingRecording, GivesALongCallTheTimeAtWhichItsPartBegins)
{
    Parts parts = new_parts(60 * second, second);
    parts.write(text(first + board));
    parts.beginNext(2 * second);

    parts.write(R"({"type":"call","at":500000,"thread":1,"export":"zorvicLock"})"
                "\n");

    std::ifstream in(part(2));
    std::string line;
    while (std::getline(in, line) && line.find("call") == std::string::npos) { }
    EXPECT_EQ(line, R"({"type":"call","at":0,"thread":1,"export":"zorvicLock"})");
}

TEST_F(ARollingRecording, TellsWhyNothingCanBeSaved)
{
    const auto nothing = capture::joinParts(path("nowhere"), path("kept.jsonl"));
    EXPECT_EQ(nothing.error, path("nowhere") + ":0: holds no parts of a recording");

    std::filesystem::create_directory(path("other"));
    write("other/000001.jsonl", text(first));
    const auto other = capture::joinParts(path("other"), path("kept.jsonl"));
    EXPECT_EQ(other.error, path("other/000001.jsonl") + ":1: is no part of a rolling recording");
    EXPECT_FALSE(std::filesystem::exists(path("kept.jsonl")));
}

TEST_F(ARollingRecording, SavesWhatWasThereWhenItWasAsked)
{
    std::vector<recorder::Keeping::Answer> answers;
    {
        recorder::Keeping keeping(path("capture.jsonl"), capture::Writer::Json::parse(text(first)),
                                  60 * second, second);
        keeping.write(text(first + board + raw(1000, "0821000001000201")));
        keeping.request({3, path("kept.jsonl")}, 2 * second);
        keeping.write(text(raw(1'900'000, "0821000001000201")));
        EXPECT_TRUE(keeping.step(2 * second, 1'950'000).empty()) << "a report may still come";
        keeping.write(text(raw(1'990'000, "0821000001000201")));
        while (answers.empty())
            answers = keeping.step(3 * second, 3 * second);
        keeping.write(text(raw(3'100'000, "0821000001000201")));
    }

    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers.front().reader, 3);
    const auto answer = nlohmann::json::parse(answers.front().line);
    EXPECT_EQ(answer["type"], "kept");
    EXPECT_EQ(answer["file"], path("kept.jsonl"));
    EXPECT_EQ(answer["reports"], 3);
    EXPECT_EQ(answer["time"], 1'990'000);
}

TEST_F(ARollingRecording, DeletesNothingThatIsStillToBeSaved)
{
    recorder::Keeping keeping(path("capture.jsonl"), capture::Writer::Json::parse(text(first)), 3 * second,
                              second);
    for (std::int64_t at = 0; at < 6 * second; at += second)
        keeping.step(at, at);
    const auto before = parts();
    keeping.request({0, path("kept.jsonl")}, 6 * second);

    keeping.step(9 * second, 5 * second); // what came last has not been written yet

    EXPECT_EQ(parts(), before);
}

TEST_F(ARollingRecording, FulfilsAllRequestsBeforeItEnds)
{
    {
        recorder::Keeping keeping(path("capture.jsonl"), capture::Writer::Json::parse(text(first)),
                                  60 * second, second);
        keeping.write(text(first + board + raw(1000, "0821000001000201")));
        for (const char *const name : {"a.jsonl", "b.jsonl", "c.jsonl"})
            keeping.request({0, path(name)}, second);
        keeping.step(second, second);
    }

    for (const char *const name : {"a.jsonl", "b.jsonl", "c.jsonl"})
        EXPECT_NE(read(name).find("0821000001000201"), std::string::npos) << name;
}
