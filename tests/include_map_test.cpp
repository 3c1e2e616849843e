// scripts/include-map, on small projects of its layers' files.

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <ostream>
#include <string>
#include <vector>

namespace {

struct Answer
{
    int status;
    QByteArray out;
    QByteArray errors;
};

Answer include_map(const QStringList &arguments)
{
    QProcess process;
    process.start(INCLUDE_MAP, arguments);
    if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit)
        return {-1, {}, process.errorString().toUtf8()};
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

/// The files without suffix that the script's table of layers names.
QStringList rooms()
{
    QFile script(INCLUDE_MAP);
    EXPECT_TRUE(script.open(QFile::ReadOnly));
    const QString table = QString(script.readAll()).section("LAYERS = {", 1).section("\n}", 0, 0);
    QStringList names;
    const QRegularExpression list("\\[([^\\]]*)\\]");
    const QRegularExpression name("\"([^\"]*)\"");
    for (auto lists = list.globalMatch(table); lists.hasNext();) {
        const QString text = lists.next().captured(1);
        for (auto found = name.globalMatch(text); found.hasNext();)
            names << found.next().captured(1);
    }
    return names;
}

/// A project in a temporary folder with all files of the layers, without a fault and without a picture.
class IncludeMap : public testing::Test
{
protected:
    IncludeMap()
    {
        for (const QString &room : rooms())
            write(QString("src/%1.h").arg(room), "#pragma once\n");
        write("src/lxmain.cpp", "#include \"lxwindow.h\"\n");
        write("src/lxwindow.h", "#include \"strokesview.h\"\n");
        write("src/strokesview.h", "#include \"itemview.h\"\n#include \"strokeslayer.h\"\n");
        write("src/strokeslayer.h", "#include \"shortlines.h\"\n");
        write("src/itemview.h", "#include \"korvane.h\"\n");
        write("src/itemview.cpp", "#include \"itemview.h\"\n\n#include \"item.h\"\n");
        write("src/item.h", "#include \"korvane.h\"\n");
        write("src/item.cpp", "#include \"item.h\"\n\n#include \"itemview.h\"\n");
        write("src/eventitem.cpp", "#include \"item.h\"\n");
        write("src/korvane.h", "#include \"hardware/zorvichardware.h\"\n\n#include <QObject>\n");
        write("src/hardware/zorvichardware.h", "#include \"reportlayout.h\"\n#include \"vcd.h\"\n");
    }

    void write(const QString &name, const QByteArray &text)
    {
        QFile file(m_project.filePath(name));
        ASSERT_TRUE(QFileInfo(file).dir().mkpath("."));
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        ASSERT_EQ(file.write(text), text.size());
    }

    QByteArray picture() const
    {
        QFile file(m_project.filePath("docs/pictures/includes.svg"));
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }

    Answer draw() const { return include_map({"--root", m_project.path()}); }
    Answer check() const { return include_map({"--check", "--root", m_project.path()}); }

    const QTemporaryDir m_project;
};

const QByteArray outdated =
    "docs/pictures/includes.svg: does not show the includes as they are; run scripts/include-map\n";

TEST_F(IncludeMap, HasNothingToSayOfAFreshPicture)
{
    ASSERT_EQ(draw().status, 0);

    const Answer answer = check();

    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.errors.toStdString(), "");
}

TEST_F(IncludeMap, DrawsTheSamePictureAgain)
{
    ASSERT_EQ(draw().status, 0);
    const QByteArray first = picture();
    ASSERT_TRUE(first.contains("<title>Who includes whom in src/</title>"));
    write("docs/pictures/includes.svg", "");

    ASSERT_EQ(draw().status, 0);

    EXPECT_EQ(picture().toStdString(), first.toStdString());
}

TEST_F(IncludeMap, MissesAPicture)
{
    const Answer answer = check();

    EXPECT_EQ(answer.status, 1);
    EXPECT_EQ(answer.errors.toStdString(), outdated.toStdString());
    EXPECT_EQ(picture().toStdString(), "");
}

TEST_F(IncludeMap, FindsAPictureOutdatedThatLacksAnInclude)
{
    ASSERT_EQ(draw().status, 0);
    write("src/lxwindow.cpp", "#include \"lxwindow.h\"\n#include \"korvane.h\"\n");

    const Answer answer = check();

    EXPECT_EQ(answer.status, 1);
    EXPECT_EQ(answer.errors.toStdString(), outdated.toStdString());
}

TEST_F(IncludeMap, MissesAFileOfALayer)
{
    ASSERT_TRUE(QFile::remove(m_project.filePath("src/tagtext.h")));

    const Answer answer = check();

    EXPECT_EQ(answer.status, 1);
    EXPECT_EQ(answer.errors.toStdString(),
              "scripts/include-map: the layer \"items\" names src/tagtext, which does not exist\n");
}

struct FaultRow
{
    const char *name;
    const char *file;
    const char *text;
    std::string fault;
};

void PrintTo(const FaultRow &row, std::ostream *out)
{
    *out << row.name;
}

class AFault : public IncludeMap, public testing::WithParamInterface<FaultRow>
{
};

TEST_P(AFault, IsNamedByTheCheckAndKeepsThePictureFromBeingDrawn)
{
    write(GetParam().file, GetParam().text);

    for (const Answer &answer : {check(), draw()}) {
        EXPECT_EQ(answer.status, 1);
        EXPECT_EQ(answer.errors.toStdString(), GetParam().fault + '\n');
    }
    EXPECT_EQ(picture().toStdString(), "");
}

INSTANTIATE_TEST_SUITE_P(
    , AFault,
    testing::Values(
        FaultRow{"Upward", "src/korvane.cpp", "#include \"korvane.h\"\n#include \"item.h\"\n",
                 "src/korvane.cpp:2: \"item.h\" leads up from the layer \"input model\" to \"items\""},
        FaultRow{"UpwardToTheViewFromAnItemsHeader", "src/item.h", " # include \"itemview.h\" // spaces\n",
                 "src/item.h:1: \"itemview.h\" leads up from the layer \"items\" to \"views\""},
        FaultRow{"UpwardToTheViewFromAnotherItem", "src/eventitem.cpp", "#include \"itemview.h\"\n",
                 "src/eventitem.cpp:1: \"itemview.h\" leads up from the layer \"items\" to \"views\""},
        FaultRow{"FromBesideAll", "src/vcd.cpp", "#include \"vcd.h\"\n\n#include \"process.h\"\n",
                 "src/vcd.cpp:3: \"process.h\" is included from vcd, which stands beside all layers"},
        FaultRow{"ACircleOfThree", "src/shortlines.cpp", "#include \"strokesview.h\"\n",
                 "src/shortlines.cpp:1: \"strokesview.h\" closes a circle: "
                 "strokesview -> strokeslayer -> shortlines -> strokesview"},
        FaultRow{"NoSuchFile", "src/vcd.cpp", "#include \"vdc.h\"\n",
                 "src/vcd.cpp:1: \"vdc.h\" is no file of src/"},
        FaultRow{"AFileOutsideOfTheSources", "src/vcd.cpp", "#include \"../vcd.h\"\n",
                 "src/vcd.cpp:1: \"../vcd.h\" is no file of src/"},
        FaultRow{"AFileWithoutALayer", "src/hardware/usb.cpp", "#include \"zorvicwrapper.h\"\n",
                 "src/hardware/usb.cpp: belongs to no layer of scripts/include-map"}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(TheIncludeMapsArguments, AreExplainedOnRequestAndNothingElseIsDone)
{
    const QTemporaryDir empty;

    for (const char *help : {"--help", "-h"}) {
        const Answer answer = include_map({help, "--root", empty.path()});
        EXPECT_EQ(answer.status, 0);
        EXPECT_TRUE(answer.out.startsWith("Usage: scripts/include-map "));
        EXPECT_EQ(answer.errors.toStdString(), "");
    }
}

TEST(TheIncludeMapsArguments, AreRefusedInOneLineIfUnknownOrWrong)
{
    const QTemporaryDir empty;

    for (const QStringList &arguments : {QStringList{"--chec"}, QStringList{"file"}, QStringList{"--root"},
                                         QStringList{"--root", empty.path()}}) {
        const Answer answer = include_map(arguments);
        EXPECT_EQ(answer.status, 2);
        EXPECT_EQ(answer.errors.count('\n'), 1);
        EXPECT_TRUE(answer.errors.startsWith("scripts/include-map: "));
    }
}

} // namespace
