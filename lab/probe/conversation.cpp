#include "probe/conversation.h"

#include "recorder/realdriver.h"

#include "hardware/zorvichardware.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstring>
#include <deque>
#include <mutex>
#include <set>
#include <type_traits>
#include <utility>
#include <vector>

#include <unistd.h>

namespace probe {

namespace {

using recorder::Function;
using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

// As the program sets them; see Korvane::configureHardware and docs/wire-formats.md.
constexpr int penCount = 4;
constexpr int penHardwareMode = 2;
constexpr int allTransfers = 0xFF;
constexpr int boardKind = 1;
constexpr int mostDevices = 1000; ///< that are asked for: a driver may claim billions

std::string hex(const unsigned char *bytes, std::size_t size)
{
    constexpr const char *digits = "0123456789abcdef";
    std::string text;
    text.reserve(2 * size);
    for (std::size_t i = 0; i < size; ++i) {
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 0xF];
    }
    return text;
}

template <Function function> struct SignatureOf;
#define SIGNATURE(name, ...)                                                                                 \
    template <> struct SignatureOf<Function::name>                                                           \
    {                                                                                                        \
        using Type = __VA_ARGS__;                                                                            \
    };
ZORVIC_EXPORTS(SIGNATURE)
#undef SIGNATURE

/// What the boards report while the probe listens. The driver's threads write, the probe's reads. Never
/// destroyed: a driver may call back after it has been detached.
class Listener
{
public:
    static Listener &instance()
    {
        static auto *const listener = new Listener;
        return *listener;
    }

    /// What hear() takes as context for reports of @p board; always the same one.
    void *contextOf(int board)
    {
        const std::lock_guard lock(m_mutex);
        const auto known = std::find(m_contexts.begin(), m_contexts.end(), board);
        return known != m_contexts.end() ? &*known : &m_contexts.emplace_back(board);
    }

    /// A PacketCallback.
    static void hear(int, const unsigned char *data, unsigned int length, void *context)
    {
        instance().add(*static_cast<const int *>(context), data, length);
    }
    /// A PnpCallback. What comes and goes meanwhile is not followed.
    static void ignoreChange(void *) { }

    /// Waits until each of @p boards boards has reported, @p seconds have passed, or a blocked signal came.
    void listen(std::size_t boards, double seconds)
    {
        sigset_t ending;
        sigemptyset(&ending);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP})
            sigaddset(&ending, signal);
        m_begin = Clock::now();
        const auto deadline = m_begin + Seconds(seconds);
        const timespec pause{0, 20'000'000};
        while (Clock::now() < deadline && !haveReported(boards)
               && sigtimedwait(&ending, nullptr, &pause) < 0) { }
    }

    Teller::Json told() const
    {
        const std::lock_guard lock(m_mutex);
        return {{"count", m_count},
                {"boards", m_boards},
                {"board", m_board},
                {"after", m_count > 0 ? std::max(0.0, Seconds(m_first - m_begin).count()) : 0},
                {"first", m_bytes},
                {"listened", Seconds(Clock::now() - m_begin).count()}};
    }

private:
    bool haveReported(std::size_t boards) const
    {
        const std::lock_guard lock(m_mutex);
        return m_boards.size() >= boards;
    }

    void add(int board, const unsigned char *data, unsigned int length)
    {
        constexpr unsigned int longest = 1024;
        const std::lock_guard lock(m_mutex);
        m_boards.insert(board);
        if (m_count++ > 0)
            return;
        m_board = board;
        m_first = Clock::now();
        m_bytes = data ? hex(data, std::min(length, longest)) : "";
    }

    mutable std::mutex m_mutex; ///< guards all but m_begin
    Clock::time_point m_begin = Clock::now();
    Clock::time_point m_first;
    std::int64_t m_count = 0;
    int m_board = 0;
    std::string m_bytes;
    std::set<int> m_boards;     ///< that have reported
    std::deque<int> m_contexts; ///< numbers of boards, at places that last
};

/// The driver, and what the program would tell it.
class Conversation
{
public:
    Conversation(const Teller &teller, const std::string &path)
        : m_teller(teller), m_driver(opened(teller, path))
    {
    }

    void tellFunctions() const;
    void tellVersion() const;
    void attach();
    void enumerate();
    void setModes(bool on) const;
    void listen(double seconds) const;
    void withdraw();

private:
    static recorder::RealDriver opened(const Teller &teller, const std::string &path)
    {
        teller.begin("dlopen");
        return recorder::RealDriver(path);
    }

    /// Calls a function, which is a step, and returns its result as an int; @p missing if it is missing.
    template <Function function, typename... Arguments> int call(int missing, Arguments... arguments) const
    {
        using Signature = typename SignatureOf<function>::Type;
        const auto pointer = reinterpret_cast<std::add_pointer_t<Signature>>(m_driver.at(function));
        if (!pointer)
            return missing;
        m_teller.begin(recorder::functionNames[static_cast<std::size_t>(function)].name);
        if constexpr (std::is_void_v<decltype(pointer(arguments...))>) {
            pointer(arguments...);
            return 0;
        } else {
            return pointer(arguments...);
        }
    }

    void describe(int index, const _ZORVIC_DEVICE_INFO &info);

    const Teller &m_teller;
    recorder::RealDriver m_driver;
    std::vector<int> m_boards; ///< in the order of enumeration
};

void Conversation::tellFunctions() const
{
    Teller::Json names = Teller::Json::array();
    for (std::size_t i = 0; i < recorder::functionCount; ++i) {
        if (m_driver.at(static_cast<Function>(i)))
            names.push_back(recorder::functionNames[i].name);
    }
    m_teller.tell({{"functions", names}});
}

void Conversation::tellVersion() const
{
    unsigned char major = 0;
    unsigned char minor = 0;
    unsigned int revision = 0;
    unsigned int build = 0;
    if (call<Function::LibraryVersionNumber>(-1, &major, &minor, &revision, &build) == 0)
        m_teller.tell({{"version", {int(major), int(minor), revision, build}}});
}

void Conversation::attach()
{
    const auto begin = Clock::now();
    const int result = call<Function::Attach>(0);
    m_teller.tell({{"attached", result != 0}, {"seconds", Seconds(Clock::now() - begin).count()}});
    call<Function::SetPnpCallback>(0, &Listener::ignoreChange, nullptr);
}

void Conversation::enumerate()
{
    call<Function::Attach>(0);
    const int count = call<Function::GetDeviceCount>(0);
    m_teller.tell({{"devices", count}});
    for (int index = 0; index < std::min(count, mostDevices); ++index) {
        _ZORVIC_DEVICE_INFO info{};
        info.size = _ZORVIC_DEVICE_INFO::sizeMarker;
        if (call<Function::EnumDeviceInfo>(0, index, &info) == 0)
            continue;
        describe(index, info);
        if (info.kind != boardKind)
            continue;
        m_boards.push_back(info.board);
        call<Function::SetCallback>(0, info.board, &Listener::hear,
                                    Listener::instance().contextOf(info.board));
        call<Function::SetXferMask>(0, info.board, allTransfers);
    }
}

void Conversation::describe(int index, const _ZORVIC_DEVICE_INFO &info)
{
    std::array<unsigned char, sizeof info> bytes{};
    std::memcpy(bytes.data(), &info, sizeof info);
    std::size_t used = bytes.size();
    while (used > 0 && bytes[used - 1] == 0)
        --used;
    const ZorvicHardware::BoardInfo decoded = ZorvicHardware::boardInfo(info);
    const std::size_t length = strnlen(info.additionalInfo, sizeof info.additionalInfo);
    const QString text = QString::fromLatin1(info.additionalInfo, static_cast<int>(length));
    m_teller.tell({{"device",
                    {{"index", index},
                     {"kind", info.kind},
                     {"board", info.board},
                     {"info", text.toStdString()},
                     {"type", decoded.type.toStdString()},
                     {"vid", decoded.vid},
                     {"pid", decoded.pid},
                     {"xp", decoded.xp},
                     {"xt", decoded.xt},
                     {"xl", decoded.xl},
                     {"record", hex(bytes.data(), used)}}}});
}

void Conversation::setModes(bool on) const
{
    const int mode = on ? 1 : 0;
    for (int pen = 0; pen < penCount; ++pen) {
        const std::string command =
            ZorvicHardware::cmdPenHardwareMode + std::to_string(pen) + std::to_string(penHardwareMode) + "\r";
        for (const int board : m_boards)
            call<Function::WritePacket>(0, board, command.data(), static_cast<int>(command.size()));
        for (const int board : m_boards)
            call<Function::SetPointingDeviceDestination>(0, board, pen + 1, 0, mode);
    }
    for (const int board : m_boards)
        call<Function::SetTouchDestination>(0, board, mode);
    for (const int board : m_boards)
        call<Function::SetLATEDetection>(0, board, on ? '1' : '0');
}

void Conversation::listen(double seconds) const
{
    if (m_boards.empty())
        return;
    m_teller.begin("listen", seconds);
    Listener::instance().listen(std::set<int>(m_boards.begin(), m_boards.end()).size(), seconds);
    m_teller.tell({{"reports", Listener::instance().told()}});
}

void Conversation::withdraw()
{
    setModes(false);
    for (const int board : m_boards)
        call<Function::ClearCallback>(0, board, reinterpret_cast<void *>(&Listener::hear),
                                      Listener::instance().contextOf(board));
    call<Function::ClearCallback>(0, 0, reinterpret_cast<void *>(&Listener::ignoreChange), nullptr);
    call<Function::Detach>(0);
    call<Function::Detach>(0);
    m_teller.begin("dlclose");
    m_driver.close();
}

} // namespace

void Teller::begin(const char *step, double seconds) const
{
    tell({{"begin", step}, {"seconds", seconds}});
}

void Teller::tell(const Json &line) const
{
    const std::string text = line.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
    [[maybe_unused]] const ssize_t written = write(m_file, text.data(), text.size());
}

void ask(const Teller &teller, const std::string &path, double seconds)
{
    Conversation conversation(teller, path);
    conversation.tellFunctions();
    conversation.tellVersion();
    conversation.attach();
    conversation.enumerate();
    conversation.setModes(true);
    conversation.setModes(true); // Deliberate: the program sets them twice at its start.
    conversation.listen(seconds);
    conversation.withdraw();
}

} // namespace probe
