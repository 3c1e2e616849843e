#include "torture/catalogue.h"

#include "language.h"
#include "stage/scene.h"

// Faults of contacts in reports that are well formed.

namespace torture {

using namespace stage;
using lab::trLater;

namespace {

constexpr int mostContacts = 127;
constexpr int stuckContacts = 50; // fewer than the identifiers of later ones

/// A touch report with that many contacts from 0 on, in rows, at @p y and below.
std::string touches(int count, int y, bool down)
{
    std::string line = R"({"type":"touch","board":1,"contacts":[)";
    for (int id = 0; id < count; ++id) {
        line += (id > 0 ? R"(,{"id":)" : R"({"id":)") + std::to_string(id) + R"(,"x":)"
            + std::to_string(4000 + id % 16 * 1500) + R"(,"y":)" + std::to_string(y + id / 16 * 1000)
            + R"(,"extent":100,"down":)" + (down ? "true}" : "false}");
    }
    return line + "]}";
}

Lines manyContacts()
{
    Lines lines;
    for (int step = 0; step < 4; ++step)
        lines.push_back(touches(mostContacts, 8000 + step * 200, true));
    lines.push_back(touches(mostContacts, 8800, false));
    return lines;
}

/// Two touches that exchange their identifiers with each report.
Lines swaps()
{
    Lines lines;
    for (int step = 0; step < 10; ++step) {
        const int left = 6000 + step * 300;
        const int right = 20000 - step * 300;
        lines.push_back(touch(1, step % 2 ? left : right, 9000, true));
        lines.push_back(touch(2, step % 2 ? right : left, 9000, true));
    }
    lines.push_back(touch(1, 9000, 9000, false));
    lines.push_back(touch(2, 17000, 9000, false));
    return lines;
}

Lines allPens()
{
    Lines lines;
    for (int step = 0; step < 5; ++step) {
        for (int number = 0; number < 16; ++number)
            lines.push_back(pen(number, 4000 + step * 500, 6000 + number * 1000, step < 4));
    }
    return lines;
}

/// Contacts of all kinds that never lift.
Lines stuck()
{
    Lines lines{touches(stuckContacts, 6000, true)};
    for (int number = 0; number < 16; ++number)
        lines.push_back(pen(number, 28000, 6000 + number * 1000, true));
    lines.emplace_back(
        R"({"type":"erase","board":1,"contacts":[{"id":0,"x":9000,"y":3000,"width":900,"height":300,"down":true}]})");
    return lines;
}

Lines farAway()
{
    Lines lines;
    for (const int x : {32768, 40000, 65535}) {
        for (const int y : {32768, 40000, 65535}) {
            lines.push_back(raw("0045" + hex(0x83) + hex(x) + hex(x >> 8) + hex(y) + hex(y >> 8) + "ffff"));
            lines.push_back(raw("0045" + hex(0x03) + hex(x) + hex(x >> 8) + hex(y) + hex(y >> 8) + "ffff"));
        }
    }
    return lines;
}

} // namespace

void addContacts(std::vector<Fault> &faults)
{
    const Lines devices{board(1)};
    faults.push_back({"127-contacts", trLater("127 touches in one report"), devices, manyContacts(), 10});
    faults.back().handbacks = 0;
    faults.push_back({"10000-contacts",
                      trLater("10,000 contacts in one report, of the same identifiers"),
                      devices,
                      {touch(4, 9000, 9000, true), touch(4, 9500, 9000, true), touch(4, 9500, 9000, false)},
                      10,
                      "report-length=70002"});
    faults.push_back({"lift-without-down",
                      trLater("contacts that lift without having been down"),
                      devices,
                      {touch(5, 9000, 9000, false), pen(3, 9000, 9000, false),
                       raw("0046"
                           "051027102710101010")},
                      200});
    faults.back().handbacks = 0;
    faults.push_back({"down-twice",
                      trLater("contacts that go down while they are down"),
                      devices,
                      {touch(6, 9000, 9000, true), touch(6, 20000, 12000, true), touch(6, 9000, 12000, true),
                       touch(6, 9000, 12000, false), touch(6, 9000, 12000, false)},
                      100});
    faults.back().handbacks = 0;
    faults.push_back({"swapped-identifiers", trLater("two touches that exchange their identifiers"), devices,
                      swaps(), 20});
    faults.back().handbacks = 0;
    faults.push_back({"16-pens", trLater("sixteen pens at once"), devices, allPens(), 20});
    faults.back().handbacks = 0;
    faults.push_back(
        {"flood",
         trLater("10,000 reports within one tick"),
         devices,
         {R"({"type":"move","board":1,"rate":1000000,"time":10000,"contacts":[{"kind":"touch","id":7,)"
          R"("line":[[4000,9000],[28000,12000]],"extent":100}]})"},
         3});
    faults.back().handbacks = 0;
    faults.push_back(
        {"far-away", trLater("contacts beyond the screen, of the largest size"), devices, farAway(), 50});
    faults.push_back({"stuck", trLater("contacts that never lift"), devices, stuck(), 20});
    faults.back().handbacks = 0;
}

} // namespace torture
