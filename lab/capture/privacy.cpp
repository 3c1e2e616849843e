#include "capture/privacy.h"

#include <array>
#include <string_view>

namespace capture {

std::string withoutSerialNumbers(std::string info)
{
    constexpr std::array<std::string_view, 3> keys{"serial", "sn", "mac"};
    for (const std::string_view key : keys) {
        const std::string item = std::string(key) + "<";
        for (std::size_t at = info.find(item); at != std::string::npos; at = info.find(item, at + 1)) {
            const bool isWhole = at == 0 || info[at - 1] == '>' || info[at - 1] == ' ';
            const std::size_t value = at + item.size();
            const std::size_t end = info.find('>', value);
            if (isWhole && end != std::string::npos)
                info.erase(value, end - value);
        }
    }
    return info;
}

} // namespace capture
