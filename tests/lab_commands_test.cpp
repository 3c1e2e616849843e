#include "support/lab.h"

#include <gtest/gtest.h>

#include <string>

#include <nlohmann/json.hpp>

using namespace lab_testing;

struct UsageRow
{
    const char *name;
    QStringList arguments;
    const char *told;
};

class AWrongCommandLine : public testing::TestWithParam<UsageRow>
{
};

TEST_P(AWrongCommandLine, IsRefusedWithOneLineAndStatusTwo)
{
    const Outcome outcome = lab(GetParam().arguments);

    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors,
              std::string("lanternix-lab: ") + GetParam().told + "; see lanternix-lab --help\n");
}

INSTANTIATE_TEST_SUITE_P(, AWrongCommandLine,
                         testing::Values(UsageRow{"NoSubcommand", {}, "A subcommand is required"},
                                         UsageRow{
                                             "UnknownSubcommand", {"dance"}, "there is no subcommand dance"},
                                         UsageRow{"UnknownOption",
                                                  {"check", "--dance", "a"},
                                                  "The following argument was not expected: --dance"},
                                         UsageRow{"NoFile", {"check"}, "FILE is required"}),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(TheCommand, TellsItsVersion)
{
    const Outcome outcome = lab({"--version"});

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "lanternix-lab " LANTERNIX_VERSION "\n");
}

TEST(TheCommand, ExplainsItselfAndEachSubcommand)
{
    for (const QStringList &arguments :
         {QStringList{"--help"}, QStringList{"check", "--help"}, QStringList{"show", "-h"}}) {
        const Outcome outcome = lab(arguments);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_NE(outcome.output.find("Usage: "), std::string::npos) << outcome.output;
    }
}

class ASpeed : public testing::TestWithParam<const char *>
{
};

TEST_P(ASpeed, IsANumberAboveZeroOrMax)
{
    const Outcome outcome = lab({"replay", "--speed", GetParam(), "/nowhere/a.jsonl"});

    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.errors,
              std::string("lanternix-lab: \"") + GetParam() + "\" is neither a speed nor max\n");
}

INSTANTIATE_TEST_SUITE_P(, ASpeed, testing::Values("0", "-1", "nan", "inf", "fast", "2x"));

struct FileRow
{
    const char *name;
    QByteArray file;
    int status;
    const char *output;
    const char *errors;
};

class Check : public testing::TestWithParam<FileRow>
{
};

TEST_P(Check, SaysWhetherARecordingIsGood)
{
    const Outcome outcome = lab({"check", "-"}, GetParam().file);

    EXPECT_EQ(outcome.status, GetParam().status);
    EXPECT_EQ(outcome.output, GetParam().output);
    EXPECT_EQ(outcome.errors, GetParam().errors);
}

INSTANTIATE_TEST_SUITE_P(
    , Check,
    testing::Values(
        FileRow{"Empty", "", 1, "", "standard input:0: the scenario line is missing\n"},
        FileRow{"Whole", first + board + pen(5, 1) + "{\"type\":\"end\",\"at\":2500000}\n", 0,
                "-: good; 4 lines, 1 reports (1 pen), 0 calls, 0 handed back, 0 lost, 2.500000 s\n", ""},
        FileRow{"OfEveryKind",
                first + board + pen(5, 1)
                    + R"({"type":"raw","board":7,"at":6,"hex":"0045"})"
                      "\n"
                      R"({"type":"raw","board":7,"at":7,"hex":"ff"})"
                      "\n"
                      R"({"type":"call","at":8,"export":"Attach"})"
                      "\n"
                      R"({"type":"handback","at":8,"board":7,"hex":"0945"})"
                      "\n"
                      R"({"type":"lost","at":9,"count":30})"
                      "\n"
                      R"({"type":"lost","at":10,"count":12})"
                      "\n",
                0,
                "-: good; 9 lines, 3 reports (1 pen, 1 touch, 1 other), 1 calls, 1 handed back, 42 lost, "
                "0.000010 s, without an end\n",
                ""},
        FileRow{"WithAWrongLine", first + "{\"type\":\"dance\"}\n{\"type\":\"dance\"}\n", 1, "",
                "standard input:2: unknown type \"dance\"\n"},
        FileRow{"CutOff", first + board + "{\"type\":\"raw\",\"bo", 0,
                "-: good; 2 lines, 0 reports, 0 calls, 0 handed back, 0 lost, 0.000000 s, without an end\n",
                "standard input:3: cut off; read up to the line before\n"}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(ACheck, TellsAFileThatCannotBeRead)
{
    const Outcome outcome = lab({"check", "/nowhere/a.jsonl"});

    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.errors, "/nowhere/a.jsonl:0: cannot be opened: No such file or directory\n");
}

TEST(ACheck, PrintsOneJsonObjectOnRequest)
{
    const Outcome outcome = lab({"check", "--json", "-"}, first + board + pen(5, 1) + pen(1000000, 2));

    const auto object = nlohmann::json::parse(outcome.output);
    EXPECT_EQ(object["good"], true);
    EXPECT_EQ(object["reports"]["pen"], 2);
    EXPECT_EQ(object["duration_s"], 1.0);
}

struct ShowRow
{
    const char *name;
    QStringList arguments;
    const char *output;
};

class Show : public testing::TestWithParam<ShowRow>
{
protected:
    /// A pen that writes, while the program calls the driver and hands a report back.
    static QByteArray session()
    {
        return first + board + pen(100, 1, false) + pen(1000, 2) + pen(2000, 3) + pen(3000, 4)
            + R"({"type":"call","at":3500,"export":"zorvicGetDeviceCount","arguments":{},"result":2})"
              "\n"
            + pen(4000, 5)
            + R"({"type":"handback","at":4100,"board":7,"hex":"0945"})"
              "\n"
            + pen(5000, 5, false) + "{\"type\":\"note\",\"at\":6000,\"text\":\"here\"}\n";
    }
};

TEST_P(Show, PrintsWhatIsWanted)
{
    const Outcome outcome = lab(QStringList{"show", "-"} + GetParam().arguments, session());

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.output, GetParam().output);
}

INSTANTIATE_TEST_SUITE_P(
    , Show,
    testing::Values(
        ShowRow{"EverythingWithMotionFolded",
                {},
                "                recording of version 2\n"
                "                board 7  device of kind 1  xp<4>\n"
                "      0.000100  board 7  pen    2 hovering at 1,5\n"
                "      0.001000  board 7  pen    2 tip at 2,5\n"
                "      0.003000  board 7  pen    2 tip at 4,5  [2 reports of motion, 1000.0 a second]\n"
                "      0.003500  call   GetDeviceCount() = 2\n"
                "      0.004000  board 7  pen    2 tip at 5,5\n"
                "      0.004100  board 7  back to the system 0945\n"
                "      0.005000  board 7  pen    2 hovering at 5,5\n"
                "      0.006000  note   here\n"},
        ShowRow{"AllReports",
                {"--all", "--kind", "pen", "--from", "0.001", "--to", "0.003"},
                "      0.001000  board 7  pen    2 tip at 2,5\n"
                "      0.002000  board 7  pen    2 tip at 3,5\n"
                "      0.003000  board 7  pen    2 tip at 4,5\n"},
        ShowRow{"NoCalls",
                {"--no-calls", "--from", "0.0032", "--to", "0.0042"},
                "      0.004000  board 7  pen    2 tip at 5,5\n"
                "      0.004100  board 7  back to the system 0945\n"},
        ShowRow{"KindsTogether",
                {"--kind", "call", "--kind", "note"},
                "      0.003500  call   GetDeviceCount() = 2\n"
                "      0.006000  note   here\n"},
        ShowRow{"AnotherBoard", {"--board", "8"}, ""}, ShowRow{"AnotherContact", {"--contact", "3"}, ""},
        ShowRow{"OneContact",
                {"--contact", "2", "--to", "0.0005"},
                "      0.000100  board 7  pen    2 hovering at 1,5\n"}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(AShow, PrintsWhatItReadBeforeAWrongLine)
{
    const Outcome outcome = lab({"show", "-"}, first + "{\"type\":\"note\",\"text\":\"good\"}\n{}\n");

    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.output.find("note   good\n"), std::string::npos);
    EXPECT_EQ(outcome.errors, "standard input:3: field \"type\" is missing\n");
}

TEST(AShow, PrintsJsonWithTheContacts)
{
    const Outcome outcome =
        lab({"show", "-", "--json", "--kind", "touch"},
            first + board + "{\"type\":\"raw\",\"board\":7,\"at\":9,\"hex\":\"0045830100020003 00\"}\n");

    const auto object = nlohmann::json::parse(outcome.output);
    EXPECT_EQ(object["at"], 9);
    EXPECT_EQ(object["kind"], "touch");
    EXPECT_EQ(object["contacts"], nlohmann::json::parse(R"([{"id":3,"x":1,"y":2,"down":true,"extent":3}])"));
}

TEST(AShow, PrintsNothingThatATerminalWouldObey)
{
    const Outcome outcome =
        lab({"show", "-", "--kind", "note"}, first + note(5, "\\u001b[31mred\\nthe next line"));

    EXPECT_EQ(outcome.output, "      0.000005  note   ?[31mred?the next line\n");
}
