// The exports of the recorder: each calls the real driver's function of the same name, with the same
// arguments, and records the call. A function that the real driver lacks is lacking here, too: every export
// is an indirect function (STT_GNU_IFUNC in the ELF gABI's GNU extensions), for which dlsym(3) returns what
// its resolver returns, and that is null. The real driver has been opened by then, since the loader runs the
// constructors of a library before dlopen(3) returns.

#include "recorder/clock.h"
#include "recorder/session.h"

#include <cstring>
#include <tuple>
#include <type_traits>
#include <utility>

namespace {

using recorder::Function;
using recorder::Record;
using recorder::Registrations;
using recorder::Session;

/// What the driver calls instead of the program's packet callback.
void packetCallback(int board, const unsigned char *data, unsigned int length, void *context)
{
    Session &session = Session::instance();
    const Registrations::Entry *const entry = session.registrations().at(context);
    const auto callback = reinterpret_cast<PacketCallback>(
        entry ? entry->function : session.registrations().lastPacketCallback());
    const std::uint64_t report = session.beginReport(board, data, length);
    if (callback)
        callback(board, data, length, entry ? entry->context : context);
    session.endReport(report);
}

/// What the driver calls instead of the program's plug-and-play callback.
void changeCallback(void *context)
{
    Session &session = Session::instance();
    session.change();
    if (const Registrations::Entry *const entry = session.registrations().at(context))
        reinterpret_cast<PnpCallback>(entry->function)(entry->context);
}

/// Replaces a callback of the program and its context by the recorder's; leaves both alone if there is no
/// room.
void wrap(int board, PacketCallback &callback, void *&context)
{
    if (!callback)
        return;
    auto *const entry = Session::instance().registrations().add(
        {Registrations::Kind::packet, board, reinterpret_cast<void *>(callback), context});
    if (!entry)
        return;
    callback = packetCallback;
    context = entry;
}

void wrap(PnpCallback &callback, void *&context)
{
    if (!callback)
        return;
    auto *const entry = Session::instance().registrations().add(
        {Registrations::Kind::change, 0, reinterpret_cast<void *>(callback), context});
    if (!entry)
        return;
    callback = changeCallback;
    context = entry;
}

void wrapKnown(int board, void *&callback, void *&context)
{
    auto *const entry = Session::instance().registrations().find(board, callback, context);
    if (!entry)
        return;
    callback = entry->kind == Registrations::Kind::packet ? reinterpret_cast<void *>(&packetCallback)
                                                          : reinterpret_cast<void *>(&changeCallback);
    context = entry;
}

/// Puts the recorder's callbacks in the place of the program's, among the arguments that are passed on.
template <Function function, typename Passed> void wrapCallbacks(Passed &passed)
{
    if constexpr (function == Function::SetCallback || function == Function::OpenSynchronousChannel)
        wrap(std::get<0>(passed), std::get<1>(passed), std::get<2>(passed));
    else if constexpr (function == Function::ClearCallback)
        wrapKnown(std::get<0>(passed), std::get<1>(passed), std::get<2>(passed));
    else if constexpr (function == Function::SetPnpCallback)
        wrap(std::get<0>(passed), std::get<1>(passed));
}

template <typename Argument> std::int64_t asNumber(Argument argument)
{
    if constexpr (std::is_pointer_v<Argument>)
        return static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(argument));
    else
        return argument;
}

std::size_t sizeOf(int length)
{
    return length > 0 ? static_cast<std::size_t>(length) : 0;
}

/// Keeps what a call's pointers point to, where that belongs into the recording.
template <Function function, typename Arguments>
void keepBytes([[maybe_unused]] Record &record, [[maybe_unused]] const Arguments &arguments)
{
    if constexpr (function == Function::WritePacket) {
        Session::keep(record, std::get<1>(arguments), sizeOf(std::get<2>(arguments)));
    } else if constexpr (function == Function::SendTouchPacketToSystem || function == Function::Echo
                         || function == Function::Inject) {
        Session::keep(record, std::get<2>(arguments), sizeOf(std::get<1>(arguments)));
    } else if constexpr (function == Function::SendCommand) {
        const char *const command = std::get<1>(arguments);
        Session::keep(record, command, command ? strnlen(command, Record::longestText) : 0);
    } else if constexpr (function == Function::EnumDeviceInfo) {
        const _ZORVIC_DEVICE_INFO *const info = std::get<1>(arguments);
        if (!info || (record.result & 0xFF) == 0)
            return;
        record.board = info->board;
        record.arguments[2] = info->kind;
        Session::keep(record, info->additionalInfo,
                      strnlen(info->additionalInfo, sizeof info->additionalInfo));
    }
}

/// Records one call, which has begun at @p begin and has just ended.
template <Function function, typename... Arguments>
void recordCall(std::int64_t begin, std::int64_t result, const Arguments &...arguments)
{
    const std::int64_t end = recorder::now();
    Session &session = Session::instance();
    Record *const record = session.takeCall();
    if (!record)
        return;
    record->function = static_cast<std::uint8_t>(function);
    record->begin = begin;
    record->end = end;
    record->result = result;
    record->arguments = {asNumber(arguments)...};
    record->board = static_cast<std::int32_t>(record->arguments[0]);
    keepBytes<function>(*record, std::tie(arguments...));
    Session::push(record);
}

/// The driver's answers pass whole: a truth value may be an int, or the low byte of a register.
template <typename Result>
using Whole = std::conditional_t<std::is_same_v<Result, unsigned char>, int, Result>;

template <Function function, typename Signature> struct Forward;

template <Function function, typename Result, typename... Arguments>
struct Forward<function, Result(Arguments...)>
{
    using Type = Whole<Result>(Arguments...);

    static Whole<Result> call(Arguments... arguments)
    {
        const auto real = reinterpret_cast<Type *>(Session::instance().driver().at(function));
        std::tuple<Arguments...> passed{arguments...};
        wrapCallbacks<function>(passed);
        const std::int64_t begin = recorder::now();
        if constexpr (std::is_void_v<Result>) {
            std::apply(real, passed);
            recordCall<function>(begin, 0, arguments...);
        } else {
            const Whole<Result> result = std::apply(real, passed);
            recordCall<function>(begin, result, arguments...);
            return result;
        }
    }

    /// The forwarder, or null if the real driver has no such function.
    static Type *resolve()
    {
        Session::begin();
        return Session::instance().driver().at(function) ? &call : nullptr;
    }
};

} // namespace

// The resolvers are not static, since compilers name static functions in their own ways.
extern "C" {
#define EXPORT(name, ...)                                                                                    \
    __attribute__((visibility("hidden"))) Forward<Function::name, __VA_ARGS__>::Type *resolve##name()        \
    {                                                                                                        \
        return Forward<Function::name, __VA_ARGS__>::resolve();                                              \
    }                                                                                                        \
    __attribute__((visibility("default"), ifunc("resolve" #name)))                                           \
    Forward<Function::name, __VA_ARGS__>::Type zorvic##name;
ZORVIC_EXPORTS(EXPORT)
#undef EXPORT
}
