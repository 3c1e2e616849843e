#include "recorder/devices.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <sstream>
#include <string>
#include <vector>

using recorder::Devices;

namespace {

constexpr int board_kind = 1;

/// The program asks for each place of @p boards, where 0 stands for a place without a device.
void enumerate(Devices &devices, std::int64_t at, const std::vector<int> &boards)
{
    const int count = static_cast<int>(boards.size());
    devices.counted(at, count);
    for (int index = 0; index < count; ++index) {
        if (const int board = boards.at(static_cast<std::size_t>(index)); board > 0)
            devices.found(at, board_kind, board, "");
        devices.asked(at, index);
    }
}

struct Row
{
    const char *name;
    std::function<void(Devices &)> happens;
    std::vector<std::string> told; ///< lines that tell of devices, as "time type board"
};

class DevicesOfARecording : public testing::TestWithParam<Row>
{
};

} // namespace

TEST_P(DevicesOfARecording, AreToldOnceAndWhenTheyComeAndGo)
{
    capture::Writer writer;
    Devices devices(writer, true);

    GetParam().happens(devices);

    std::vector<std::string> told;
    std::istringstream lines(writer.text());
    for (std::string text; std::getline(lines, text);) {
        const auto line = nlohmann::json::parse(text);
        const std::string arrives = line.value("plugged", true) ? "" : " later";
        told.push_back(line["at"].dump() + " " + line["type"].get<std::string>() + " " + line["board"].dump()
                       + arrives);
    }
    EXPECT_EQ(told, GetParam().told);
}

INSTANTIATE_TEST_SUITE_P(, DevicesOfARecording,
                         testing::Values(Row{"OneEnumeration",
                                             [](Devices &devices) {
                                                 enumerate(devices, 5, {1, 2});
                                             },
                                             {"5 device 1", "5 device 2"}},
                                         Row{"TheSameAgain",
                                             [](Devices &devices) {
                                                 enumerate(devices, 5, {1, 2});
                                                 enumerate(devices, 6, {1, 2});
                                             },
                                             {"5 device 1", "5 device 2"}},
                                         Row{"TheCountAskedForBeforeEachDevice",
                                             [](Devices &devices) {
                                                 for (const int index : {0, 1}) {
                                                     devices.counted(5, 2);
                                                     devices.found(5, board_kind, index + 1, "");
                                                     devices.asked(5, index);
                                                 }
                                             },
                                             {"5 device 1", "5 device 2"}},
                                         Row{"TheLastDeviceFirst",
                                             [](Devices &devices) {
                                                 enumerate(devices, 5, {1, 2});
                                                 devices.change(6);
                                                 for (const int index : {1, 0}) {
                                                     devices.counted(7, 2);
                                                     devices.found(7, board_kind, index + 1, "");
                                                     devices.asked(7, index);
                                                 }
                                             },
                                             {"5 device 1", "5 device 2"}},
                                         Row{"OneThatGoes",
                                             [](Devices &devices) {
                                                 enumerate(devices, 5, {1, 2});
                                                 devices.change(6);
                                                 enumerate(devices, 7, {2});
                                             },
                                             {"5 device 1", "5 device 2", "6 unplug 1"}},
                                         Row{"OneThatGoesUnannounced",
                                             [](Devices &devices) {
                                                 enumerate(devices, 5, {1, 2});
                                                 enumerate(devices, 7, {2});
                                             },
                                             {"5 device 1", "5 device 2", "7 unplug 1"}},
                                         Row{"OneThatIsCountedButGone",
                                             [](Devices &devices) {
                                                 enumerate(devices, 5, {1, 2});
                                                 enumerate(devices, 7, {1, 0});
                                             },
                                             {"5 device 1", "5 device 2", "7 unplug 2"}},
                                         Row{"OneThatComesLater",
                                             [](Devices &devices) {
                                                 enumerate(devices, 5, {1});
                                                 devices.change(6);
                                                 enumerate(devices, 7, {1, 2});
                                             },
                                             {"5 device 1", "7 device 2 later", "6 plug 2"}},
                                         Row{"AnotherInItsPlace",
                                             [](Devices &devices) {
                                                 enumerate(devices, 5, {1});
                                                 devices.change(6);
                                                 enumerate(devices, 7, {2});
                                             },
                                             {"5 device 1", "7 device 2 later", "6 unplug 1", "6 plug 2"}},
                                         Row{"OneThatComesBack",
                                             [](Devices &devices) {
                                                 enumerate(devices, 5, {1});
                                                 enumerate(devices, 6, {});
                                                 enumerate(devices, 7, {1});
                                             },
                                             {"5 device 1", "6 unplug 1", "7 plug 1"}},
                                         Row{"AChangeDuringAnEnumeration",
                                             [](Devices &devices) {
                                                 enumerate(devices, 5, {1, 2});
                                                 devices.counted(6, 2);
                                                 devices.found(6, board_kind, 1, "");
                                                 devices.asked(6, 0);
                                                 devices.change(7);
                                                 enumerate(devices, 8, {2, 3});
                                             },
                                             {"5 device 1", "5 device 2", "8 device 3 later", "7 unplug 1",
                                              "7 plug 3"}},
                                         Row{"OneThatReportsUnasked",
                                             [](Devices &devices) { devices.reports(5, 9); },
                                             {"5 device 9"}},
                                         Row{"APlaceThatDoesNotExist",
                                             [](Devices &devices) {
                                                 enumerate(devices, 5, {1});
                                                 devices.asked(6, -1);
                                                 devices.asked(6, 1);
                                             },
                                             {"5 device 1"}}),
                         [](const auto &row) { return row.param.name; });
