#include "torture/catalogue.h"

#include "language.h"
#include "stage/scene.h"

// Faults in the bytes of reports.

namespace torture {

using namespace stage;
using lab::trLater;

namespace {

constexpr int longest = 300;  // bytes
constexpr int anyByte = 0x10; // of a contact: one that has lifted, in the upper left of the window
constexpr const char *prefix = "004100";

constexpr const char *penReport = "0821100010001000";
constexpr const char *touchReport = "0045101010101010ff";
constexpr const char *eraseReport = "0046101010101010ff10ff";
constexpr const char *statusReport = "00a5010203040506";
constexpr const char *unknownReport = "0099101010101010";

/// @p head, then as many bytes as make it @p length, or only its beginning.
std::string ofLength(const std::string &head, int length)
{
    const std::size_t digits = 2 * static_cast<std::size_t>(length);
    return (head + repeated(hex(anyByte), length)).substr(0, digits);
}

Lines everyLength()
{
    Lines lines;
    for (const char *const head : {"0821", "0045", "0046", "00a5", "0099", "0041000045"}) {
        for (int length = 0; length <= longest; ++length)
            lines.push_back(raw(ofLength(head, length)));
    }
    return lines;
}

Lines everyKind()
{
    Lines lines;
    for (int kind = 0; kind < 256; ++kind) {
        for (const int length : {2, 3, 8, 20})
            lines.push_back(raw(ofLength("00" + hex(kind), length)));
    }
    return lines;
}

Lines prefixes()
{
    Lines lines{raw("0041"), raw(prefix), raw(std::string(prefix) + prefix)};
    for (const char *const report : {penReport, touchReport, eraseReport, statusReport, unknownReport}) {
        lines.push_back(raw(prefix + std::string(report)));
        lines.push_back(raw(std::string(prefix) + prefix + report));
    }
    return lines;
}

} // namespace

void addReports(std::vector<Fault> &faults)
{
    const Lines devices{board(1)};
    faults.push_back({"every-length", trLater("reports of every kind and length from 0 to 300 bytes"),
                      devices, everyLength(), 3});
    faults.back().handbacks = 0;
    faults.push_back(
        {"every-kind", trLater("reports of all 256 kinds, short and long"), devices, everyKind(), 5});
    faults.back().handbacks = 0;
    faults.push_back({"prefixes", trLater("a prefix before every kind of report, two of them, and one alone"),
                      devices, prefixes(), 100});
    faults.back().handbacks = 0;
    faults.push_back({"no-contacts",
                      trLater("touch and erase reports without a contact, and with a part of one"),
                      devices,
                      {raw("0045"), raw("0046"), raw("004585"), raw("00468510001000")},
                      500});
    faults.back().handbacks = 0;
}

} // namespace torture
