#include "support/driver_exports.h"
#include "support/recording.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <set>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>

using namespace driver_testing;

namespace {

const std::vector<std::string> export_names(driver_exports.begin(), driver_exports.end());

QString folder_without(const std::string &function)
{
    return SimulatedDriver::folder() + "/../variants/without_" + QString::fromStdString(function);
}

} // namespace

TEST_F(ARecording, OffersWhatTheRealDriverHas)
{
    record();

    for (const std::string &name : export_names)
        EXPECT_TRUE(has(name)) << name;
}

class ARecordingOfADriverWithoutOneFunction : public ARecording,
                                              public testing::WithParamInterface<std::string>
{
};

TEST_P(ARecordingOfADriverWithoutOneFunction, LacksThatFunctionOnly)
{
    record(folder_without(GetParam()));

    for (const std::string &name : export_names)
        EXPECT_EQ(has(name), name != GetParam()) << name;
}

INSTANTIATE_TEST_SUITE_P(, ARecordingOfADriverWithoutOneFunction, testing::ValuesIn(export_names),
                         [](const auto &row) { return row.param; });

TEST_F(ARecording, ClosesTheRealDriverWhenItIsUnloaded)
{
    const std::string driver = SimulatedDriver::folder().toStdString() + "/libzorvicboardex.so.1";
    record_driver(driver);
    void *const loaded = dlopen(driver.c_str(), RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(loaded, nullptr);
    dlclose(loaded);

    close();

    EXPECT_EQ(dlopen(driver.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
}

TEST_F(ARecording, OffersNothingWithoutADriver)
{
    testing::internal::CaptureStderr();
    record_driver("/nowhere/libzorvicboardex.so.1");

    for (const std::string &name : export_names)
        EXPECT_FALSE(has(name)) << name;
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "recorder: /nowhere/libzorvicboardex.so.1: cannot open shared object file: No such file or "
              "directory\n");
    EXPECT_FALSE(std::filesystem::exists(capture_path()));
}

TEST_F(ARecording, DoesNotTakeABareNameForTheDriver)
{
    testing::internal::CaptureStderr();
    record_driver("libzorvicboardex.so.1");

    EXPECT_FALSE(has("Attach"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "recorder: BOARDREC_DRIVER does not name the driver by an absolute path: "
              "\"libzorvicboardex.so.1\"\n");
}

TEST_F(ARecording, HoldsEveryReportThatTheProgramGot)
{
    use(gate() + raw(1, "0821000102030405") + raw(1, "0045830100020003") + raw(1, "ff") + mark("sent"));
    Receiver receiver;
    record();
    {
        const Attached attached(*this);
        receive(1, receiver);
        open_gate();
        EXPECT_TRUE(receiver.has(3));
    }
    close();

    EXPECT_EQ(recorded_reports(), logged_reports());
    EXPECT_EQ(recorded_reports().size(), 3U);
    for (const nlohmann::json &line : lines("raw"))
        EXPECT_GT(line["inside"], 0);
}

TEST_F(ARecording, HandsArgumentsAndResultsOn)
{
    use(gate());
    Receiver receiver;
    record();
    {
        const Attached attached(*this);
        receive(1, receiver);
        EXPECT_EQ(device_count(), 2);
        EXPECT_EQ(write(1, ":PN0"), 4);
        EXPECT_EQ(write(9, ":PN0"), -1);
        forget(1, receiver);
    }
    close();

    std::vector<nlohmann::json> driver_calls; // as the driver got them
    for (const nlohmann::json &record : log()) {
        if (record.contains("export") && record["export"] != "zorvicLibraryVersionNumber")
            driver_calls.push_back({record["export"], record["result"]});
    }
    std::vector<nlohmann::json> recorded;
    for (const nlohmann::json &line : lines("call"))
        recorded.push_back({line["export"], line["result"]});
    EXPECT_EQ(recorded, driver_calls);
}

TEST_F(ARecording, TellsCallsAsTheProgramMadeThem)
{
    use(gate());
    record();
    {
        const Attached attached(*this);
        write(1, std::string(":Q\0\xff", 4));
        call<int(int, const char *)>("zorvicSendCommand", 9, ":VL1\r");
    }
    close();

    const auto calls = lines("call");
    ASSERT_EQ(calls.size(), 4U);
    EXPECT_EQ(calls[1]["arguments"], nlohmann::json({{"board", 1}, {"data", "3a5100ff"}, {"length", 4}}));
    EXPECT_EQ(calls[1]["result"], 4);
    EXPECT_EQ(calls[1]["thread"], gettid());
    EXPECT_EQ(calls[2]["arguments"], nlohmann::json({{"board", 9}, {"command", ":VL1\r"}}));
    EXPECT_EQ(calls[2]["result"], -1);
}

TEST_F(ARecording, TellsWhatGoesBackToTheSystemAndWhatItMeans)
{
    use(gate());
    record();
    {
        const Attached attached(*this);
        const unsigned char touch[] = {9, 0x45, 0x83, 1, 0, 2, 0, 0, 0};
        call<void(int, int, const unsigned char *)>("zorvicSendTouchPacketToSystem", 1, 9, touch);
    }
    close();

    const auto handbacks = lines("handback");
    ASSERT_EQ(handbacks.size(), 1U);
    EXPECT_EQ(handbacks[0]["hex"], "094583010002000000");
    EXPECT_EQ(handbacks[0]["kind"], "touch");
    EXPECT_EQ(handbacks[0]["contacts"], nlohmann::json::parse(R"([{"id":3,"x":1,"y":2,"down":true}])"));
}

TEST_F(ARecording, IsPlayedAsItWasRecorded)
{
    // Played again, the first report still has to come after the program has registered its callback.
    use("{\"type\":\"wait\",\"time\":500000}\n" + raw(1, "0821000102030405")
        + "{\"type\":\"wait\",\"time\":20000}\n" + raw(1, "0046"));
    Receiver receiver;
    record();
    {
        const Attached attached(*this);
        for (int i = 0; i < device_count(); ++i) {
            _ZORVIC_DEVICE_INFO info{};
            info.size = _ZORVIC_DEVICE_INFO::sizeMarker;
            call<unsigned char(int, _ZORVIC_DEVICE_INFO *)>("zorvicEnumDeviceInfo", i, &info);
        }
        receive(1, receiver);
        EXPECT_TRUE(receiver.has(2));
    }
    close();
    setenv("BOARDSIM_SCENARIO", capture_path().c_str(), 1);

    open();
    Receiver replayed;
    const Attached attached(*this);
    EXPECT_EQ(device_count(), 2);
    receive(1, replayed);
    EXPECT_TRUE(replayed.has(2));
    EXPECT_EQ(replayed.reports(), receiver.reports());
}

TEST_F(ARecording, DescribesItself)
{
    use("");
    record();
    close();

    const nlohmann::json first = lines().front();
    EXPECT_EQ(first["type"], "scenario");
    EXPECT_EQ(first["version"], 2);
    EXPECT_EQ(first["driver"]["version"], nlohmann::json({1, 0, 0, 1}));
    EXPECT_EQ(first["driver"]["exports"].size(), export_names.size());
    EXPECT_EQ(first["driver"]["sha256"].get<std::string>().size(), 64U);
    EXPECT_FALSE(first.contains("user"));
    EXPECT_FALSE(first.contains("host"));
    EXPECT_EQ(lines().back()["type"], "end");
}

TEST_F(ARecording, KeepsSerialNumbersToItselfUnlessAsked)
{
    write_scenario("{\"type\":\"scenario\",\"version\":1}\n"
                   "{\"type\":\"device\",\"kind\":1,\"board\":1,\"info\":\"hid<true>serial<4711>xp<4>\"}\n");
    for (const bool identify : {false, true}) {
        if (identify)
            setenv("BOARDREC_IDENTIFY", "1", 1);
        record();
        {
            const Attached attached(*this);
            EXPECT_EQ(device_count(), 1);
            _ZORVIC_DEVICE_INFO info{};
            info.size = _ZORVIC_DEVICE_INFO::sizeMarker;
            call<unsigned char(int, _ZORVIC_DEVICE_INFO *)>("zorvicEnumDeviceInfo", 0, &info);
            EXPECT_STREQ(info.additionalInfo, "hid<true>serial<4711>xp<4>") << "the program gets it whole";
        }
        close();
        EXPECT_EQ(lines("device").front()["info"],
                  identify ? "hid<true>serial<4711>xp<4>" : "hid<true>serial<>xp<4>");
    }
}

TEST_F(ARecording, IsInTheFileWhileItGoesOn)
{
    use(gate() + raw(1, "0821000102030405") + endless(1));
    Receiver receiver;
    record();
    const Attached attached(*this);
    receive(1, receiver);
    open_gate();

    EXPECT_TRUE(eventually([&] { return lines("raw").size() > 100; }));
}

TEST_F(ARecording, EndsWithOneLineAtTheLimitOfAFilesSizeAndTheProgramGoesOn)
{
    use(gate() + endless(1));
    Receiver receiver;
    rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit limit = before;
    limit.rlim_cur = 20'000;
    testing::internal::CaptureStderr();
    unsetenv("BOARDSIM_LOG");
    record();
    {
        const Attached attached(*this);
        receive(1, receiver);
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
        open_gate();
        EXPECT_TRUE(receiver.has(2000));
    }
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    close();

    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
    EXPECT_NE(told.find("cannot be written: File too large; the recording ends here"), std::string::npos)
        << told;
    EXPECT_GT(lines("raw").size(), 50U) << "every line is whole";
}

TEST_F(ARecording, FollowsBoardsThatComeAndGo)
{
    use("{\"type\":\"device\",\"kind\":1,\"board\":3,\"info\":\"\",\"plugged\":false}\n" + gate()
        + "{\"type\":\"unplug\",\"board\":1}\n{\"type\":\"plug\",\"board\":3}\n" + mark("changed"));
    const auto enumerate = [this] {
        const int count = device_count();
        for (int i = 0; i < count; ++i) {
            _ZORVIC_DEVICE_INFO info{};
            info.size = _ZORVIC_DEVICE_INFO::sizeMarker;
            call<unsigned char(int, _ZORVIC_DEVICE_INFO *)>("zorvicEnumDeviceInfo", i, &info);
        }
    };
    Receiver changes;
    changes.inside = enumerate;
    record();
    {
        const Attached attached(*this);
        enumerate();
        receive_pnp(changes);
        open_gate();
        EXPECT_TRUE(eventually([&] { return marks("changed") == 1; }));
    }
    close();

    std::vector<std::string> told;
    for (const nlohmann::json &line : lines()) {
        const auto type = line["type"].get<std::string>();
        if (type == "device" || type == "plug" || type == "unplug")
            told.push_back(type + " " + line["board"].dump());
    }
    EXPECT_EQ(told, (std::vector<std::string>{"device 1", "device 2", "unplug 1", "device 3", "plug 3"}));
}

namespace {

/// A callback that touches none of its arguments, which may all be wrong.
std::atomic<int> touchless_calls = 0;
void touch_nothing(int, const unsigned char *, unsigned int, void *)
{
    ++touchless_calls;
}

} // namespace

TEST_F(ARecording, OfAHostileDriverEndsWell)
{
    for (const char *const misbehaviour : {"bad-arguments", "callbacks-in-registration",
                                           "callbacks-in-detach", "threads=10", "report-length=40000"}) {
        SCOPED_TRACE(misbehaviour);
        setenv("BOARDSIM_MISBEHAVIOUR", misbehaviour, 1);
        use(gate() + raw(1, "0045830100020003 00") + mark("sent"));
        touchless_calls = 0;
        record(SimulatedDriver::hostile_folder());
        {
            const Attached attached(*this);
            call<void(int, PacketCallback, void *)>("zorvicSetCallback", 1, &touch_nothing,
                                                    static_cast<void *>(nullptr));
            open_gate();
            EXPECT_TRUE(eventually([&] { return marks("sent") > 0; }));
        }
        close();
        EXPECT_GT(touchless_calls, 0);
        EXPECT_EQ(lines("raw").size(), static_cast<std::size_t>(touchless_calls));
        EXPECT_EQ(lines().back()["type"], "end");
        std::filesystem::remove(path("gate"));
        std::filesystem::remove(log_path());
    }
}
