#pragma once

#include <cstddef>
#include <cstdint>

/// The layout of every report, written as its data sheet: what a board sends, and what the driver takes for
/// the operating system. Byte 1 of every report is its kind; 16-bit values are unsigned, low byte first. Free
/// of Qt, so that whoever makes or reads reports can share it; nothing else indexes their bytes.
namespace reportlayout {

constexpr int kindAt = 1;

namespace prefix { // 3 bytes that some boards put before a report
constexpr std::uint8_t kind = 0x41;
constexpr unsigned int size = 3;
} // namespace prefix

namespace pen {
constexpr int identifierAt = 0;
constexpr std::uint8_t identifier = 0x08;
constexpr std::uint8_t kind = 0x21;
constexpr int xAt = 3; // 16 bits
constexpr int yAt = 5; // 16 bits
constexpr int stateAt = 7;
constexpr std::uint8_t tipBit = 0x01;
constexpr std::uint8_t buttonBit = 0x02;
constexpr std::uint8_t stateBit2 = 0x04;
constexpr std::uint8_t numberMask = 0x78;
constexpr int numberShift = 3;
constexpr int size = 8;
static_assert(stateAt + 1 == size, "the state byte ends the report");
} // namespace pen

namespace contact { // both lists of contacts: 2-byte header, no count byte; places within a contact
constexpr int firstAt = 2;
constexpr int stateAt = 0;
constexpr std::uint8_t downBit = 0x80;
constexpr std::uint8_t idMask = 0x7F;
constexpr int xAt = 1; // 16 bits
constexpr int yAt = 3; // 16 bits
} // namespace contact

namespace touch {
constexpr std::uint8_t kind = 0x45;
constexpr int extentAt = 5; // 16 bits
constexpr int contactSize = 7;
static_assert(extentAt + 2 == contactSize, "the fields fill a contact");
} // namespace touch

namespace erase {
constexpr std::uint8_t kind = 0x46;
constexpr int widthAt = 5;  // 16 bits
constexpr int heightAt = 7; // 16 bits
constexpr int contactSize = 9;
static_assert(heightAt + 2 == contactSize, "the fields fill a contact");
} // namespace erase

namespace status {
constexpr int identifierAt = 0;
constexpr std::uint8_t identifier = 0x08;
constexpr std::uint8_t kind = 0xA5;
constexpr int firstAt = 2; // signed bytes
constexpr int valueCount = 6;
constexpr int size = 8;
static_assert(firstAt + valueCount == size, "the values fill the report");
} // namespace status

namespace systemReport { // what the driver takes: touches as above, but with an extent of 0; pens as here
constexpr int bufferSize = 256;
constexpr int lengthAt = 0;
constexpr int penNumberAt = 2;
constexpr std::uint8_t penTipBit = 0x80; // in the byte of the number
constexpr int penXAt = 3;                // 16 bits
constexpr int penYAt = 5;                // 16 bits
constexpr int penLength = 9;
constexpr int maxContacts = (bufferSize - contact::firstAt) / touch::contactSize;
static_assert(maxContacts == 36);
} // namespace systemReport

/// @p report is a byte array of a length that holds byte @p at: std::vector, std::array.
template <typename Report> void putByte(Report &report, int at, int value)
{
    report.at(static_cast<std::size_t>(at)) = static_cast<std::uint8_t>(value & 0xFF);
}

template <typename Report> void putWord(Report &report, int at, int value)
{
    putByte(report, at, value);
    putByte(report, at + 1, value >> 8);
}

} // namespace reportlayout
