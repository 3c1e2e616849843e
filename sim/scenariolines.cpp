#include "scenariolines.h"

#include "hex.h"
#include "movingcontacts.h"

#include "hardware/abstracthardwarewrapper.h"

#include <algorithm>
#include <climits>
#include <optional>
#include <set>
#include <utility>

#include <nlohmann/json.hpp>

namespace boardsim {

namespace {

constexpr int newestVersion = 2;
constexpr std::int64_t highestRate = 1'000'000;
constexpr std::int64_t highestCount = 1'000'000'000'000;

/// Parses one line, and keeps the first key that stands twice in one object: Json keeps only its last value.
class LineParser
{
public:
    /// Throws as Json::parse() does.
    Json parse(const std::string &line)
    {
        return Json::parse(line,
                           [this](int, Json::parse_event_t event, Json &key) { return see(event, key); });
    }
    const std::optional<std::string> &repeatedKey() const { return m_repeatedKey; }

private:
    /// Returns true, which tells the parser to keep the value.
    bool see(Json::parse_event_t event, const Json &key)
    {
        if (event == Json::parse_event_t::object_start)
            m_openObjects.emplace_back();
        else if (event == Json::parse_event_t::object_end)
            m_openObjects.pop_back();
        else if (event == Json::parse_event_t::key && !m_openObjects.back().insert(key).second
                 && !m_repeatedKey)
            m_repeatedKey = key.get<std::string>();
        return true;
    }

    std::vector<std::set<std::string>> m_openObjects; ///< the keys so far; innermost last
    std::optional<std::string> m_repeatedKey;
};

Bytes bytesOf(Fields &fields)
{
    const std::optional<Bytes> bytes = bytesFromHex(fields.text("hex", longestLine));
    if (!bytes)
        fields.fail("\"hex\" is not a row of bytes of two hexadecimal digits each");
    return bytes.value_or(Bytes());
}

} // namespace

bool isIgnored(const std::string &line)
{
    const std::size_t first = line.find_first_not_of(" \t\r");
    return first == std::string::npos || line[first] == '#';
}

const std::map<std::string, ScenarioLines::LineReader> ScenarioLines::lineReaders{
    {"device", &ScenarioLines::readDevice}, {"raw", &ScenarioLines::readRaw},
    {"pen", &ScenarioLines::readPen},       {"touch", &ScenarioLines::readTouch},
    {"erase", &ScenarioLines::readErase},   {"move", &ScenarioLines::readMove},
    {"wait", &ScenarioLines::readWait},     {"repeat", &ScenarioLines::readRepeat},
    {"end", &ScenarioLines::readEnd},       {"plug", &ScenarioLines::readPlug},
    {"unplug", &ScenarioLines::readUnplug}, {"mark", &ScenarioLines::readMark},
};

const std::map<std::string, ScenarioLines::LineReader> ScenarioLines::tellingReaders{
    {"call", &ScenarioLines::readCall},
    {"handback", &ScenarioLines::readHandback},
    {"lost", &ScenarioLines::readLost},
    {"note", &ScenarioLines::readNote},
};

bool ScenarioLines::read(const std::string &line, int number)
{
    m_line = number;
    m_errorLine = number;
    // The parser takes a NUL for the end of the line.
    if (const std::size_t nul = line.find('\0'); nul != std::string::npos) {
        m_error = "not valid JSON at column " + std::to_string(nul + 1);
        return false;
    }
    LineParser parser;
    Json object;
    try {
        object = parser.parse(line);
    } catch (const Json::parse_error &error) {
        m_error = "not valid JSON at column " + std::to_string(error.byte);
        m_isNoJson = true;
        return false;
    } catch (const Json::out_of_range &) {
        m_error = "holds a number that is too large";
        return false;
    }
    Fields fields(object, m_error);
    if (parser.repeatedKey())
        fields.fail("field \"" + *parser.repeatedKey() + "\" stands twice");
    if (m_version > 1)
        fields.allowOthers();
    const std::string type = fields.text("type", longestText);
    if (fields.failed())
        return false;
    if (m_started)
        readOther(fields, type);
    else
        readFirst(fields, type);
    if (!fields.failed())
        fields.refuseOthers();
    m_scenario.lines.resize(m_scenario.steps.size(), number);
    return !fields.failed();
}

bool ScenarioLines::finish(int lastLine)
{
    m_errorLine = lastLine;
    if (!m_started) {
        m_error = "the scenario line is missing";
        return false;
    }
    if (m_openBlocks.empty())
        return true;
    m_error = "repeat without end";
    m_errorLine = m_openBlocks.back().line;
    return false;
}

void ScenarioLines::readFirst(Fields &fields, const std::string &type)
{
    m_started = true;
    if (type != "scenario") {
        fields.fail("the first line is not of type \"scenario\"");
        return;
    }
    m_version = fields.integer("version", INT_MIN, INT_MAX);
    if (m_version > 1)
        fields.allowOthers();
    if (m_version < 1 || m_version > newestVersion)
        fields.fail("version " + std::to_string(m_version) + " is not known, only 1 and 2");
}

void ScenarioLines::readTime(Fields &fields, const std::string &type)
{
    if (m_version == 1 || !fields.has("at"))
        return;
    const std::int64_t time = fields.integer("at", 0, latestTime);
    if (m_openBlocks.empty() && type != "repeat")
        m_scenario.steps.emplace_back(WaitUntilTime{time});
    else
        fields.fail("a line of a repeated block has no time of its own");
}

void ScenarioLines::readOther(Fields &fields, const std::string &type)
{
    const auto teller = tellingReaders.find(type);
    if (m_version > 1 && teller != tellingReaders.end()) {
        if (fields.has("at"))
            fields.integer("at", 0, latestTime);
        (this->*teller->second)(fields);
        return;
    }
    const auto reader = lineReaders.find(type);
    if (reader == lineReaders.end()) {
        fields.fail("unknown type \"" + type + "\"");
        return;
    }
    readTime(fields, type);
    (this->*reader->second)(fields);
}

void ScenarioLines::readCall(Fields &fields)
{
    fields.text("export", longestText);
}

void ScenarioLines::readHandback(Fields &fields)
{
    fields.smallInteger("board", INT_MIN, INT_MAX);
    bytesOf(fields);
}

void ScenarioLines::readLost(Fields &fields)
{
    fields.integer("count", 0, highestCount);
}

void ScenarioLines::readNote(Fields &fields)
{
    fields.text("text", longestText);
}

void ScenarioLines::readDevice(Fields &fields)
{
    Device device;
    device.kind = fields.smallInteger("kind", INT_MIN, INT_MAX);
    device.board = fields.smallInteger("board", 0, INT_MAX);
    device.info = fields.text("info", _ZORVIC_DEVICE_INFO::longestInfo);
    device.plugged = fields.flagOr("plugged", true);
    const auto isSame = [&device](const Device &other) { return other.board == device.board; };
    if (std::any_of(m_scenario.devices.begin(), m_scenario.devices.end(), isSame))
        fields.fail("board " + std::to_string(device.board) + " is declared twice");
    m_scenario.devices.push_back(std::move(device));
}

void ScenarioLines::readRaw(Fields &fields)
{
    const int board = declaredBoard(fields);
    addReport(board, bytesOf(fields));
}

void ScenarioLines::readPen(Fields &fields)
{
    const int board = declaredBoard(fields);
    PenSample sample;
    sample.pen = fields.smallInteger("pen", 0, maxPen);
    sample.x = fields.smallInteger("x", 0, maxPosition);
    sample.y = fields.smallInteger("y", 0, maxPosition);
    sample.tip = fields.flag("tip");
    sample.button = fields.flag("button");
    sample.bit2 = fields.flagOr("bit2", false);
    addReport(board, penReport(sample));
}

void ScenarioLines::readTouch(Fields &fields)
{
    const int board = declaredBoard(fields);
    std::vector<TouchContact> contacts;
    for (const Json *const item : fields.list("contacts", 0)) {
        Fields contact(*item, fields);
        TouchContact touch;
        touch.id = contact.smallInteger("id", 0, maxContactId);
        touch.x = contact.smallInteger("x", 0, maxPosition);
        touch.y = contact.smallInteger("y", 0, maxPosition);
        touch.extent = contact.smallInteger("extent", 0, maxPosition);
        touch.down = contact.flag("down");
        contact.refuseOthers();
        contacts.push_back(touch);
    }
    addReport(board, touchReport(contacts));
}

void ScenarioLines::readErase(Fields &fields)
{
    const int board = declaredBoard(fields);
    std::vector<EraseContact> contacts;
    for (const Json *const item : fields.list("contacts", 0)) {
        Fields contact(*item, fields);
        EraseContact eraser;
        eraser.id = contact.smallInteger("id", 0, maxContactId);
        eraser.x = contact.smallInteger("x", 0, maxPosition);
        eraser.y = contact.smallInteger("y", 0, maxPosition);
        eraser.width = contact.smallInteger("width", 0, maxPosition);
        eraser.height = contact.smallInteger("height", 0, maxPosition);
        eraser.down = contact.flag("down");
        contact.refuseOthers();
        contacts.push_back(eraser);
    }
    addReport(board, eraseReport(contacts));
}

void ScenarioLines::readMove(Fields &fields)
{
    Move move;
    move.board = declaredBoard(fields);
    move.rate = fields.integer("rate", 1, highestRate);
    move.time = fields.integer("time", 0, longestTime);
    move.lift = fields.flagOr("lift", true);
    for (const Json *const item : fields.list("contacts", 1)) {
        Fields contact(*item, fields);
        move.contacts.push_back(readMovingContact(contact));
        contact.refuseOthers();
    }
    m_scenario.steps.emplace_back(std::move(move));
}

void ScenarioLines::readWait(Fields &fields)
{
    if (fields.has("file") && fields.has("time"))
        fields.fail(R"(either "time" or "file" says what to wait for)");
    if (fields.has("file"))
        m_scenario.steps.emplace_back(WaitForFile{fields.text("file", longestText)});
    else
        m_scenario.steps.emplace_back(WaitForTime{fields.integer("time", 0, longestTime)});
}

void ScenarioLines::readRepeat(Fields &fields)
{
    Repeat repeat;
    if (fields.has("count"))
        repeat.count = fields.integer("count", 1, highestCount);
    m_openBlocks.push_back({m_scenario.steps.size(), m_line});
    m_scenario.steps.emplace_back(repeat);
}

void ScenarioLines::readEnd(Fields &fields)
{
    if (m_openBlocks.empty()) {
        if (m_version == 1) // later: the end of a capture
            fields.fail("end without repeat");
        return;
    }
    m_scenario.steps.emplace_back(End{m_openBlocks.back().repeat});
    m_openBlocks.pop_back();
}

void ScenarioLines::readPlug(Fields &fields)
{
    m_scenario.steps.emplace_back(Plug{declaredBoard(fields), true});
}

void ScenarioLines::readUnplug(Fields &fields)
{
    m_scenario.steps.emplace_back(Plug{declaredBoard(fields), false});
}

void ScenarioLines::readMark(Fields &fields)
{
    m_scenario.steps.emplace_back(Mark{fields.text("text", longestText)});
}

int ScenarioLines::declaredBoard(Fields &fields)
{
    const int board = fields.smallInteger("board", 0, INT_MAX);
    const auto isWanted = [board](const Device &device) { return device.board == board; };
    if (std::none_of(m_scenario.devices.begin(), m_scenario.devices.end(), isWanted))
        fields.fail("board " + std::to_string(board) + " is not declared by a device line above");
    return board;
}

void ScenarioLines::addReport(int board, Bytes report)
{
    m_scenario.steps.emplace_back(SendReport{board, std::move(report)});
}

} // namespace boardsim
