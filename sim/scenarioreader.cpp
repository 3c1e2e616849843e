#include "scenarioreader.h"

#include "scenariolines.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

namespace boardsim {

namespace {

enum class LineEnd { newline, file, tooLong };

/// Reads up to the next newline, at most longestLine bytes.
LineEnd nextLine(std::istream &in, std::string &line)
{
    line.clear();
    for (int byte = in.get(); in; byte = in.get()) {
        if (byte == '\n')
            return LineEnd::newline;
        if (line.size() == longestLine)
            return LineEnd::tooLong;
        line.push_back(static_cast<char>(byte));
    }
    return LineEnd::file;
}

} // namespace

std::optional<Scenario> readScenario(std::istream &in, const std::string &name, std::string &error)
{
    ScenarioLines reader;
    std::string line;
    std::string remark;
    int number = 0;
    const auto refuse = [&](int at, const std::string &cause) {
        error = oneLine(name + ":" + std::to_string(at) + ": " + cause);
        return std::nullopt;
    };
    for (LineEnd end = LineEnd::newline; end == LineEnd::newline;) {
        end = nextLine(in, line);
        if (end == LineEnd::file && line.empty())
            break;
        ++number;
        if (end == LineEnd::tooLong)
            return refuse(number, "longer than " + std::to_string(longestLine) + " bytes");
        if (isIgnored(line) || reader.read(line, number))
            continue;
        if (end == LineEnd::newline || !reader.mayBeCutOff())
            return refuse(reader.errorLine(), reader.error());
        remark = "cut off; read up to the line before";
        --number;
    }
    if (in.bad())
        return refuse(number, "cannot be read");
    if (!reader.finish(number))
        return refuse(reader.errorLine(), reader.error());
    if (!remark.empty())
        refuse(number + 1, remark);
    return std::move(reader.scenario());
}

std::optional<Scenario> readScenarioFile(const std::string &name, std::string &error)
{
    const auto refuse = [&](const std::string &cause) {
        error = oneLine(name + ":0: " + cause);
        return std::nullopt;
    };
    // To open a pipe would wait for its writer, and to open a device may change it.
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(name, ignored);
    if (exists(status) && !is_regular_file(status))
        return refuse("not a regular file");
    std::ifstream in(name, std::ios::binary);
    if (!in)
        return refuse(std::string("cannot be opened: ") + std::strerror(errno));
    return readScenario(in, name, error);
}

std::string oneLine(std::string message)
{
    std::replace_if(
        message.begin(), message.end(), [](unsigned char byte) { return std::iscntrl(byte) != 0; }, '?');
    return message;
}

} // namespace boardsim
