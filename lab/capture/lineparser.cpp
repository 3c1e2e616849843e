#include "capture/lineparser.h"

#include "hex.h"

#include <algorithm>
#include <map>
#include <variant>

#include <nlohmann/json.hpp>

namespace capture {

namespace {

const std::map<std::string, Line::Type> types{
    {"device", Line::Type::device}, {"raw", Line::Type::report},   {"pen", Line::Type::report},
    {"touch", Line::Type::report},  {"erase", Line::Type::report}, {"call", Line::Type::call},
    {"lost", Line::Type::lost},     {"note", Line::Type::note},    {"handback", Line::Type::handback},
    {"mark", Line::Type::mark},     {"plug", Line::Type::plug},    {"unplug", Line::Type::unplug},
};

bool endsABlock(const boardsim::Step &step)
{
    return std::holds_alternative<boardsim::End>(step);
}

} // namespace

LineParser::Result LineParser::parse(std::string_view text, std::int64_t number, bool isWhole)
{
    m_line.number = number;
    if (isFast(text))
        return Result::line;
    m_copy.assign(text);
    if (boardsim::isIgnored(m_copy))
        return Result::nothing;
    if (!m_scenario.read(m_copy, static_cast<int>(number)))
        return isWhole || !m_scenario.mayBeCutOff() ? Result::wrong : Result::cutOff;
    m_line = Line();
    m_line.text = text;
    m_line.number = number;
    describe(m_scenario.scenario());
    if (!m_started)
        m_line.type = Line::Type::first;
    m_started = true;
    m_scenario.scenario().steps.clear();
    m_scenario.scenario().lines.clear();
    return Result::line;
}

bool LineParser::isFast(std::string_view text)
{
    if (m_scenario.version() == 1 || !m_fast.parse(text, m_line))
        return false;
    return m_line.type == Line::Type::handback || m_boards.count(m_line.board) > 0;
}

void LineParser::describe(const boardsim::Scenario &parsed)
{
    const auto json = nlohmann::json::parse(m_copy);
    const auto text = json.at("type").get<std::string>();
    const auto known = types.find(text);
    if (known != types.end())
        m_line.type = known->second;
    else if (text == "end" && std::none_of(parsed.steps.begin(), parsed.steps.end(), endsABlock))
        m_line.type = Line::Type::end;
    if (json.contains("at") && json["at"].is_number_integer())
        m_line.at = json["at"].get<std::int64_t>();
    if (json.contains("board") && json["board"].is_number_integer())
        m_line.board = json["board"].get<int>();
    if (json.contains("inside") && json["inside"].is_number())
        m_line.inside = json["inside"].get<double>();
    if (m_line.type == Line::Type::device)
        m_boards.insert(m_line.board);
    for (const boardsim::Step &step : parsed.steps) {
        if (const auto *const report = std::get_if<boardsim::SendReport>(&step))
            m_line.bytes = report->report;
    }
    if (m_line.type == Line::Type::handback)
        m_line.bytes = boardsim::bytesFromHex(json.at("hex").get<std::string>()).value_or(Bytes());
}

bool LineParser::finish()
{
    return m_scenario.finish(static_cast<int>(m_line.number));
}

} // namespace capture
