// docs/wire-formats.md, whose tables must agree with the constants of the program.

#include "hardware/reportlayout.h"
#include "hardware/zorvicexports.h"
#include "hardware/zorvichardware.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

using namespace reportlayout;

namespace {

using Cells = std::vector<std::string>;

Cells cellsOf(const std::string &line)
{
    Cells cells;
    for (std::size_t start = 1, end = 0; (end = line.find('|', start)) != std::string::npos;
         start = end + 1) {
        const std::size_t first = line.find_first_not_of(' ', start);
        const std::size_t last = line.find_last_not_of(' ', end - 1);
        cells.push_back(first < end ? line.substr(first, last - first + 1) : "");
    }
    return cells;
}

std::string joined(const Cells &cells, std::size_t count)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i)
        text += (i > 0 ? " | " : "") + (i < cells.size() ? cells[i] : "(no cell)");
    return text;
}

/// The first @p columns cells of each row of the tables under @p heading, without the two lines of a table's
/// head.
std::vector<std::string> documented(const std::string &heading, std::size_t columns)
{
    std::ifstream document(WIRE_FORMATS);
    std::vector<std::string> rows;
    bool under = false;
    int row = 0; // of the table
    for (std::string line; std::getline(document, line);) {
        if (line.rfind('#', 0) == 0)
            under = line.substr(line.find_first_not_of('#') + 1) == heading;
        row = line.rfind('|', 0) == 0 ? row + 1 : 0;
        if (under && row > 2)
            rows.push_back(joined(cellsOf(line), columns));
    }
    return rows;
}

std::string hex(int byte)
{
    char text[8];
    std::snprintf(text, sizeof text, "0x%02X", static_cast<unsigned int>(byte));
    return text;
}

std::string code(const std::string &text)
{
    return '`' + text + '`';
}

/// The bytes that a field covers, "3, 4".
std::string bytes(int at, int count)
{
    std::string text = std::to_string(at);
    for (int i = 1; i < count; ++i)
        text += ", " + std::to_string(at + i);
    return text;
}

/// The same in a list of contacts, "3 + 7i, 4 + 7i".
std::string contactBytes(int at, int count, int contactSize)
{
    std::string text;
    for (int i = 0; i < count; ++i)
        text += (i > 0 ? ", " : "") + std::to_string(contact::firstAt + at + i) + " + "
            + std::to_string(contactSize) + 'i';
    return text;
}

/// The bits of a mask without gaps, "3 to 6".
std::string bits(int mask)
{
    int first = 0;
    while (!(mask >> first & 1))
        ++first;
    int last = first;
    while (mask >> (last + 1) & 1)
        ++last;
    return first == last ? std::to_string(first) : std::to_string(first) + " to " + std::to_string(last);
}

std::string row(const std::string &where, const std::string &which_bits, const std::string &field,
                const std::string &range)
{
    return where + " | " + which_bits + " | " + field + " | " + range;
}

std::string unread(int at)
{
    return row(bytes(at, 1), "all", "–", "any");
}

std::string kindRow(int kind)
{
    return row(bytes(kindAt, 1), "all", "kind", hex(kind));
}

std::string upTo(int most)
{
    return "0 to " + std::to_string(most);
}

const std::string word = upTo(0xFFFF);
const std::string flag = "0 or 1";
const std::string penRange = upTo(pen::numberMask >> pen::numberShift);

/// What touch reports, erase reports and touch reports to the system share: kind, id, down, x and y.
std::vector<std::string> contactRows(int kind, int contactSize)
{
    const auto at = [contactSize](int byte, int count) { return contactBytes(byte, count, contactSize); };
    return {kindRow(kind), row(at(contact::stateAt, 1), bits(contact::idMask), "id", upTo(contact::idMask)),
            row(at(contact::stateAt, 1), bits(contact::downBit), "down", flag),
            row(at(contact::xAt, 2), "all", "x", word), row(at(contact::yAt, 2), "all", "y", word)};
}

std::vector<std::string> with(const std::string &first, std::vector<std::string> rows,
                              const std::vector<std::string> &last)
{
    rows.insert(rows.begin(), first);
    rows.insert(rows.end(), last.begin(), last.end());
    return rows;
}

std::string exactly(int size)
{
    return "exactly " + std::to_string(size) + " bytes";
}

std::vector<std::string> functionRows()
{
    std::vector<std::string> rows;
    const auto add = [&rows](const std::string &name, const std::string &signature) {
        rows.push_back(std::to_string(rows.size() + 1) + " | " + code("zorvic" + name) + " | "
                       + code(signature));
    };
#define ADD(name, ...) add(#name, #__VA_ARGS__);
    ZORVIC_EXPORTS(ADD)
#undef ADD
    return rows;
}

std::string recordRow(std::size_t at, std::size_t length, const std::string &field)
{
    return std::to_string(at) + " | " + std::to_string(length) + " | " + field;
}

struct Table
{
    const char *name;
    const char *heading;
    std::size_t columns; ///< that are compared
    std::vector<std::string> rows;
};

std::ostream &operator<<(std::ostream &out, const Table &table)
{
    return out << table.heading;
}

class TheDocumentOfTheWireFormats : public testing::TestWithParam<Table>
{
};

} // namespace

TEST_P(TheDocumentOfTheWireFormats, SaysWhatTheProgramDoes)
{
    EXPECT_EQ(documented(GetParam().heading, GetParam().columns), GetParam().rows);
}

INSTANTIATE_TEST_SUITE_P(
    Table, TheDocumentOfTheWireFormats,
    testing::Values(
        Table{"Kinds",
              "Kinds of reports",
              3,
              {hex(pen::kind) + " | pen | " + exactly(pen::size) + ", and byte "
                   + std::to_string(pen::identifierAt) + " is " + hex(pen::identifier),
               hex(touch::kind) + " | touch | –", hex(erase::kind) + " | erase | –",
               hex(status::kind) + " | touch status | " + exactly(status::size)}},
        Table{"Prefix", "Prefix", 4, {unread(0), kindRow(prefix::kind), unread(prefix::size - 1)}},
        Table{"Pen",
              "Pen report",
              4,
              {row(bytes(pen::identifierAt, 1), "all", "identifier", hex(pen::identifier)),
               kindRow(pen::kind), unread(pen::xAt - 1), row(bytes(pen::xAt, 2), "all", "x", word),
               row(bytes(pen::yAt, 2), "all", "y", word),
               row(bytes(pen::stateAt, 1), bits(pen::tipBit), "tip", flag),
               row(bytes(pen::stateAt, 1), bits(pen::buttonBit), "button", flag),
               row(bytes(pen::stateAt, 1), bits(pen::stateBit2), "state bit 2", flag),
               row(bytes(pen::stateAt, 1), bits(pen::numberMask), "pen", penRange),
               row(bytes(pen::stateAt, 1),
                   bits(0xFF & ~(pen::tipBit | pen::buttonBit | pen::stateBit2 | pen::numberMask)), "–",
                   "any")}},
        Table{"Touch", "Touch report", 4,
              with(unread(0), contactRows(touch::kind, touch::contactSize),
                   {row(contactBytes(touch::extentAt, 2, touch::contactSize), "all", "extent", word)})},
        Table{"Erase", "Erase report", 4,
              with(unread(0), contactRows(erase::kind, erase::contactSize),
                   {row(contactBytes(erase::widthAt, 2, erase::contactSize), "all", "width", word),
                    row(contactBytes(erase::heightAt, 2, erase::contactSize), "all", "height", word)})},
        Table{"TouchStatus",
              "Touch-status report",
              4,
              {unread(0), kindRow(status::kind),
               row(std::to_string(status::firstAt) + " to "
                       + std::to_string(status::firstAt + status::valueCount - 1),
                   "all", "values", "-128 to 127 each")}},
        Table{"Sizes",
              "Sizes",
              2,
              {"bytes of a prefix | " + std::to_string(prefix::size),
               "bytes of a pen report | " + std::to_string(pen::size),
               "bytes of a touch contact | " + std::to_string(touch::contactSize),
               "bytes of an erase contact | " + std::to_string(erase::contactSize),
               "bytes of a touch-status report | " + std::to_string(status::size),
               "bytes of a pen report to the operating system | " + std::to_string(systemReport::penLength),
               "bytes of the buffer for a report to the operating system | "
                   + std::to_string(systemReport::bufferSize),
               "most contacts in a touch report to the operating system | "
                   + std::to_string(systemReport::maxContacts)}},
        Table{
            "PenToTheSystem",
            "Pen report to the operating system",
            4,
            {row(bytes(systemReport::lengthAt, 1), "all", "length", std::to_string(systemReport::penLength)),
             kindRow(pen::kind),
             row(bytes(systemReport::penNumberAt, 1), bits(0xFF & ~systemReport::penTipBit), "pen", penRange),
             row(bytes(systemReport::penNumberAt, 1), bits(systemReport::penTipBit), "tip", flag),
             row(bytes(systemReport::penXAt, 2), "all", "x", word),
             row(bytes(systemReport::penYAt, 2), "all", "y", word),
             row(bytes(systemReport::penYAt + 2, systemReport::penLength - systemReport::penYAt - 2), "all",
                 "–", "0")}},
        Table{"TouchToTheSystem", "Touch report to the operating system", 4,
              with(row(bytes(systemReport::lengthAt, 1), "all", "length",
                       '(' + std::to_string(contact::firstAt) + " + " + std::to_string(touch::contactSize)
                           + "n) modulo 256"),
                   contactRows(touch::kind, touch::contactSize),
                   {row(contactBytes(touch::extentAt, 2, touch::contactSize), "all", "–", "0")})},
        Table{"Commands",
              "Commands",
              1,
              {code(ZorvicHardware::cmdGlintray), code(ZorvicHardware::cmdPenType),
               code(ZorvicHardware::cmdPenHardwareMode), code(ZorvicHardware::cmdTouchStatus)}},
        Table{"DeviceRecord",
              "The device record",
              3,
              {recordRow(offsetof(_ZORVIC_DEVICE_INFO, size), sizeof(_ZORVIC_DEVICE_INFO::size), "size"),
               recordRow(offsetof(_ZORVIC_DEVICE_INFO, kind), sizeof(_ZORVIC_DEVICE_INFO::kind), "kind"),
               recordRow(offsetof(_ZORVIC_DEVICE_INFO, board), sizeof(_ZORVIC_DEVICE_INFO::board), "board"),
               recordRow(offsetof(_ZORVIC_DEVICE_INFO, additionalInfo),
                         sizeof(_ZORVIC_DEVICE_INFO::additionalInfo), "additionalInfo")}},
        Table{"Functions", "The driver's functions", 3, functionRows()}),
    [](const testing::TestParamInfo<Table> &table) { return table.param.name; });
