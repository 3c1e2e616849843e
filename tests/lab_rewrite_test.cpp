#include "support/lab.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

using namespace lab_testing;

namespace {

/// Files of a test, and the commands on them.
class Rewriting : public testing::Test
{
protected:
    QString write(const QString &name, const QByteArray &text) const
    {
        QFile file(m_folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        return file.fileName();
    }
    QString path(const QString &name) const { return m_folder.filePath(name); }
    static std::string read(const QString &name)
    {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "missing";
    }
    static std::string text(const QByteArray &lines) { return lines.toStdString(); }

private:
    QTemporaryDir m_folder;
};

const QByteArray device_at_0 =
    "{\"type\":\"device\",\"at\":0,\"kind\":1,\"board\":7,\"info\":\"xp<4>\",\"plugged\":true}\n";
const QByteArray first_again = "{\"type\":\"scenario\",\"version\":2}\n";

class Cut : public Rewriting
{
};

class Join : public Rewriting
{
};

class Anonymise : public Rewriting
{
};

class Diff : public Rewriting
{
};

} // namespace

TEST_F(Cut, TakesTheBoardsAndTheContactsThatAreDownAlong)
{
    const QString file = write("a.jsonl",
                               first + board + raw(1000, "0821000001000201")
                                   + raw(2000, "0045830100020003 00") + raw(3000, "0046050100020003000400")
                                   + raw(500'000, "0821000002000201") + note(600'000, "here") + end(900'000));

    const Outcome outcome = lab({"cut", file, "--from", "0.4", "--to", "0.7"});

    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.output,
              text(first_again + device_at_0 + raw(0, "0821000001000201")
                   + raw(0, "0045830100020003 00").replace(" ", "") + raw(100'000, "0821000002000201")
                   + note(200'000, "here") + end(200'000)));
    EXPECT_EQ(lab({"check", "-"}, QByteArray::fromStdString(outcome.output)).status, 0);
}

TEST_F(Cut, GivesACallThatBeganBeforeThePartTheTimeOfItsBeginning)
{
    const QByteArray call = R"({"type":"call","at":%1,"export":"zorvicLock"})"
                            "\n";
    const QString file =
        write("a.jsonl", first + note(500'000, "here") + QByteArray(call).replace("%1", "300000"));

    const Outcome outcome = lab({"cut", file, "--from", "0.4"});

    EXPECT_EQ(outcome.output,
              text(first_again + note(100'000, "here") + QByteArray(call).replace("%1", "0") + end(100'000)));
}

TEST_F(Cut, KeepsAnUnpluggedBoardUnplugged)
{
    const QString file =
        write("a.jsonl",
              first + board + "{\"type\":\"unplug\",\"at\":10,\"board\":7}\n" + note(1'000'000, "here")
                  + "{\"type\":\"plug\",\"at\":1500000,\"board\":7}\n");

    const Outcome outcome = lab({"cut", file, "--from", "0.9"});

    EXPECT_EQ(outcome.output,
              text(first_again + QByteArray(device_at_0).replace("true", "false") + note(100'000, "here")
                   + "{\"type\":\"plug\",\"at\":600000,\"board\":7}\n" + end(600'000)));
}

TEST_F(Cut, RefusesAScenarioWhoseLinesHaveNoTimes)
{
    const QString file = write("a.jsonl", first + board + "{\"type\":\"wait\",\"time\":5}\n");

    const Outcome outcome = lab({"cut", file, "--from", "0", "--to", "1"});

    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.errors,
              file.toStdString() + ":3: a scenario with moves, waits or blocks cannot be cut\n");
}

TEST_F(Cut, LeavesTheFileThatItWouldReplaceIfItFails)
{
    const QString output = write("b.jsonl", "before");

    const Outcome outcome = lab({"cut", write("a.jsonl", first + "{}\n"), "-o", output});

    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(read(output), "before");
}

TEST_F(Join, PutsTheSecondBehindTheFirstAndLiftsWhatIsDown)
{
    const QString one = write("a.jsonl", first + board + raw(1000, "0821000001000201") + end(5000));
    const QString two = write("b.jsonl", first + board + raw(2000, "0821000003000201") + end(3000));

    const Outcome outcome = lab({"join", one, two});

    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.output,
              text(first_again + board + raw(1000, "0821000001000201") + raw(5000, "0821000001000200")
                   + raw(7000, "0821000003000201") + end(8000)));
}

TEST_F(Anonymise, LeavesOutWhatNamesAPersonOrAMachine)
{
    const QByteArray described =
        R"({"type":"scenario","version":2,"driver":{"path":"/home/ann/lib/libzorvicboardex.so.1","size":5},"user":"ann","host":"desk"})"
        "\n";
    const QByteArray with_serial =
        "{\"type\":\"device\",\"kind\":1,\"board\":7,\"info\":\"hid<true>serial<4711>xp<4>\"}\n";

    const Outcome outcome =
        lab({"anonymise", "-"}, described + with_serial + raw(5, "00") + note(6, "call Ann"));

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output,
              text(R"({"type":"scenario","version":2,"driver":{"path":"libzorvicboardex.so.1","size":5}})"
                   "\n"
                   + QByteArray(with_serial).replace("4711", "") + raw(5, "00")));
    EXPECT_EQ(outcome.errors, "lanternix-lab: 1 notes are left out; --notes keeps them\n");
}

TEST_F(Diff, FindsNoDifferenceButInTimesAndAddresses)
{
    const QByteArray call =
        R"({"type":"call","at":%1,"export":"zorvicSetCallback","arguments":{"board":7,"context":"0x%2"},"result":null})"
        "\n";
    const QByteArray one =
        first + board + raw(5, "00") + QByteArray(call).replace("%1", "9").replace("%2", "12");
    const QByteArray two =
        first + board + raw(500, "00") + QByteArray(call).replace("%1", "8").replace("%2", "34");

    const Outcome outcome = lab({"diff", write("a.jsonl", one), write("b.jsonl", two)});

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "no difference\n");
}

TEST_F(Diff, CountsWhatOneOfThemLacksAsOnePlace)
{
    QByteArray one = first + board;
    QByteArray two = first + board;
    for (int i = 10; i < 60; ++i) {
        const QByteArray report = raw(i, QByteArray::number(i).constData());
        one += report;
        if (i != 20 && i != 21 && i != 40)
            two += report;
    }
    const QString a = write("a.jsonl", one);
    const QString b = write("b.jsonl", two);

    const Outcome outcome = lab({"diff", a, b});

    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output,
              "the board differs first:\n  " + a.toStdString() + ":13: 0.000020 s: board 7 reports 20\n  "
                  + b.toStdString() + ":13: 0.000022 s: board 7 reports 22\n"
                  + "2 places in what the board sent, 0 in what the program answered\n");
}

TEST_F(Diff, PrintsOneJsonObjectOnRequest)
{
    const QString one = write("b.jsonl", first + board + raw(1000, "00") + raw(2000, "01"));
    const QString two = write("c.jsonl", first + board + raw(1000, "00"));

    const Outcome outcome = lab({"diff", "--json", one, two});

    EXPECT_EQ(outcome.status, 1);
    const auto object = nlohmann::json::parse(outcome.output);
    EXPECT_EQ(object["board"]["places"], 1);
    EXPECT_EQ(object["board"]["first"],
              nlohmann::json::parse(R"({"a":{"line":4,"at_s":0.002,"what":"board 7 reports 01"},"b":null})"));
    EXPECT_EQ(object["program"], nlohmann::json::parse(R"({"places":0,"first":null})"));
}

TEST_F(Diff, ComparesTimesOnRequest)
{
    const QString one = write("b.jsonl", first + board + raw(1000, "00") + raw(2000, "01"));
    const QString two = write("c.jsonl", first + board + raw(1000, "00") + raw(9000, "01"));

    EXPECT_EQ(lab({"diff", one, two}).status, 0);
    EXPECT_EQ(lab({"diff", one, two, "--times"}).status, 1);
    EXPECT_EQ(lab({"diff", one, two, "--times", "--tolerance", "8000"}).status, 0);
}
