#include "support/lab_lines.h"
#include "support/terminal.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <stdexcept>

using namespace lab_testing;

namespace {

/// A recording in a folder of its own, whose lines are notes, which take longest to read.
class Recording
{
public:
    explicit Recording(int megabytes)
    {
        QFile file(name());
        if (!file.open(QIODevice::WriteOnly))
            throw std::runtime_error("the recording cannot be written");
        file.write(first + board);
        const QByteArray block = note(5, "here").repeated(1'000'000 / note(5, "here").size());
        for (int i = 0; i < megabytes; ++i)
            file.write(block);
    }

    QString name() const { return m_folder.filePath("a.jsonl"); }

private:
    QTemporaryDir m_folder;
};

const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();

} // namespace

TEST(AProgressBar, IsDrawnWhenASecondIsNotEnoughAndIsGoneAtTheEnd)
{
    const Recording recording(LONG_RECORDING);
    Terminal terminal({LANTERNIX_LAB, "check", recording.name()}, environment, {200, 10});

    EXPECT_TRUE(terminal.shows("..] ")) << terminal.picture();
    EXPECT_TRUE(
        terminal.eventually([&] { return terminal.picture().find(": good; ") != std::string::npos; }));
    EXPECT_EQ(terminal.exit_status(), 0);
    EXPECT_EQ(terminal.picture().find("%"), std::string::npos) << terminal.picture();
}

TEST(AProgressBar, IsNotDrawnForAShortTime)
{
    const Recording recording(0);
    Terminal terminal({LANTERNIX_LAB, "check", recording.name()}, environment, {200, 10});

    EXPECT_EQ(terminal.exit_status(), 0);
    EXPECT_EQ(
        terminal.written(),
        recording.name().toStdString()
            + ": good; 2 lines, 0 reports, 0 calls, 0 handed back, 0 lost, 0.000000 s, without an end\r\n");
}

struct CommandRow
{
    const char *name;
    const char *command; ///< for the shell; $0 is the program and $1 the recording
    bool isDrawn;
};

class WhileLinesArePrinted : public testing::TestWithParam<CommandRow>
{
};

TEST_P(WhileLinesArePrinted, TheBarIsDrawnUnlessItWouldStandBetweenThem)
{
    const Recording recording(LONG_RECORDING);
    Terminal terminal({"sh", "-c", QStringLiteral("%1; echo has ended").arg(GetParam().command),
                       LANTERNIX_LAB, recording.name()},
                      environment, {200, 10});

    EXPECT_EQ(terminal.shows(GetParam().isDrawn ? " %" : "has ended"), true) << terminal.picture();
    EXPECT_EQ(terminal.written().find(" %") != std::string::npos, GetParam().isDrawn);
}

INSTANTIATE_TEST_SUITE_P(, WhileLinesArePrinted,
                         testing::Values(CommandRow{"ShowToAFile", "$0 show $1 >/dev/null", true},
                                         CommandRow{"CutToAFile", "$0 cut $1 >/dev/null", true},
                                         CommandRow{"AnonymiseToAFile", "$0 anonymise --notes $1 -o $1.out",
                                                    true},
                                         CommandRow{"JoinToAFile", "$0 join $1 $1 >/dev/null", true},
                                         CommandRow{"ExportToAFile", "$0 export --csv $1 >/dev/null", true},
                                         CommandRow{"ExportToTheTerminal", "$0 export --csv $1", false},
                                         CommandRow{"Diff", "$0 diff $1 $1", true},
                                         CommandRow{"ErrorsToAFile", "$0 check $1 2>/dev/null", false}),
                         [](const auto &row) { return std::string(row.param.name); });
