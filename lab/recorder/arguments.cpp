#include "recorder/arguments.h"

#include "hex.h"

#include <array>
#include <cstdio>
#include <string_view>

namespace recorder {

namespace {

using Json = capture::Writer::Json;
using Kind = Parameter::Kind;

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(" *");
    const std::size_t last = text.find_last_not_of(' ');
    return first == std::string_view::npos ? std::string_view() : text.substr(first, last - first + 1);
}

/// "const void *data" is named data; a type alone is a callback's.
Parameter parameterOf(std::string_view declared)
{
    Parameter parameter;
    const std::size_t space = declared.find_last_of(" *");
    const bool isNamed = trimmed(declared).find(' ') != std::string_view::npos;
    parameter.name = isNamed ? std::string(trimmed(declared.substr(space + 1))) : "callback";
    if (declared.find("const char *") != std::string_view::npos)
        parameter.kind = Kind::text;
    else if (parameter.name == "data" && declared.find("const") != std::string_view::npos)
        parameter.kind = Kind::bytes;
    else if (!isNamed || declared.find('*') != std::string_view::npos)
        parameter.kind = Kind::address;
    return parameter;
}

std::string addressText(std::int64_t address)
{
    std::array<char, 20> text{};
    std::snprintf(text.data(), text.size(), "0x%llx", static_cast<unsigned long long>(address));
    return text.data();
}

} // namespace

std::vector<Parameter> parametersOf(Function function)
{
    const std::string_view signature = functionNames[static_cast<std::size_t>(function)].signature;
    std::string_view list = signature.substr(signature.find('(') + 1);
    list.remove_suffix(1);
    std::vector<Parameter> parameters;
    while (!trimmed(list).empty()) {
        const std::size_t comma = list.find(',');
        parameters.push_back(parameterOf(list.substr(0, comma)));
        list = comma == std::string_view::npos ? std::string_view() : list.substr(comma + 1);
    }
    return parameters;
}

Json argumentsOf(const Record &record, const std::uint8_t *bytes)
{
    Json arguments = Json::object();
    std::size_t place = 0;
    for (const Parameter &parameter : parametersOf(static_cast<Function>(record.function))) {
        const std::int64_t value = record.arguments.at(place++);
        switch (parameter.kind) {
        case Kind::number:
            arguments[parameter.name] = value;
            break;
        case Kind::text:
            arguments[parameter.name] = std::string(bytes, bytes + record.kept);
            break;
        case Kind::bytes:
            arguments[parameter.name] = boardsim::hexText(bytes, static_cast<int>(record.kept));
            break;
        case Kind::address:
            arguments[parameter.name] = addressText(value);
            break;
        }
    }
    return arguments;
}

Json resultOf(const Record &record)
{
    const std::string_view signature = functionNames[record.function].signature;
    if (signature.rfind("void(", 0) == 0)
        return nullptr;
    if (signature.rfind("unsigned char(", 0) == 0)
        return (record.result & 0xFF) != 0;
    return record.result;
}

} // namespace recorder
