#include "support/recording_driver.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <type_traits>

#include <dlfcn.h>

// The linker sends the program's calls of the loader to the functions with __wrap_ and gives the loader's own
// functions the names with __real_.
extern "C" {
void *__real_dlopen(const char *name, int flags);
void *__real_dlsym(void *library, const char *name);
int __real_dlclose(void *library);
char *__real_dlerror();
void *__wrap_dlopen(const char *name, int flags);
void *__wrap_dlsym(void *library, const char *name);
int __wrap_dlclose(void *library);
char *__wrap_dlerror();
}

namespace {

using Argument = RecordingDriver::Argument;
using Call = RecordingDriver::Call;

RecordingDriver *current = nullptr;
std::mutex calls_mutex; ///< guards recorded
std::vector<Call> recorded;
char library; ///< its address is the handle

constexpr int system_buffer_size = 256;

template <typename Value> Argument argument_of(Value value)
{
    if constexpr (std::is_pointer_v<Value>)
        return {reinterpret_cast<long long>(value), true};
    else
        return {static_cast<long long>(value), false};
}

template <typename Pointer> Pointer address_in(const Call &call, std::size_t at)
{
    return reinterpret_cast<Pointer>(call.arguments.at(at).value);
}

/// The bytes have to be copied during the call.
void copy_bytes(Call &call)
{
    if (call.name == "WritePacket")
        call.bytes =
            QByteArray(address_in<const char *>(call, 1), static_cast<int>(call.arguments.at(2).value));
    if (call.name == "SendTouchPacketToSystem" && address_in<const char *>(call, 2))
        call.bytes = QByteArray(address_in<const char *>(call, 2), system_buffer_size);
}

void record(Call call)
{
    copy_bytes(call);
    const auto hook = current->hooks.find(call.name);
    {
        const std::lock_guard lock(calls_mutex);
        recorded.push_back(std::move(call));
    }
    if (hook != current->hooks.end())
        hook->second();
}

long long answer(const char *name)
{
    const auto found = current->answers.find(name);
    return found == current->answers.end() ? 0 : found->second;
}

/// One export: a C function for each name.
template <typename Tag, typename Signature> struct Export;

template <typename Tag, typename Result, typename... Arguments> struct Export<Tag, Result(Arguments...)>
{
    static Result function(Arguments... arguments)
    {
        record({Tag::name, {argument_of(arguments)...}, {}});
        if constexpr (!std::is_void_v<Result>)
            return static_cast<Result>(answer(Tag::name));
    }
};

using Address = void *;

// The exports with the driver's parameter types.
// clang-format off
#define EXPORTS(EXPORT)                                                                                  \
    EXPORT(Attach, bool())                                                                               \
    EXPORT(Detach, void())                                                                               \
    EXPORT(Interface, int())                                                                             \
    EXPORT(SetCallback, void(int, PacketCallback, Address))                                              \
    EXPORT(ClearCallback, void(int, Address, Address))                                                   \
    EXPORT(SetPnpCallback, void(PnpCallback, Address))                                                   \
    EXPORT(SendCommand, int(int, const char *))                                                          \
    EXPORT(WritePacket, int(int, const void *, int))                                                     \
    EXPORT(SetXferMask, void(int, int))                                                                  \
    EXPORT(SetPointingDeviceDestination, void(int, int, int, int))                                       \
    EXPORT(SetPointingDeviceDestinationEx, void(int, int, int, int, int))                                \
    EXPORT(GetPointingDeviceDestination, int(int, int, int))                                             \
    EXPORT(SetTouchDestination, void(int, int))                                                          \
    EXPORT(SetTouchDestinationEx, void(int, int, int))                                                   \
    EXPORT(GetTouchDestination, int(int))                                                                \
    EXPORT(SetTouchEnabled, void(int, int))                                                              \
    EXPORT(GetTouchEnabled, int(int))                                                                    \
    EXPORT(SetTouchSystemRedirectionEnabled, void(int, int))                                             \
    EXPORT(GetTouchSystemRedirectionEnabled, int(int))                                                   \
    EXPORT(SetLATEDetection, void(int, int))                                                             \
    EXPORT(GetLATEDetection, int(int))                                                                   \
    EXPORT(IsSomethingOnBoard, int(int))                                                                 \
    EXPORT(SetTwoFingerScroll, void(int, int))                                                           \
    EXPORT(OpenSynchronousChannel, int(int, PacketCallback, Address))                                    \
    EXPORT(CloseSynchronousChannel, void(int, int))                                                      \
    EXPORT(ReadSynchronousPacket, int(int, int, Address, int, unsigned int))                             \
    EXPORT(SetCalibrationMode, int(int, int))                                                            \
    EXPORT(SetCalibrationData, void(int, Address))                                                       \
    EXPORT(SetCalibrationDataEx, void(int, int, int, Address))                                           \
    EXPORT(SetWirelessCalibrationData, void(int, Address))                                               \
    EXPORT(GetCalibrationPoints, void(int, int *, int *))                                                \
    EXPORT(GetHIDCoordinateReportMode, int(int))                                                         \
    EXPORT(SetHIDCoordinateReportMode, void(int, int))                                                   \
    EXPORT(LibraryVersionNumber, void(unsigned char *, unsigned char *, unsigned int *, unsigned int *)) \
    EXPORT(Lock, void())                                                                                 \
    EXPORT(Unlock, void())                                                                               \
    EXPORT(SerialConnect, int(int))                                                                      \
    EXPORT(SerialDisconnect, int())                                                                      \
    EXPORT(SerialGetConnected, int(int *))                                                               \
    EXPORT(SerialSetStartupMode, void(int))                                                              \
    EXPORT(SerialGetStartupMode, int())                                                                  \
    EXPORT(SetDoubleClickDistance, void(int, int))                                                       \
    EXPORT(SetDriverDebugMode, void(int, int, unsigned int))                                             \
    EXPORT(Echo, void(int, int, const unsigned char *))                                                  \
    EXPORT(Inject, void(int, int, const unsigned char *))                                                \
    EXPORT(SendTouchPacketToSystem, void(int, int, const unsigned char *))                               \
    EXPORT(ReverseButtons, void(int, int))
// clang-format on

#define NAME_TAG(export_name, ...)                                                                           \
    struct export_name##Tag                                                                                  \
    {                                                                                                        \
        static constexpr const char *name = #export_name;                                                    \
    };
EXPORTS(NAME_TAG)
#undef NAME_TAG

int device_count()
{
    record({"GetDeviceCount", {}, {}});
    if (current->answers.count("GetDeviceCount") > 0)
        return static_cast<int>(answer("GetDeviceCount"));
    return static_cast<int>(current->devices.size());
}

/// Fills the record to its last byte, as a real driver may. The test fails with a bad memory access where the
/// caller's record is too short.
bool device_info(int index, unsigned char *out)
{
    record({"EnumDeviceInfo", {argument_of(index), argument_of(out)}, {}});
    current->records.emplace_back(reinterpret_cast<const char *>(out), _ZORVIC_DEVICE_INFO::recordSize);
    const auto &device = index < 0 || index >= static_cast<int>(current->devices.size())
        ? RecordingDriver::Device{0, 0, {}, false}
        : current->devices[static_cast<std::size_t>(index)];
    constexpr std::size_t infoAt = 325;
    constexpr std::size_t room = _ZORVIC_DEVICE_INFO::recordSize - infoAt;
    std::memset(out, 0xAA, _ZORVIC_DEVICE_INFO::recordSize);
    std::memcpy(out + 4, &device.kind, 4);
    std::memcpy(out + 20, &device.board, 4);
    const std::size_t length = std::min(room, static_cast<std::size_t>(device.info.size()));
    std::memcpy(out + infoAt, device.info.constData(), length);
    if (length < room)
        out[infoAt + length] = '\0';
    return device.answered;
}

void *export_of(const std::string &name)
{
    static const std::map<std::string, void *> exports{
        {"GetDeviceCount", reinterpret_cast<void *>(&device_count)},
        {"EnumDeviceInfo", reinterpret_cast<void *>(&device_info)},
#define ENTRY(export_name, ...)                                                                              \
    {#export_name, reinterpret_cast<void *>(&Export<export_name##Tag, __VA_ARGS__>::function)},
        EXPORTS(ENTRY)
#undef ENTRY
    };
    const auto found = exports.find(name);
    return found == exports.end() || current->missing.count(name) > 0 ? nullptr : found->second;
}

std::string line_of(const Call &call)
{
    std::string values;
    for (const Argument &argument : call.arguments) {
        if (!argument.address)
            values += (values.empty() ? "" : ", ") + std::to_string(argument.value);
    }
    const std::string bytes = call.bytes.isEmpty() ? "" : " " + call.bytes.toHex().toStdString();
    return call.name + "(" + values + ")" + bytes;
}

} // namespace

void *__wrap_dlopen(const char *name, int flags)
{
    if (!current)
        return __real_dlopen(name, flags);
    current->loader_calls.push_back(std::string("dlopen(") + name
                                    + (flags == RTLD_NOW ? ", RTLD_NOW)" : ", other flags)"));
    return current->opens ? &library : nullptr;
}

void *__wrap_dlsym(void *handle, const char *name)
{
    if (handle != &library)
        return __real_dlsym(handle, name);
    const std::string prefix = "zorvic";
    const std::string full = name;
    if (full.compare(0, prefix.size(), prefix) != 0)
        return nullptr;
    current->resolved.push_back(full.substr(prefix.size()));
    return export_of(current->resolved.back());
}

int __wrap_dlclose(void *handle)
{
    if (handle != &library)
        return __real_dlclose(handle);
    current->loader_calls.emplace_back("dlclose()");
    return 0;
}

char *__wrap_dlerror()
{
    static char message[] = "the loader's own words";
    return current ? message : __real_dlerror();
}

RecordingDriver::RecordingDriver()
{
    if (current)
        throw std::logic_error("only one driver at a time");
    current = this;
    clear();
}

RecordingDriver::~RecordingDriver()
{
    current = nullptr;
}

std::vector<Call> RecordingDriver::calls() const
{
    const std::lock_guard lock(calls_mutex);
    return recorded;
}

std::vector<Call> RecordingDriver::calls(const std::string &name) const
{
    std::vector<Call> wanted;
    for (const Call &call : calls()) {
        if (call.name == name)
            wanted.push_back(call);
    }
    return wanted;
}

std::vector<std::string> RecordingDriver::lines() const
{
    std::vector<std::string> lines;
    for (const Call &call : calls())
        lines.push_back(line_of(call));
    return lines;
}

void RecordingDriver::clear()
{
    const std::lock_guard lock(calls_mutex);
    recorded.clear();
}
