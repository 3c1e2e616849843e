#include "support/driver_exports.h"
#include "support/simulated_driver.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Names = std::set<std::string>;

const Names all_functions(driver_exports.begin(), driver_exports.end());

std::string output_of(const std::string &command)
{
    std::string output;
    const std::unique_ptr<FILE, int (*)(FILE *)> pipe(popen(command.c_str(), "r"), &pclose);
    std::array<char, 4096> buffer;
    while (pipe && std::fgets(buffer.data(), static_cast<int>(buffer.size()), pipe.get()))
        output += buffer.data();
    return output;
}

std::string library(const std::string &folder)
{
    return SimulatedDriver::folder().toStdString() + "/../" + folder + "/libzorvicboardex.so.1";
}

Names exported(const std::string &folder)
{
    Names names;
    std::istringstream lines(output_of("nm -D --defined-only --format=posix " + library(folder)));
    for (std::string line; std::getline(lines, line);)
        names.insert(line.substr(0, line.find(' ')));
    return names;
}

struct Row
{
    std::string folder;
    std::vector<const char *> missing;
};

class ADriverLibrary : public testing::TestWithParam<Row>
{
};

std::string row_name(const testing::TestParamInfo<Row> &info)
{
    const std::string &folder = info.param.folder;
    return folder.substr(folder.find('/') + 1);
}

std::vector<Row> rows_without_one_function()
{
    std::vector<Row> rows;
    for (const char *const name : driver_exports)
        rows.push_back({std::string("variants/without_") + name, {name}});
    return rows;
}

} // namespace

TEST_P(ADriverLibrary, ExportsTheDriversFunctionsButThoseLeftOut)
{
    Names expected;
    for (const std::string &name : all_functions)
        expected.insert("zorvic" + name);
    for (const char *const name : GetParam().missing)
        EXPECT_EQ(expected.erase(std::string("zorvic") + name), 1u) << name;

    EXPECT_EQ(exported(GetParam().folder), expected);
}

TEST_P(ADriverLibrary, GoesByTheNameThatTheProgramOpens)
{
    const std::string dynamic = output_of("readelf -d " + library(GetParam().folder));

    EXPECT_NE(dynamic.find("soname: [libzorvicboardex.so.1]"), std::string::npos) << dynamic;
}

TEST_P(ADriverLibrary, HasNoSymbolThatKeepsItInMemory)
{
    const std::string symbols = output_of("readelf --wide --symbols " + library(GetParam().folder));

    EXPECT_NE(symbols.find("FUNC"), std::string::npos);
    EXPECT_EQ(symbols.find("UNIQUE"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Variants, ADriverLibrary,
    testing::Values(Row{"driver", {}}, Row{"hostile", {}},
                    Row{"variants/without_touch_destination",
                        {"SetTouchDestination", "SetTouchDestinationEx"}},
                    Row{"variants/without_pointing_device_destination",
                        {"SetPointingDeviceDestination", "SetPointingDeviceDestinationEx"}},
                    Row{"variants/without_callbacks", {"SetCallback", "ClearCallback", "SetPnpCallback"}},
                    Row{"variants/without_mode_setters",
                        {"SetTouchDestination", "SetTouchDestinationEx", "SetPointingDeviceDestination",
                         "SetPointingDeviceDestinationEx", "SetLATEDetection"}}),
    row_name);

INSTANTIATE_TEST_SUITE_P(SingleFunctions, ADriverLibrary, testing::ValuesIn(rows_without_one_function()),
                         row_name);

TEST(TheDriverLibraryWithoutAnything, ExportsNothing)
{
    EXPECT_EQ(all_functions.size(), 47u);
    EXPECT_EQ(exported("variants/without_anything"), Names());
    EXPECT_NE(output_of("readelf -d " + library("variants/without_anything")).find("[libzorvicboardex.so.1]"),
              std::string::npos);
}
