#include "accept/screens.h"
#include "accept/steps.h"

#include "e2e/lab_run.h"
#include "support/technician.h"
#include "support/terminal.h"

#include <QFile>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <algorithm>

using namespace acceptance;

namespace {

const QString first = R"({"type":"scenario","version":1})";
const QString board = R"({"type":"device","kind":1,"board":1,"info":"hid<true>xp<4>xt<10>xl<2>"})";

/// A recorded test in which what the person does waits, part by part, for next().
class Accepting : public testing::Test
{
protected:
    Accepting() : m_window(windowOfTheProgram())
    {
        m_person.frame = {{0, 0, 1920, 1080},
                          {m_window.x(), m_window.y(), m_window.width(), m_window.height()}};
    }

    /// Starts the test with a board that does @p parts.
    void start(const std::vector<std::string> &parts, const QStringList &options = {})
    {
        QStringList lines{first, board};
        for (std::size_t i = 0; i < parts.size(); ++i)
            lines << R"({"type":"wait","file":")" + gate(static_cast<int>(i)) + "\"}"
                  << QString::fromStdString(parts[i]).trimmed();
        const QString scenario = m_run.write("scenario.jsonl", lines);
        m_terminal = std::make_unique<Terminal>(
            QStringList{LANTERNIX_LAB, "accept", "--sim", scenario, "-o", m_run.path("a.html")} + options,
            m_run.environment("log.jsonl"), Terminal::Size{120, 50});
    }

    /// The person does the next part.
    void next() { m_run.write(QStringLiteral("gate%1").arg(m_next++), {}); }
    void press(const char *key) { m_run.desktop().press(key); }
    void type(const std::string &keys) { m_terminal->type(keys); }

    /// Whether the dialogue says so, behind what it has said before.
    testing::AssertionResult says(const std::string &text)
    {
        const bool isSaid = m_terminal->eventually(
            [&] { return m_terminal->written().find(text, m_read) != std::string::npos; });
        if (!isSaid)
            return testing::AssertionFailure() << "it says\n" << m_terminal->written().substr(m_read);
        m_read = m_terminal->written().find(text, m_read) + text.size();
        return testing::AssertionSuccess();
    }

    /// Whether the recording holds these words, or comes to hold them.
    testing::AssertionResult recorded(const std::string &words)
    {
        const auto holds = [&] {
            const auto lines = m_run.lines("a.jsonl");
            return std::any_of(lines.begin(), lines.end(), [&](const std::string &line) {
                return line.find(words) != std::string::npos;
            });
        };
        return eventually(holds) ? testing::AssertionSuccess()
                                 : testing::AssertionFailure() << "not recorded";
    }

    std::string text(const QString &name) const
    {
        QFile file(m_run.path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "missing";
    }

    QString gate(int part) const { return m_run.path(QStringLiteral("gate%1").arg(part)); }

    LabRun m_run;
    const QRect m_window; ///< the content of the program's window on this desktop
    Technician m_person;
    std::unique_ptr<Terminal> m_terminal;

private:
    /// Every start of the program gives its window the same place.
    QRect windowOfTheProgram()
    {
        QProcess lab;
        m_run.start(lab,
                    {"record", "-o", m_run.path("none.jsonl"), "--sim", m_run.write("none", {first, board})},
                    "none.log");
        EXPECT_TRUE(eventually([this] { return m_run.desktop().window_area().width() > 1000; }));
        const QRect area = m_run.desktop().window_area();
        m_run.desktop().press("Escape");
        EXPECT_TRUE(lab.waitForFinished());
        return area;
    }

    int m_next = 0;
    std::size_t m_read = 0;
};

/// A line behind which all that the board has done before has reached the dialogue: the recorder sends what
/// it writes before it writes what comes this much later.
const std::string later = wait(0.5) + R"({"type":"raw","board":1,"hex":"fe ed"})";

} // namespace

TEST_F(Accepting, LeadsThroughAllStepsToAVerdict)
{
    const Frame &frame = m_person.frame;
    start({m_person.rest(), m_person.tapTargets(), m_person.follow(barCourses(frame)),
           m_person.follow(gridCourses(frame)), m_person.follow(diagonalCourses(frame)),
           m_person.putFingers(10), m_person.drum(), m_person.write(0, {{5000, 5000}, {9000, 9000}}) + later,
           m_person.wipe({{5000, 5000}, {20000, 5000}}), m_person.replug() + m_person.tap({9000, 9000})});

    ASSERT_TRUE(says("The content of the window, below its title, is " + textOf(frame.window)));
    const char *const keys[] = {"h", "s", "Left", "g", nullptr, "g", nullptr, nullptr, nullptr, nullptr};
    for (std::size_t i = 0; i < std::size(keys); ++i) {
        ASSERT_TRUE(says("Step " + std::to_string(i + 1) + " of 10: "));
        if (keys[i])
            press(keys[i]);
        next();
        if (steps()[i].key == std::string("writing")) {
            ASSERT_TRUE(recorded("\"feed\""));
            type("\n");
        }
        ASSERT_TRUE(says("  Right."));
        type("\n");
    }

    EXPECT_TRUE(says("Accepted: all 10 steps are right."));
    EXPECT_EQ(m_terminal->exit_status(), 0);
    EXPECT_NE(m_terminal->written().find('\a'), std::string::npos);
    EXPECT_TRUE(says("page " + m_run.path("a.html").toStdString() + ", recording "
                     + m_run.path("a.jsonl").toStdString()));
    EXPECT_TRUE(recorded("accept: plugging ends"));
    const std::string page = text("a.html");
    for (const char *const part : {"Accepted: all 10 steps are right.", "<td>Two fingers in turn</td>",
                                   "Map of distortion", "class=\"signature\"", "<h2>Figures</h2>"})
        EXPECT_NE(page.find(part), std::string::npos) << part;
}

TEST_F(Accepting, RepeatsSkipsAndQuits)
{
    start({m_person.rest(1) + later, m_person.rest()});

    ASSERT_TRUE(says("Step 1 of 10: "));
    next();
    ASSERT_TRUE(recorded("\"feed\""));
    type("\n");
    ASSERT_TRUE(says("NOT RIGHT: The finger was not there for five seconds."));
    type("r\n");
    ASSERT_TRUE(says("Step 1 of 10: "));
    next();
    ASSERT_TRUE(says("  Right."));
    type("\n");
    ASSERT_TRUE(says("Step 2 of 10: "));
    type("s\n");
    ASSERT_TRUE(says("Step 3 of 10: "));
    type("q\n");

    EXPECT_TRUE(says("Not complete: 9 of 10 steps were skipped."));
    EXPECT_EQ(m_terminal->exit_status(), 1);
    EXPECT_NE(text("a.html").find("Tried 2 times"), std::string::npos);
}

TEST_F(Accepting, EndsWithTheProgram)
{
    start({});
    ASSERT_TRUE(says("Step 1 of 10: "));

    press("Escape");

    EXPECT_TRUE(says("Not complete: 10 of 10 steps were skipped."));
    EXPECT_EQ(m_terminal->exit_status(), 1);
}

TEST_F(Accepting, PrintsTheOutcomeAsJsonForAScript)
{
    const QString scenario = m_run.write("scenario.jsonl", {first, board});
    QProcess lab;
    m_run.start(lab,
                {"accept", "--json", "--sim", scenario, "-o", m_run.path("page.html"), "--recording",
                 m_run.path("a.jsonl"), "--window", "800x600+10+20", "--size", "1650x930", "--profile",
                 "board", "--fingers", "4"},
                "log.jsonl");
    lab.write("s\ns\ns\ns\ns\n\n");
    lab.closeWriteChannel();

    ASSERT_TRUE(lab.waitForFinished());
    EXPECT_EQ(lab.exitCode(), 1);
    const QByteArray told = lab.readAllStandardError();
    EXPECT_TRUE(told.contains("is 800 x 600 pixels at 10, 20, of a screen of 1920 x 1080."))
        << told.toStdString();
    EXPECT_TRUE(told.contains("Put 4 fingers down"));
    const auto json = nlohmann::json::parse(lab.readAllStandardOutput().toStdString());
    EXPECT_EQ(json["verdict"], "wrong");
    EXPECT_EQ(json["unit"], "mm");
    EXPECT_EQ(json["skipped"], 9);
    EXPECT_EQ(json["page"], m_run.path("page.html").toStdString());
    EXPECT_EQ(json["recording"], m_run.path("a.jsonl").toStdString());
    EXPECT_NE(text("page.html").find("of the profile board"), std::string::npos);
    EXPECT_EQ(json["steps"][5]["result"], "wrong") << "Enter without a finger";
}

TEST_F(Accepting, SaysWhatIsAGuessAndWhatIsMissing)
{
    QProcess lab;
    QProcessEnvironment environment = m_run.environment("log.jsonl");
    environment.remove("DISPLAY");
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    lab.setProcessEnvironment(environment);
    lab.start(LANTERNIX_LAB,
              {"accept", "--sim", m_run.write("scenario.jsonl", {first}), "-o", m_run.path("a.html")});
    lab.write("q\n");
    lab.closeWriteChannel();

    ASSERT_TRUE(lab.waitForFinished());
    const QByteArray told = lab.readAllStandardOutput();
    EXPECT_TRUE(told.contains("No board is connected.")) << told.toStdString();
    EXPECT_TRUE(told.contains("This is a guess.")) << told.toStdString();
    EXPECT_TRUE(told.contains("Not complete: 10 of 10 steps were skipped.")) << told.toStdString();
}

TEST_F(Accepting, IsRefusedBeforeItBeginsIfThePageCannotBeWritten)
{
    const QString scenario = m_run.write("scenario.jsonl", {first, board});
    QProcess lab;
    m_run.start(lab,
                {"accept", "--sim", scenario, "-o", m_run.path("missing/a.html"), "--recording",
                 m_run.path("a.jsonl")},
                "log.jsonl");

    ASSERT_TRUE(lab.waitForFinished());
    EXPECT_EQ(lab.exitCode(), 2);
    EXPECT_EQ(lab.readAllStandardError().toStdString(),
              m_run.path("missing/a.html").toStdString()
                  + ":0: cannot be written: No such file or directory\n");
    EXPECT_EQ(text("a.jsonl"), "missing") << "the program was not started";
}

struct Row
{
    const char *name;
    QStringList options;
    const char *complaint;
};

class AWrongOption : public testing::TestWithParam<Row>
{
};

TEST_P(AWrongOption, IsRefused)
{
    QProcess lab;
    lab.start(LANTERNIX_LAB, QStringList{"accept"} + GetParam().options);

    ASSERT_TRUE(lab.waitForFinished());
    EXPECT_EQ(lab.exitCode(), 2);
    EXPECT_EQ(lab.readAllStandardError().toStdString(), GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    Accepting, AWrongOption,
    testing::Values(
        Row{"Window", {"--window", "large"}, "lanternix-lab: \"large\" is no area such as 1920x1060+0+20\n"},
        Row{"Size",
            {"--size", "1650"},
            "lanternix-lab: --size 1650 is no size in millimetres such as 1660x934\n"},
        Row{"OneFile",
            {"-o", "a.jsonl"},
            "lanternix-lab: the page and the recording cannot be the same file\n"}),
    [](const auto &row) { return std::string(row.param.name); });
