#include "support/driver_exports.h"

#include "probe/missing.h"
#include "probe/places.h"
#include "probe/surroundings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <string>
#include <utility>
#include <vector>

TEST(ThePlaces, AreThoseOfTheLoaderInItsOrder)
{
    const std::string trace = "  9:\tfind library=libqt.so [0]; searching\n"
                              "  9:\t  trying file=/x/libqt.so\n"
                              "  9:\tfind library=libzorvicboardex.so.1 [0]; searching\n"
                              "  9:\t search path=/x:/y\t\t(LD_LIBRARY_PATH)\n"
                              "  9:\t  trying file=/x/libzorvicboardex.so.1\n"
                              "  9:\t  trying file=/y/libzorvicboardex.so.1\n"
                              "  9:\t search cache=/etc/ld.so.cache\n"
                              "  9:\t search path=/usr/lib\t\t(system search path)\n"
                              "  9:\t  trying file=/usr/lib/libzorvicboardex.so.1\n";

    std::vector<std::string> places;
    for (const probe::Place &place : probe::placesIn(trace, "/x:/gone-for-good:/y"))
        places.push_back(place.path + " " + place.why);

    EXPECT_EQ(places,
              (std::vector<std::string>{"/x/libzorvicboardex.so.1 LD_LIBRARY_PATH",
                                        "/gone-for-good/libzorvicboardex.so.1 LD_LIBRARY_PATH",
                                        "/y/libzorvicboardex.so.1 LD_LIBRARY_PATH",
                                        "/etc/ld.so.cache list of ldconfig",
                                        "/usr/lib/libzorvicboardex.so.1 system search path"}));
}

TEST(ThePermissions, AreThoseOfTheBoardsNodes)
{
    QTemporaryDir root;
    const auto add = [&root](const QString &path, const QByteArray &contents) {
        QDir(root.path()).mkpath(QFileInfo(path).path());
        QFile file(root.filePath(path));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(contents);
    };
    add("sys/class/hidraw/hidraw0/device/uevent", "HID_ID=0003:000004D8:000000A1\nHID_NAME=A Board\n");
    add("sys/class/hidraw/hidraw1/device/uevent", "HID_ID=0003:00001111:000000A1\nHID_NAME=A Mouse\n");
    add("dev/hidraw1", "");
    probe::Device device;
    device.kind = 1;
    device.vid = 0x04d8;
    device.pid = 0x00a1;
    using Permissions = std::vector<std::pair<std::string, std::string>>;

    const std::string folder = root.path().toStdString();

    EXPECT_EQ(probe::permissionsOf("", {device}, folder),
              (Permissions{{"/dev/hidraw0", "A Board: is not there"}}));
    EXPECT_EQ(probe::permissionsOf("", {}, folder),
              (Permissions{{"/dev/hidraw0", "A Board: is not there"},
                           {"/dev/hidraw1", "A Mouse: may be opened by you"}}));
}

TEST(TheVerdict, NamesAFileThatMayNotBeRead)
{
    probe::Answer answer;
    answer.places = {{"/a/libzorvicboardex.so.1", "LD_LIBRARY_PATH", "may not be read by you"}};
    answer.ending.kind = probe::Ending::Kind::refused;

    EXPECT_EQ(probe::verdictOf(answer).text,
              "make /a/libzorvicboardex.so.1 readable for everybody: you may not read it");
    EXPECT_FALSE(probe::verdictOf(answer).isReady);
}

TEST(TheVerdict, NamesANodeThatMayNotBeOpenedIfThereIsNoBoard)
{
    probe::Answer answer;
    answer.ending.kind = probe::Ending::Kind::whole;
    answer.permissions = {{"/dev/hidraw0", "A Board: may not be opened by you"}};

    EXPECT_EQ(probe::verdictOf(answer).text,
              "check the board's cable and power: the driver sees no board; if that does not help, your user "
              "may lack the permission for /dev/hidraw0");
}

TEST(TheVerdict, NamesANodeThatMayNotBeOpenedIfTheBoardIsSilent)
{
    probe::Answer answer;
    answer.ending.kind = probe::Ending::Kind::whole;
    answer.permissions = {{"/dev/hidraw0", "A Board: may not be opened by you"}};
    probe::Device device;
    device.kind = 1;
    device.board = 7;
    answer.devices = {device};
    answer.reports.listened = 5;

    EXPECT_EQ(
        probe::verdictOf(answer).text,
        "ready, but no report of board 7 came in 5.0 s: touch the board; if that does not help, your user "
        "may lack the permission for /dev/hidraw0");
    EXPECT_TRUE(probe::verdictOf(answer).isReady);
}

TEST(AMissingFunction, HasTheConsequenceThatTheDocumentTells)
{
    const std::regex row(R"(\| \d+ \| `(zorvic\w+)` \|.*\| ([^|]+) \|)");
    std::ifstream document(WIRE_FORMATS);
    std::size_t rows = 0;
    for (std::string line; std::getline(document, line);) {
        std::smatch cells;
        if (!std::regex_match(line, cells, row))
            continue;
        ++rows;
        EXPECT_EQ(probe::withoutFunction(cells[1]), cells[2]) << line;
    }
    EXPECT_EQ(rows, driver_exports.size());
}
