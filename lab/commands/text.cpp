#include "commands/text.h"

#include "hex.h"

#include <algorithm>
#include <cwchar>
#include <fstream>
#include <iterator>

namespace lab {

std::string hexOf(const capture::Line &line)
{
    return boardsim::hexText(line.bytes.data(), static_cast<int>(line.bytes.size()));
}

double seconds(std::int64_t microseconds)
{
    return static_cast<double>(microseconds) / 1e6;
}

std::string fitting(const std::string &text, int columns)
{
    std::mbstate_t state{};
    std::size_t at = 0;
    while (at < text.size()) {
        wchar_t character = 0;
        std::size_t length = std::mbrtowc(&character, text.data() + at, text.size() - at, &state);
        const bool isCharacter = length > 0 && length <= text.size() - at;
        if (!isCharacter) {
            length = 1;
            state = {};
        }
        columns -= isCharacter ? std::max(0, wcwidth(character)) : 1;
        if (columns < 0)
            break;
        at += length;
    }
    return text.substr(0, at);
}

std::string contentsOf(const std::string &file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace lab
