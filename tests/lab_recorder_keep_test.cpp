#include "support/lab.h"
#include "support/recording.h"

#include <gtest/gtest.h>

#include <clocale>
#include <csignal>
#include <optional>
#include <string>
#include <vector>

using namespace driver_testing;
using lab_testing::lab;
using lab_testing::Outcome;

namespace {

namespace fs = std::filesystem;

int own_signals = 0;
void own_handler(int)
{
    ++own_signals;
}

/// A rolling recording of a program whose runtime folder is that of the test.
class ARollingRecording : public ARecording
{
protected:
    ARollingRecording()
    {
        setenv("XDG_RUNTIME_DIR", path("run").c_str(), 1);
        fs::create_directories(path("run/lanternix"));
    }
    ~ARollingRecording() override
    {
        close();
        std::signal(SIGUSR1, SIG_DFL);
        unsetenv("LD_LIBRARY_PATH");
    }

    void keep(const char *seconds)
    {
        setenv("BOARDREC_KEEP", seconds, 1);
        setenv("BOARDREC_SOCKET", path("run/lanternix/recording-1.sock").c_str(), 1);
        record();
    }
    /// Files in the test's folder that a recording was saved to.
    std::vector<std::string> saved() const
    {
        std::vector<std::string> files;
        for (const fs::directory_entry &entry : fs::directory_iterator(path("")))
            if (entry.path().filename().string().rfind("capture-kept-", 0) == 0
                && entry.path().extension() == ".jsonl")
                files.push_back(entry.path().string());
        return files;
    }
    static QString text(const std::string &text) { return QString::fromStdString(text); }
};

const std::string three_reports =
    raw(1, "0821000102030405") + raw(1, "0045830100020003 00") + raw(1, "ff") + mark("sent");

/// One that goes on and has had three reports.
class ARollingRecordingOfThreeReports : public ARollingRecording
{
protected:
    ARollingRecordingOfThreeReports()
    {
        use(gate() + three_reports);
        keep("60");
        m_attached.emplace(*this);
        receive(1, m_receiver);
        open_gate();
        EXPECT_TRUE(m_receiver.has(3));
    }

private:
    Receiver m_receiver;
    std::optional<Attached> m_attached;
};

} // namespace

/// The program has set its locale, as Qt does when it begins.
class ARollingRecordingInALocale : public ARollingRecording, public testing::WithParamInterface<const char *>
{
protected:
    ARollingRecordingInALocale()
    {
        EXPECT_NE(std::setlocale(LC_ALL, GetParam()), nullptr) << "not installed";
    }
    ~ARollingRecordingInALocale() override { std::setlocale(LC_ALL, "C"); }
};

TEST_P(ARollingRecordingInALocale, IsSavedWithSigusr1)
{
    use(gate() + three_reports);
    Receiver receiver;
    testing::internal::CaptureStderr();
    keep("60");
    {
        const Attached attached(*this);
        receive(1, receiver);
        open_gate();
        EXPECT_TRUE(receiver.has(3));

        raise(SIGUSR1);

        EXPECT_TRUE(eventually([&] { return !saved().empty(); }));
    }
    close();

    const Outcome outcome = lab({"check", "--json", text(saved().front())});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(nlohmann::json::parse(outcome.output)["reports"],
              nlohmann::json::parse(R"({"pen":1,"touch":1,"erase":0,"status":0,"other":1})"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), saved().front() + ": the last 0.0 s have been saved\n");
    EXPECT_FALSE(fs::exists(capture_path()));
}

INSTANTIATE_TEST_SUITE_P(Each, ARollingRecordingInALocale, testing::Values("C", "fr_FR.UTF-8", "ja_JP.UTF-8"),
                         [](const auto &row) { return std::string(row.param, row.param[0] == 'C' ? 1 : 2); });

TEST_F(ARollingRecording, LeavesAHandlerOfTheProgramAlone)
{
    use("");
    own_signals = 0;
    std::signal(SIGUSR1, own_handler);
    keep("60");

    raise(SIGUSR1);
    close();

    EXPECT_EQ(own_signals, 1);
    EXPECT_EQ(std::signal(SIGUSR1, SIG_DFL), own_handler);
    EXPECT_TRUE(saved().empty());
}

TEST_F(ARollingRecording, LeavesTheSignalAsItWas)
{
    use("");
    keep("60");
    close();

    EXPECT_EQ(std::signal(SIGUSR1, SIG_DFL), SIG_DFL);
}

TEST_F(ARollingRecordingOfThreeReports, IsSavedByTheCommand)
{
    const Outcome outcome = lab({"keep", "--json", "-o", text(path("kept.jsonl"))});

    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    const auto answer = nlohmann::json::parse(outcome.output);
    EXPECT_EQ(answer["file"], path("kept.jsonl"));
    EXPECT_EQ(answer["reports"], 3);
    EXPECT_EQ(lab({"check", text(path("kept.jsonl"))}).status, 0);
}

TEST_F(ARollingRecordingOfThreeReports, IsPutIntoABundle)
{
    const QString bundle = text(path("bundle.tar.zst"));

    EXPECT_EQ(lab({"bundle", "--yes", "--seconds", "0", "-o", bundle}).status, 0);

    QProcess tar;
    tar.start("tar", {"--zstd", "-xOf", bundle, "lanternix-bundle/recording.jsonl"});
    ASSERT_TRUE(tar.waitForFinished());
    const Outcome outcome = lab({"check", "--json", "-"}, tar.readAllStandardOutput());
    EXPECT_EQ(nlohmann::json::parse(outcome.output)["reports"],
              nlohmann::json::parse(R"({"pen":1,"touch":1,"erase":0,"status":0,"other":1})"));
}

TEST_F(ARollingRecording, IsNamedAfterTheRecordingAndTheTimeByDefault)
{
    use("");
    keep("60");

    const Outcome outcome = lab({"keep"});

    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    ASSERT_EQ(saved().size(), 1U);
    EXPECT_EQ(outcome.output, saved().front() + ": 0 reports, 0.0 s\n");
}

TEST_F(ARollingRecording, SaysWhyItCannotBeSaved)
{
    use("");
    testing::internal::CaptureStderr();
    keep("60");

    const Outcome outcome = lab({"keep", "-o", "/nowhere/kept.jsonl"});

    testing::internal::GetCapturedStderr();
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.errors,
              "lanternix-lab: /nowhere/kept.jsonl:0: cannot be written: No such file or directory\n");
}

TEST_F(ARollingRecording, IsOneOnlyIfItWasAskedFor)
{
    use("");
    setenv("BOARDREC_SOCKET", path("run/lanternix/recording-1.sock").c_str(), 1);
    record();

    const Outcome outcome = lab({"keep"});

    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.errors, "lanternix-lab: the recording is not a rolling one\n");
}

TEST_F(ARollingRecording, KeepsEverythingIfTheTimeMakesNoSense)
{
    use("");
    testing::internal::CaptureStderr();
    keep("60 s");
    close();

    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "recorder: BOARDREC_KEEP is no number of seconds: \"60 s\"; all is recorded\n");
    EXPECT_EQ(lines().back()["type"], "end");
}

TEST_F(ARollingRecording, IsSavedBehindTheSocketOfAKilledOne)
{
    use("");
    std::ofstream(path("run/lanternix/recording-2.sock")); // nobody listens there
    keep("60");
    std::ofstream(path("run/lanternix/recording-3.sock"));

    EXPECT_EQ(lab({"keep"}).status, 0);
}

TEST_F(ARollingRecording, IsMadeOfThePartsThatAKilledProgramHasLeft)
{
    use(raw(1, "0821000001000201") + endless(1));
    setenv("BOARDREC_KEEP", "60", 1);
    setenv("BOARDREC_DRIVER", (SimulatedDriver::folder() + "/libzorvicboardex.so.1").toUtf8(), 1);
    setenv("BOARDREC_CAPTURE", capture_path().c_str(), 1);
    setenv("LD_LIBRARY_PATH", LANTERNIX_RECORDER_FOLDER, 1);
    QProcess program;
    program.start(BOARD_PROGRAM, QStringList());
    const std::string part = capture_path() + ".parts/000001.jsonl";
    EXPECT_TRUE(eventually([&] { return fs::exists(part) && fs::file_size(part) > 20'000; }));
    program.kill();
    program.waitForFinished();

    const Outcome outcome = lab({"keep", text(capture_path())});

    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_GT(lines("raw").size(), 100U);
    EXPECT_EQ(lines().back()["type"], "end");
    EXPECT_EQ(lab({"check", text(capture_path())}).status, 0);
    const std::string again = lab({"keep", "-o", "-", text(capture_path())}).output;
    EXPECT_EQ(lab({"check", "-"}, QByteArray::fromStdString(again)).status, 0);
    EXPECT_EQ(lab({"keep", text(capture_path())}).errors,
              capture_path() + ":0: exists already; -o FILE names another one\n");
}

TEST_F(ARollingRecording, BecomesOneFileWhenTheProgramThatWasStartedEnds)
{
    use(endless(1));

    const Outcome outcome = lab({"record", "--sim", text(path("scenario.jsonl")), "--keep", "0.2", "-o",
                                 text(capture_path()), "--", BOARD_PROGRAM, "500"});

    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    const auto reports = lines("raw");
    EXPECT_GT(reports.size(), 50U);
    EXPECT_LT(reports.size(), 400U);
    EXPECT_LE(reports.back()["at"], 200'000);
    EXPECT_NE(outcome.output.find(std::to_string(reports.size()) + " reports"), std::string::npos)
        << outcome.output;
    EXPECT_FALSE(fs::exists(capture_path() + ".parts"));
}
