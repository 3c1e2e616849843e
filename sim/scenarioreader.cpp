#include "scenarioreader.h"

#include "fields.h"
#include "hex.h"
#include "movingcontacts.h"

#include "hardware/abstracthardwarewrapper.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <system_error>
#include <utility>

#include <nlohmann/json.hpp>

namespace boardsim {

namespace {

constexpr int formatVersion = 1;
constexpr std::size_t longestLine = 65536;              // bytes; keeps other files from filling the memory
constexpr std::int64_t longestTime = 1'000'000'000'000; // microseconds, 11 days; times rate it fits 64 bits
constexpr std::int64_t highestRate = 1'000'000;
constexpr std::int64_t highestCount = 1'000'000'000'000;

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

bool isIgnored(const std::string &line)
{
    const std::size_t first = line.find_first_not_of(" \t\r");
    return first == std::string::npos || line[first] == '#';
}

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

/// Builds a scenario line by line.
class Reader
{
public:
    /// Returns false if the line is wrong; error() says why.
    bool read(const std::string &line, int number);
    /// Checks what only the end of the file can show. Returns false if that is wrong; errorLine() says where.
    bool finish(int lastLine);

    const std::string &error() const { return m_error; }
    int errorLine() const { return m_errorLine; }
    Scenario take() { return std::move(m_scenario); }

private:
    using LineReader = void (Reader::*)(Fields &);

    void readFirst(Fields &fields, const std::string &type);
    void readDevice(Fields &fields);
    void readRaw(Fields &fields);
    void readPen(Fields &fields);
    void readTouch(Fields &fields);
    void readErase(Fields &fields);
    void readMove(Fields &fields);
    void readWait(Fields &fields);
    void readRepeat(Fields &fields);
    void readEnd(Fields &fields);
    void readPlug(Fields &fields);
    void readUnplug(Fields &fields);
    void readMark(Fields &fields);

    int declaredBoard(Fields &fields);
    void addReport(int board, Bytes report);

    struct OpenBlock
    {
        std::size_t repeat;
        int line;
    };

    static const std::map<std::string, LineReader> lineReaders;

    Scenario m_scenario;
    std::vector<OpenBlock> m_openBlocks;
    bool m_started = false; ///< the first line has been read
    int m_line = 0;
    std::string m_error;
    int m_errorLine = 0;
};

const std::map<std::string, Reader::LineReader> Reader::lineReaders{
    {"device", &Reader::readDevice}, {"raw", &Reader::readRaw},       {"pen", &Reader::readPen},
    {"touch", &Reader::readTouch},   {"erase", &Reader::readErase},   {"move", &Reader::readMove},
    {"wait", &Reader::readWait},     {"repeat", &Reader::readRepeat}, {"end", &Reader::readEnd},
    {"plug", &Reader::readPlug},     {"unplug", &Reader::readUnplug}, {"mark", &Reader::readMark},
};

bool Reader::read(const std::string &line, int number)
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
        return false;
    } catch (const Json::out_of_range &) {
        m_error = "holds a number that is too large";
        return false;
    }
    Fields fields(object, m_error);
    if (parser.repeatedKey())
        fields.fail("field \"" + *parser.repeatedKey() + "\" stands twice");
    const std::string type = fields.text("type", longestText);
    if (fields.failed())
        return false;
    const auto reader = lineReaders.find(type);
    if (!m_started)
        readFirst(fields, type);
    else if (reader == lineReaders.end())
        fields.fail("unknown type \"" + type + "\"");
    else
        (this->*reader->second)(fields);
    if (!fields.failed())
        fields.refuseOthers();
    return !fields.failed();
}

bool Reader::finish(int lastLine)
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

void Reader::readFirst(Fields &fields, const std::string &type)
{
    m_started = true;
    if (type != "scenario") {
        fields.fail("the first line is not of type \"scenario\"");
        return;
    }
    const std::int64_t version = fields.integer("version", INT_MIN, INT_MAX);
    if (version != formatVersion)
        fields.fail("version " + std::to_string(version) + " is not known, only 1");
}

void Reader::readDevice(Fields &fields)
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

void Reader::readRaw(Fields &fields)
{
    const int board = declaredBoard(fields);
    const std::optional<Bytes> report = bytesFromHex(fields.text("hex", longestLine));
    if (report)
        addReport(board, *report);
    else
        fields.fail("\"hex\" is not a row of bytes of two hexadecimal digits each");
}

void Reader::readPen(Fields &fields)
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

void Reader::readTouch(Fields &fields)
{
    const int board = declaredBoard(fields);
    std::vector<TouchContact> contacts;
    for (const Json *const item : fields.list("contacts", 0)) {
        Fields contact(*item, m_error);
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

void Reader::readErase(Fields &fields)
{
    const int board = declaredBoard(fields);
    std::vector<EraseContact> contacts;
    for (const Json *const item : fields.list("contacts", 0)) {
        Fields contact(*item, m_error);
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

void Reader::readMove(Fields &fields)
{
    Move move;
    move.board = declaredBoard(fields);
    move.rate = fields.integer("rate", 1, highestRate);
    move.time = fields.integer("time", 0, longestTime);
    move.lift = fields.flagOr("lift", true);
    for (const Json *const item : fields.list("contacts", 1)) {
        Fields contact(*item, m_error);
        move.contacts.push_back(readMovingContact(contact));
        contact.refuseOthers();
    }
    m_scenario.steps.emplace_back(std::move(move));
}

void Reader::readWait(Fields &fields)
{
    if (fields.has("file"))
        m_scenario.steps.emplace_back(WaitForFile{fields.text("file", longestText)});
    else
        m_scenario.steps.emplace_back(WaitForTime{fields.integer("time", 0, longestTime)});
}

void Reader::readRepeat(Fields &fields)
{
    Repeat repeat;
    if (fields.has("count"))
        repeat.count = fields.integer("count", 1, highestCount);
    m_openBlocks.push_back({m_scenario.steps.size(), m_line});
    m_scenario.steps.emplace_back(repeat);
}

void Reader::readEnd(Fields &fields)
{
    if (m_openBlocks.empty()) {
        fields.fail("end without repeat");
        return;
    }
    m_scenario.steps.emplace_back(End{m_openBlocks.back().repeat});
    m_openBlocks.pop_back();
}

void Reader::readPlug(Fields &fields)
{
    m_scenario.steps.emplace_back(Plug{declaredBoard(fields), true});
}

void Reader::readUnplug(Fields &fields)
{
    m_scenario.steps.emplace_back(Plug{declaredBoard(fields), false});
}

void Reader::readMark(Fields &fields)
{
    m_scenario.steps.emplace_back(Mark{fields.text("text", longestText)});
}

int Reader::declaredBoard(Fields &fields)
{
    const int board = fields.smallInteger("board", 0, INT_MAX);
    const auto isWanted = [board](const Device &device) { return device.board == board; };
    if (std::none_of(m_scenario.devices.begin(), m_scenario.devices.end(), isWanted))
        fields.fail("board " + std::to_string(board) + " is not declared by a device line above");
    return board;
}

void Reader::addReport(int board, Bytes report)
{
    m_scenario.steps.emplace_back(SendReport{board, std::move(report)});
}

} // namespace

std::optional<Scenario> readScenario(std::istream &in, const std::string &name, std::string &error)
{
    Reader reader;
    std::string line;
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
        if (!isIgnored(line) && !reader.read(line, number))
            return refuse(reader.errorLine(), reader.error());
    }
    if (in.bad())
        return refuse(number, "cannot be read");
    if (!reader.finish(number))
        return refuse(reader.errorLine(), reader.error());
    return reader.take();
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
