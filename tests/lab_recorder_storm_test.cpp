#include "support/recording.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

// All that the threads of a recorded program, of its driver and of the recorder share, with drivers that
// break the rules. scripts/storm runs this under ThreadSanitizer.

using namespace driver_testing;

namespace {

/// Rounds of what the program does: LANTERNIX_STORM_CYCLES in the environment, or what fits in one second.
int round_count()
{
    bool given = false;
    const int count = qEnvironmentVariableIntValue("LANTERNIX_STORM_CYCLES", &given);
    return given ? count : 50;
}

/// Board 1 reports without end, while board 2 comes and goes.
const std::string reports_and_changes = "{\"type\":\"repeat\"}\n" + raw(1, "0821000102030405")
    + raw(1, "004583010002000300") + "{\"type\":\"unplug\",\"board\":2}\n" + raw(1, "0046050100020003000400")
    + "{\"type\":\"plug\",\"board\":2}\n{\"type\":\"wait\",\"time\":500}\n{\"type\":\"end\"}\n";

std::atomic<std::size_t> reports = 0;
void take(int, const unsigned char *, unsigned int, void *)
{
    ++reports;
}
void take_change(void *) { }

struct Row
{
    const char *name;
    const char *misbehaviour; ///< null for a driver that behaves
};

class AStormOverARecording : public ARecording, public testing::WithParamInterface<Row>
{
protected:
    ~AStormOverARecording() override { unsetenv("BOARDREC_VCD"); }

    void enumerate()
    {
        const int count = device_count();
        for (int i = 0; i < count; ++i) {
            _ZORVIC_DEVICE_INFO info{};
            info.size = _ZORVIC_DEVICE_INFO::sizeMarker;
            call<unsigned char(int, _ZORVIC_DEVICE_INFO *)>("zorvicEnumDeviceInfo", i, &info);
        }
    }
    void set_callbacks()
    {
        call<void(int, PacketCallback, void *)>("zorvicSetCallback", 1, &take, static_cast<void *>(this));
        call<void(PnpCallback, void *)>("zorvicSetPnpCallback", &take_change, static_cast<void *>(this));
    }
    void clear_callback()
    {
        call<void(int, void *, void *)>("zorvicClearCallback", 1, reinterpret_cast<void *>(&take),
                                        static_cast<void *>(this));
    }
    void hand_back()
    {
        const unsigned char touch[] = {9, 0x45, 0x83, 1, 0, 2, 0, 0, 0};
        call<void(int, int, const unsigned char *)>("zorvicSendTouchPacketToSystem", 1, 9, touch);
    }
    /// A reader that comes, writes a note, reads a little and goes.
    void read_a_little() const
    {
        const int reader = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, path("live.sock").data(), path("live.sock").size());
        if (connect(reader, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0) {
            const std::string note = "{\"type\":\"note\",\"text\":\"storm\"}\n";
            send(reader, note.data(), note.size(), MSG_NOSIGNAL);
            std::vector<char> block(1 << 12);
            recv(reader, block.data(), block.size(), 0);
        }
        ::close(reader);
    }
    void start(const Row &row)
    {
        setenv("BOARDSIM_MISBEHAVIOUR", row.misbehaviour ? row.misbehaviour : "", 1);
        if (!row.misbehaviour)
            unsetenv("BOARDSIM_MISBEHAVIOUR");
        setenv("BOARDREC_SOCKET", path("live.sock").c_str(), 1);
        setenv("BOARDREC_VCD", path("storm.vcd").c_str(), 1);
        unsetenv("BOARDSIM_LOG"); // its lock would put the driver's threads in an order
        use(reports_and_changes);
        reports = 0;
        record(SimulatedDriver::hostile_folder());
        attach();
        set_callbacks();
    }
    /// Runs what a program may do, on three threads at once.
    void storm()
    {
        std::thread caller([this] {
            for (int i = 0; i < round_count(); ++i) {
                enumerate();
                write(1, ":PN0");
            }
        });
        std::thread registrar([this] {
            for (int i = 0; i < round_count(); ++i) {
                clear_callback();
                set_callbacks();
                hand_back();
            }
        });
        for (int i = 0; i < round_count(); ++i)
            read_a_little();
        caller.join();
        registrar.join();
    }
};

} // namespace

TEST_P(AStormOverARecording, LosesNoReport)
{
    start(GetParam());

    storm();
    const std::size_t wanted = reports + 100;
    EXPECT_TRUE(eventually([&] { return reports > wanted; }));
    detach();
    close();

    std::size_t lost = 0;
    for (const nlohmann::json &line : lines("lost"))
        lost += line["count"].get<std::size_t>();
    EXPECT_EQ(lines("raw").size() + lost, reports);
    EXPECT_EQ(lines().back()["type"], "end");
}

TEST_P(AStormOverARecording, SavesARollingOneAgainAndAgain)
{
    setenv("BOARDREC_KEEP", "0.5", 1);
    start(GetParam());

    std::thread saver([] {
        for (int i = 0; i < 20; ++i) {
            raise(SIGUSR1);
            std::this_thread::yield();
        }
    });
    storm();
    saver.join();
    detach();
    close();

    int saved = 0;
    for (const auto &entry : std::filesystem::directory_iterator(path("")))
        saved += entry.path().filename().string().rfind("capture-kept-", 0) == 0 ? 1 : 0;
    EXPECT_GE(saved, 1);
}

INSTANTIATE_TEST_SUITE_P(, AStormOverARecording,
                         testing::Values(Row{"ADriverThatBehaves", nullptr}, Row{"TenThreads", "threads=10"},
                                         Row{"ASecondThread", "second-thread=1"},
                                         Row{"CallbacksInRegistration", "callbacks-in-registration"},
                                         Row{"CallbacksInDetach", "callbacks-in-detach"}),
                         [](const auto &row) { return row.param.name; });
