#include "hex.h"

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace boardsim {

namespace {

constexpr std::string_view digits = "0123456789abcdef";

int digitValue(char digit)
{
    const std::size_t value = digits.find(static_cast<char>(std::tolower(static_cast<unsigned char>(digit))));
    return value == std::string_view::npos ? -1 : static_cast<int>(value);
}

} // namespace

std::string hexText(const void *data, int length)
{
    std::string text;
    if (!data)
        return text;
    const auto *const bytes = static_cast<const std::uint8_t *>(data);
    for (int i = 0; i < length; ++i) {
        text.push_back(digits[bytes[i] >> 4]);
        text.push_back(digits[bytes[i] & 0x0f]);
    }
    return text;
}

std::optional<Bytes> bytesFromHex(const std::string &text)
{
    Bytes bytes;
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] == ' ') {
            ++at;
            continue;
        }
        const int high = digitValue(text[at]);
        const int low = at + 1 < text.size() ? digitValue(text[at + 1]) : -1;
        if (high < 0 || low < 0)
            return {};
        bytes.push_back(static_cast<std::uint8_t>(high << 4 | low));
        at += 2;
    }
    return bytes;
}

} // namespace boardsim
