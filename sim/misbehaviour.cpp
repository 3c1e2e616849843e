#include "misbehaviour.h"

#include "hardware/reportlayout.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace boardsim {

namespace {

constexpr const char *variable = "BOARDSIM_MISBEHAVIOUR";

struct Entry
{
    std::string_view name;
    Misbehaviour::Kind kind;
    bool takesNumber;
    int smallest = 0; ///< least value of the number
};

constexpr int anyCount = -1'000'000'000;
constexpr int shortestReport = reportlayout::contact::firstAt + 1; // the header, then a byte to repeat

constexpr Entry entries[] = {
    {"attach-fails", Misbehaviour::Kind::attachFails, false},
    {"device-count", Misbehaviour::Kind::deviceCount, true, anyCount},
    {"same-number", Misbehaviour::Kind::sameNumber, false},
    {"full-record", Misbehaviour::Kind::fullRecord, false},
    {"latin-1-info", Misbehaviour::Kind::latin1Info, false},
    {"callbacks-in-attach", Misbehaviour::Kind::callbacksInAttach, false},
    {"callbacks-in-registration", Misbehaviour::Kind::callbacksInRegistration, false},
    {"callbacks-in-detach", Misbehaviour::Kind::callbacksInDetach, false},
    {"deep-stack", Misbehaviour::Kind::deepStack, true, 1},
    {"threads", Misbehaviour::Kind::threads, true, 1},
    {"pnp-in-report", Misbehaviour::Kind::pnpInReport, false},
    {"bad-arguments", Misbehaviour::Kind::badArguments, false},
    {"report-length", Misbehaviour::Kind::reportLength, true, shortestReport},
    {"blocking-write", Misbehaviour::Kind::blockingWrite, true},
    {"prints", Misbehaviour::Kind::prints, false},
    {"second-thread", Misbehaviour::Kind::secondThread, true, 0},
    {"callbacks-after-detach", Misbehaviour::Kind::callbacksAfterDetach, true, 1},
    {"callback-outlasts-detach", Misbehaviour::Kind::callbackOutlastsDetach, true, 1},
    {"slow-calls", Misbehaviour::Kind::slowCalls, true, 1},
    {"wrong-device-counts", Misbehaviour::Kind::wrongDeviceCounts, false},
};

[[noreturn]] void fail(const char *cause)
{
    std::fprintf(stderr, "%s: \"%s\" %s\n", variable, std::getenv(variable), cause);
    // Runs no destructors, because this is inside a call of the program.
    std::_Exit(EXIT_FAILURE);
}

int numberIn(std::string_view text, int smallest)
{
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < smallest)
        fail("has no number that it can take");
    return number;
}

} // namespace

Misbehaviour readMisbehaviour()
{
    const char *const text = std::getenv(variable);
    if (!text)
        return {};
    const std::string_view request = text;
    const std::size_t equals = request.find('=');
    const bool hasNumber = equals != std::string_view::npos;
    const auto *const entry = std::find_if(std::begin(entries), std::end(entries), [&](const Entry &known) {
        return known.name == request.substr(0, equals);
    });
    if (entry == std::end(entries))
        fail("is no misbehaviour");
    if (entry->takesNumber != hasNumber)
        fail(hasNumber ? "takes no number" : "takes a number");
    return {entry->kind, hasNumber ? numberIn(request.substr(equals + 1), entry->smallest) : 0};
}

} // namespace boardsim
