#include "torture/catalogue.h"

#include "language.h"
#include "stage/scene.h"

// Boards that come and go, and lists of them that are not true.

namespace torture {

using namespace stage;
using lab::trLater;

namespace {

constexpr int manyBoards = 20;

/// A stroke of which one step is left out and the board unplugged in its place, and plugged in again.
Lines unpluggedAt(std::size_t step)
{
    Lines lines{pen(1, 9000, 9000, false), pen(1, 9000, 9000, true), pen(1, 12000, 9000, true),
                pen(1, 15000, 9000, true), pen(1, 15000, 9000, false)};
    const Lines gap{unplug(1), plug(1)};
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(step), gap.begin(), gap.end());
    // However it went on, the pen has lifted in the end.
    lines.push_back(pen(1, 15000, 9000, false));
    return lines;
}

Lines numbered(int first, int last)
{
    Lines lines;
    for (int number = first; number <= last; ++number)
        lines.push_back(board(number));
    return lines;
}

Lines comeAndGo()
{
    Lines lines;
    for (int number = 2; number <= 8; ++number)
        lines.push_back(unplug(number));
    for (int number = 8; number >= 2; --number)
        lines.push_back(plug(number));
    return lines;
}

} // namespace

void addDevices(std::vector<Fault> &faults)
{
    constexpr const char *phases[] = {"before-hovering", "while-hovering", "at-the-first-point",
                                      "in-a-stroke",     "before-lifting", "after-lifting"};
    for (std::size_t step = 0; step < std::size(phases); ++step)
        faults.push_back({std::string("unplug-") + phases[step],
                          trLater("a board that goes and comes again in that phase of a stroke"),
                          {board(1), board(2)},
                          unpluggedAt(step),
                          10});
    faults.push_back(
        {"come-and-go", trLater("seven boards that go and come one by one"), numbered(1, 8), comeAndGo(), 5});
    faults.push_back({"many-boards", trLater("twenty boards"), numbered(1, manyBoards), {}, 0});
    faults.push_back({"wrong-device-counts",
                      trLater("a list that is too long, then too short"),
                      {board(1), board(2)},
                      {unplug(2), plug(2), unplug(2), plug(2), unplug(2), plug(2)},
                      5,
                      "wrong-device-counts"});
    faults.push_back({"a-million-devices",
                      trLater("a count of a million, and information on none of them"),
                      {board(1)},
                      {},
                      0,
                      "device-count=1000000"});
    faults.back().draws = faults.back().handsBack = false;
    faults.push_back({"negative-count", trLater("a count below zero"), {board(1)}, {}, 0, "device-count=-1"});
    faults.back().draws = faults.back().handsBack = false;
    faults.push_back({"attach-fails",
                      trLater("a driver that says that it has not attached"),
                      {board(1)},
                      {},
                      0,
                      "attach-fails"});
    faults.push_back({"same-number",
                      trLater("two boards with the same number"),
                      {board(1), board(2)},
                      {},
                      0,
                      "same-number"});
    faults.push_back({"full-record",
                      trLater("a device record that is filled to its last byte"),
                      {board(1)},
                      {},
                      0,
                      "full-record"});
    faults.push_back({"latin-1",
                      trLater("information that is not UTF-8"),
                      {R"({"type":"device","kind":1,"board":1,"info":"name<Schüler>xp<4>xt<10>"})"},
                      {},
                      0,
                      "latin-1-info"});
}

} // namespace torture
