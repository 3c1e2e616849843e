#include "recorder/keeping.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <ctime>
#include <exception>
#include <filesystem>
#include <utility>

namespace recorder {

namespace {

namespace fs = std::filesystem;

std::string answerText(const std::string &file, const capture::Kept &kept)
{
    capture::Writer writer;
    if (!kept.error.empty())
        writer.add({{"type", "kept"}, {"error", kept.error}});
    else
        writer.add({{"type", "kept"}, {"file", file}, {"reports", kept.reports}, {"time", kept.time}});
    return writer.text();
}

/// With one decimal and a point: the recorder runs in a program that may have set a locale with a comma.
std::string secondsText(std::int64_t microseconds)
{
    std::array<char, 40> text{};
    const auto result = std::to_chars(text.data(), text.data() + text.size(),
                                      static_cast<double>(microseconds) / 1e6, std::chars_format::fixed, 1);
    return {text.data(), result.ptr};
}

void tell(const std::string &file, const capture::Kept &kept)
{
    if (kept.error.empty())
        std::fprintf(stderr, "%s: the last %s s have been saved\n", file.c_str(),
                     secondsText(kept.time).c_str());
    else
        std::fprintf(stderr, "%s\n", kept.error.c_str());
}

} // namespace

Keeping::Keeping(std::string capture, const capture::Writer::Json &first, std::int64_t keep,
                 std::int64_t partLength)
    : m_capture(std::move(capture)), m_parts(m_capture, first, keep, partLength)
{
}

Keeping::~Keeping()
{
    while (m_saved || !m_waiting.empty()) {
        if (m_thread.joinable())
            m_thread.join();
        endSaving();
        if (m_waiting.empty())
            return;
        save(m_waiting.front(), m_parts.number());
        m_waiting.pop_front();
    }
}

std::vector<Keeping::Answer> Keeping::step(std::int64_t now, std::int64_t written)
{
    std::vector<Answer> answers;
    if (KeepSignal::take())
        request({}, now);
    if (const auto answer = endSaving())
        answers.push_back(*answer);
    if (!m_saved && !m_waiting.empty() && m_waiting.front().until <= written) {
        const std::int64_t last = m_parts.number();
        m_parts.beginNext(written); // so that no part that is read grows
        save(m_waiting.front(), last);
        m_waiting.pop_front();
    }
    m_parts.roll(written);
    if (!m_saved && m_waiting.empty())
        m_parts.deleteOld(now);
    return answers;
}

void Keeping::save(const Waiting &wanted, std::int64_t last)
{
    m_saved = wanted.request;
    if (m_saved->file.empty())
        m_saved->file = newName();
    m_thread = std::thread([this, last, file = m_saved->file, until = wanted.until] {
        try {
            m_kept = capture::joinParts(m_parts.folder(), file, last, until);
        } catch (const std::exception &exception) { // of a library: the program must not end because of it
            m_kept = {file + ":0: cannot be written: " + exception.what()};
        }
        m_isSaved = true;
    });
}

std::optional<Keeping::Answer> Keeping::endSaving()
{
    if (!m_saved || !m_isSaved.exchange(false))
        return {};
    if (m_thread.joinable())
        m_thread.join();
    const Request request = *m_saved;
    m_saved.reset();
    if (request.reader < 0)
        tell(request.file, m_kept);
    return Answer{request.reader, answerText(request.file, m_kept)};
}

std::string Keeping::newName() const
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 32> time{};
    std::strftime(time.data(), time.size(), "-kept-%Y-%m-%d-%H%M%S", &local);
    const fs::path path(m_capture);
    const std::string stem = (path.parent_path() / path.stem()).string() + time.data();
    std::string name = stem + path.extension().string();
    std::error_code ignored;
    for (int i = 2; fs::exists(name, ignored); ++i)
        name = stem + "-" + std::to_string(i) + path.extension().string();
    return name;
}

} // namespace recorder
