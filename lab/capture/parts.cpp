#include "capture/parts.h"

#include "capture/cut.h"
#include "capture/reader.h"
#include "capture/result.h"
#include "language.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

namespace capture {

namespace {

namespace fs = std::filesystem;

constexpr const char *extension = ".jsonl";

/// A part that is read. Behind its first line a part is read like any other recording.
class Part
{
public:
    explicit Part(const std::string &name) : m_file(open(name.c_str(), O_RDONLY | O_CLOEXEC))
    {
        if (m_file < 0) {
            m_error = name + ":0: " + lab::format(lab::tr("cannot be opened: %s"), std::strerror(errno));
            return;
        }
        m_reader = std::make_unique<Reader>(m_file, name);
        if (!m_reader->next()) {
            m_error = m_reader->error();
            return;
        }
        m_first = Writer::Json::parse(line().text);
        if (const auto head = takeHead(m_first))
            m_head = *head;
        else
            m_error = name + ":1: " + lab::tr("is no part of a rolling recording");
    }
    ~Part()
    {
        if (m_file >= 0)
            close(m_file);
    }
    Part(const Part &) = delete;
    Part &operator=(const Part &) = delete;

    /// Of the recording.
    const Writer::Json &first() const { return m_first; }
    const PartHead &head() const { return m_head; }

    /// Reads on to the next line that is not the end's.
    bool next()
    {
        if (!m_error.empty() || !m_reader->next() || line().type == Line::Type::end)
            return false;
        ++m_read;
        m_time = m_head.begin + line().at.value_or(0);
        return true;
    }
    const Line &line() const { return m_reader->line(); }
    /// Of the line, since the recording began.
    std::int64_t time() const { return m_time; }
    /// Whether the line only restores what the boards were.
    bool isRestored() const { return m_read <= m_head.restored; }
    std::string error() const { return m_error.empty() ? m_reader->error() : m_error; }

private:
    const int m_file;
    std::unique_ptr<Reader> m_reader;
    Writer::Json m_first;
    PartHead m_head;
    std::int64_t m_read = 0; ///< lines behind the first
    std::int64_t m_time = 0;
    std::string m_error;
};

/// Whether a part has its first line: the process may have been killed as it began it.
bool hasBegun(const std::string &name)
{
    const int file = open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return false;
    Lines lines(file);
    const bool isWhole = lines.next() == Lines::Next::line && lines.isWhole();
    close(file);
    return isWhole;
}

/// The time of the last line in a part.
std::int64_t endOf(const std::string &name)
{
    Part part(name);
    std::int64_t end = part.head().begin;
    while (part.next())
        end = std::max(end, part.time());
    return end;
}

/// The last of @p parts that begins before @p time: what happened before does not matter.
std::size_t partAt(const std::string &folder, const std::vector<std::int64_t> &parts, std::int64_t time)
{
    for (std::size_t place = parts.size(); place-- > 1;) {
        if (Part(partName(folder, parts[place])).head().begin <= time)
            return place;
    }
    return 0;
}

/// Adds a part that follows those added before, up to the time @p until.
void add(Part &part, bool isFirst, std::int64_t until, Cut &cut, Kept &kept)
{
    while (part.next() && part.time() <= until) {
        if (!isFirst && part.isRestored())
            continue;
        cut.add(part.line(), part.time());
        const bool isNew = !part.isRestored() && part.time() >= cut.from();
        kept.reports += isNew && part.line().type == Line::Type::report ? 1 : 0;
    }
}

} // namespace

std::string partsFolder(const std::string &capture)
{
    return capture + ".parts";
}

std::string partName(const std::string &folder, std::int64_t number)
{
    std::array<char, 40> name{};
    std::snprintf(name.data(), name.size(), "/%06" PRId64 "%s", number, extension);
    return folder + name.data();
}

std::vector<std::int64_t> partsIn(const std::string &folder)
{
    std::vector<std::int64_t> numbers;
    std::error_code ignored;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder, ignored)) {
        const std::string name = entry.path().stem().string();
        std::int64_t number = 0;
        const auto result = std::from_chars(name.data(), name.data() + name.size(), number);
        if (entry.path().extension() == extension && result.ptr == name.data() + name.size() && number > 0)
            numbers.push_back(number);
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

Writer::Json withHead(Writer::Json first, const PartHead &head)
{
    first["part"] = {
        {"number", head.number}, {"begin", head.begin}, {"restored", head.restored}, {"keep", head.keep}};
    return first;
}

std::optional<PartHead> takeHead(Writer::Json &first)
{
    const auto part = first.find("part");
    if (part == first.end() || !part->is_object())
        return {};
    const auto number = [&part](const char *key) {
        const auto field = part->find(key);
        return field != part->end() && field->is_number_integer() ? field->get<std::int64_t>() : -1;
    };
    const PartHead head{number("number"), number("begin"), number("restored"), number("keep")};
    first.erase("part");
    if (std::min({head.number, head.begin, head.restored, head.keep}) < 0)
        return {};
    return head;
}

Kept joinParts(const std::string &folder, const std::string &output, std::int64_t last,
               std::optional<std::int64_t> until)
{
    std::vector<std::int64_t> parts = partsIn(folder);
    parts.erase(std::upper_bound(parts.begin(), parts.end(), last), parts.end());
    if (!parts.empty() && !hasBegun(partName(folder, parts.back())))
        parts.pop_back();
    if (parts.empty())
        return {folder + ":0: " + lab::tr("holds no parts of a recording")};
    const std::string newest = partName(folder, parts.back());
    const std::int64_t end = until ? *until : endOf(newest);
    const std::int64_t from = std::max<std::int64_t>(end - Part(newest).head().keep, 0);
    const std::size_t oldest = partAt(folder, parts, from);

    Kept kept;
    Result result(output);
    Cut cut(from, result);
    for (std::size_t place = oldest; place < parts.size(); ++place) {
        Part part(partName(folder, parts[place]));
        if (place == oldest)
            result.writer().add(part.first());
        add(part, place == oldest, end, cut, kept);
        kept.error = part.error();
        if (!kept.error.empty())
            return kept;
    }
    if (!cut.finish())
        kept.error = result.error();
    kept.time = cut.length();
    return kept;
}

} // namespace capture
