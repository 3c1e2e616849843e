#pragma once

#include "hardware/abstracthardwarewrapper.h"
#include "support/simulated_driver.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <dlfcn.h>

/// What the tests of the simulated driver share: they call its exported functions as the program does.
namespace driver_testing {

using namespace std::chrono_literals;

using Bytes = std::vector<unsigned char>;

constexpr auto patience = 20s;

inline bool eventually(const std::function<bool()> &condition)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

/// Takes reports on the driver's thread.
class Receiver
{
public:
    static void callback(int board, const unsigned char *data, unsigned int length, void *context)
    {
        static_cast<Receiver *>(context)->take(board, Bytes(data, data + length));
    }
    static void pnp(void *context) { static_cast<Receiver *>(context)->take(0, {}); }

    /// Called inside each callback, after its report has been counted.
    std::function<void()> inside;

    std::size_t count() const
    {
        const std::lock_guard lock(m_mutex);
        return m_reports.size();
    }
    bool has(std::size_t count) const
    {
        std::unique_lock lock(m_mutex);
        return m_arrived.wait_for(lock, patience, [&] { return m_reports.size() >= count; });
    }
    std::vector<Bytes> reports() const
    {
        const std::lock_guard lock(m_mutex);
        return m_reports;
    }
    std::vector<int> boards() const
    {
        const std::lock_guard lock(m_mutex);
        return m_boards;
    }
    std::thread::id thread() const
    {
        const std::lock_guard lock(m_mutex);
        return m_thread;
    }

private:
    void take(int board, Bytes report)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_boards.push_back(board);
            m_reports.push_back(std::move(report));
            m_thread = std::this_thread::get_id();
        }
        m_arrived.notify_all();
        if (inside)
            inside();
    }

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_arrived;
    std::vector<Bytes> m_reports;
    std::vector<int> m_boards;
    std::thread::id m_thread;
};

/// A simulated driver as the program opens it, with a scenario and a log in its own folder.
class ADriver : public testing::Test
{
protected:
    ADriver()
    {
        std::string name = (std::filesystem::temp_directory_path() / "boardsim-XXXXXX").string();
        m_folder = mkdtemp(name.data());
        setenv("BOARDSIM_LOG", log_path().c_str(), 1);
        open();
    }
    ~ADriver() override
    {
        close();
        unsetenv("BOARDSIM_LOG");
        unsetenv("BOARDSIM_SCENARIO");
        unsetenv("BOARDSIM_MISBEHAVIOUR");
        std::filesystem::remove_all(m_folder);
    }

    void open(const QString &folder = SimulatedDriver::folder())
    {
        m_library = dlopen((folder.toStdString() + "/libzorvicboardex.so.1").c_str(), RTLD_NOW);
    }
    /// Opens the driver that breaks the rules in one way instead.
    void open_hostile(const char *misbehaviour)
    {
        close();
        setenv("BOARDSIM_MISBEHAVIOUR", misbehaviour, 1);
        open(SimulatedDriver::hostile_folder());
    }
    /// Closes the library like a program that forgets to detach.
    void close()
    {
        if (m_library)
            dlclose(m_library);
        m_library = nullptr;
    }

    /// Null if the library lacks it.
    void *symbol(const std::string &name) const { return dlsym(m_library, name.c_str()); }
    template <typename Signature, typename... Arguments> auto call(const char *name, Arguments... arguments)
    {
        return reinterpret_cast<Signature *>(dlsym(m_library, name))(arguments...);
    }
    bool attach() { return call<bool()>("zorvicAttach"); }
    void detach() { call<void()>("zorvicDetach"); }
    int device_count() { return call<int()>("zorvicGetDeviceCount"); }
    void receive(int board, Receiver &receiver)
    {
        call<void(int, PacketCallback, void *)>("zorvicSetCallback", board, &Receiver::callback, &receiver);
    }
    void forget(int board, Receiver &receiver)
    {
        call<void(int, void *, void *)>("zorvicClearCallback", board,
                                        reinterpret_cast<void *>(&Receiver::callback), &receiver);
    }
    void receive_pnp(Receiver &receiver)
    {
        call<void(PnpCallback, void *)>("zorvicSetPnpCallback", &Receiver::pnp, &receiver);
    }
    void forget_pnp(Receiver &receiver)
    {
        call<void(int, void *, void *)>("zorvicClearCallback", 0, reinterpret_cast<void *>(&Receiver::pnp),
                                        &receiver);
    }
    int write(int board, const std::string &packet)
    {
        return call<int(int, const void *, int)>("zorvicWritePacket", board, packet.data(),
                                                 static_cast<int>(packet.size()));
    }

    std::string path(const std::string &name) const { return m_folder + "/" + name; }
    std::string log_path() const { return path("log.jsonl"); }
    void write_scenario(const std::string &text)
    {
        std::ofstream(path("scenario.jsonl")) << text;
        setenv("BOARDSIM_SCENARIO", path("scenario.jsonl").c_str(), 1);
    }
    /// Boards 1 and 2, then @p lines.
    void use(const std::string &lines)
    {
        write_scenario("{\"type\":\"scenario\",\"version\":1}\n"
                       "{\"type\":\"device\",\"kind\":1,\"board\":1,\"info\":\"hid<true>vid<04d8>\"}\n"
                       "{\"type\":\"device\",\"kind\":3,\"board\":2,\"info\":\"\"}\n"
                       + lines);
    }
    /// A line that waits for open_gate().
    std::string gate() const { return "{\"type\":\"wait\",\"file\":\"" + path("gate") + "\"}\n"; }
    void open_gate() const { std::ofstream(path("gate")).put('\n'); }

    /// Without a last line that is being written.
    std::vector<nlohmann::json> log() const
    {
        std::vector<nlohmann::json> records;
        std::ifstream file(log_path());
        for (std::string line; std::getline(file, line) && !file.eof();)
            records.push_back(nlohmann::json::parse(line));
        return records;
    }
    /// The bytes of each report in the log, as "board: hex".
    std::vector<std::string> logged_reports() const
    {
        std::vector<std::string> reports;
        for (const nlohmann::json &record : log()) {
            if (record.contains("report"))
                reports.push_back(record["board"].dump() + ": " + record["report"].get<std::string>());
        }
        return reports;
    }
    int marks(const std::string &text) const
    {
        int found = 0;
        for (const nlohmann::json &record : log())
            found += record.contains("mark") && record["mark"] == text ? 1 : 0;
        return found;
    }

    /// Attaches, and detaches on destruction. Declare it after everything that the callbacks use.
    class Attached
    {
    public:
        explicit Attached(ADriver &driver) : m_driver(driver) { m_driver.attach(); }
        ~Attached() { m_driver.detach(); }
        Attached(const Attached &) = delete;
        Attached &operator=(const Attached &) = delete;

    private:
        ADriver &m_driver;
    };

private:
    std::string m_folder;
    void *m_library = nullptr;
};

inline std::string raw(int board, const std::string &hex)
{
    return "{\"type\":\"raw\",\"board\":" + std::to_string(board) + ",\"hex\":\"" + hex + "\"}\n";
}

inline std::string mark(const std::string &text)
{
    return "{\"type\":\"mark\",\"text\":\"" + text + "\"}\n";
}

/// Scenario lines that report for ever, a thousand times a second.
inline std::string endless(int board)
{
    return "{\"type\":\"repeat\"}\n" + raw(board, "0045") + "{\"type\":\"end\"}\n";
}

} // namespace driver_testing
