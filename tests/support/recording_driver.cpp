#include "support/recording_driver.h"

#include "support/driver_exports.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <type_traits>

#include <dlfcn.h>

// The linker redirects the program's calls to the loader to the functions with the prefix __wrap_, and gives
// the loader's own functions names with the prefix __real_. A sanitizer's runtime that is part of the program
// calls them too, before checked code can run.
#define UNCHECKED __attribute__((no_sanitize("address")))
extern "C" {
void *__real_dlopen(const char *name, int flags);
void *__real_dlsym(void *library, const char *name);
int __real_dlclose(void *library);
char *__real_dlerror();
UNCHECKED void *__wrap_dlopen(const char *name, int flags);
UNCHECKED void *__wrap_dlsym(void *library, const char *name);
UNCHECKED int __wrap_dlclose(void *library);
UNCHECKED char *__wrap_dlerror();
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

// Deliberate: functions that the program never asks for, in a driver that has them.
#define OTHER_EXPORTS(EXPORT)                                                                                \
    EXPORT(GetHIDCoordinateReportMode, int(int))                                                             \
    EXPORT(SetHIDCoordinateReportMode, void(int, int))

#define NAME_TAG(export_name, ...)                                                                           \
    struct export_name##Tag                                                                                  \
    {                                                                                                        \
        static constexpr const char *name = #export_name;                                                    \
    };
DRIVER_EXPORTS(NAME_TAG)
OTHER_EXPORTS(NAME_TAG)
#undef NAME_TAG

template <> int Export<GetDeviceCountTag, int()>::function()
{
    constexpr const char *name = GetDeviceCountTag::name;
    record({name, {}, {}});
    if (current->answers.count(name) > 0)
        return static_cast<int>(answer(name));
    return static_cast<int>(current->devices.size());
}

/// Fills the record to its last byte, as a real driver may. The test fails with a bad memory access if the
/// caller's record is too short.
template <>
int Export<EnumDeviceInfoTag, int(int, _ZORVIC_DEVICE_INFO *)>::function(int index,
                                                                         _ZORVIC_DEVICE_INFO *record_out)
{
    record({EnumDeviceInfoTag::name, {argument_of(index), argument_of(record_out)}, {}});
    auto *const out = reinterpret_cast<char *>(record_out);
    current->records.emplace_back(out, _ZORVIC_DEVICE_INFO::recordSize);
    const auto &device = index < 0 || index >= static_cast<int>(current->devices.size())
        ? RecordingDriver::Device{0, 0, {}, 0}
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
#define ENTRY(export_name, ...)                                                                              \
    {#export_name, reinterpret_cast<void *>(&Export<export_name##Tag, __VA_ARGS__>::function)},
        DRIVER_EXPORTS(ENTRY) OTHER_EXPORTS(ENTRY)
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
