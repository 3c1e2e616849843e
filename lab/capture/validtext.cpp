#include "capture/validtext.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace capture {

std::string validText(const std::string &text, std::size_t longest)
{
    using Json = nlohmann::json;
    const auto continues = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; };
    std::string valid =
        Json::parse(Json(text).dump(-1, ' ', false, Json::error_handler_t::ignore)).get<std::string>();
    std::size_t end = std::min(valid.size(), longest);
    while (end > 0 && end < valid.size() && continues(valid[end]))
        --end;
    valid.resize(end);
    return valid;
}

} // namespace capture
