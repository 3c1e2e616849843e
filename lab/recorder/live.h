#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace recorder {

/// Gives every line of a recording live to up to eight readers at a local socket, which the user alone may
/// open. A reader that is too slow loses whole lines and is told how many; neither the recording nor the
/// program waits for it. Readers may send notes, and wishes to save a rolling recording. Used on the writer's
/// thread.
class Live
{
public:
    /// A reader's wish to save a rolling recording.
    struct Wish
    {
        int reader;
        std::string file; ///< an absolute path; empty for a new one
    };
    /// What readers have sent.
    struct Received
    {
        std::vector<std::string> notes;
        std::vector<Wish> wishes;
    };

    /// Listens at the path @p name, and replaces a socket that nobody listens at. If that fails, one line on
    /// standard error says why, and there are no readers.
    explicit Live(const std::string &name);
    ~Live();
    Live(const Live &) = delete;
    Live &operator=(const Live &) = delete;

    /// Lets new readers in, sends what they can take, and returns what has come from them.
    Received serve();
    /// Whole lines of the recording. @p isKnowledge: a reader that comes later needs them, too, to understand
    /// the rest.
    void add(std::string_view lines, bool isKnowledge);
    /// A whole line for one reader, which does not lose it. Nothing happens if it has gone.
    void answer(int reader, std::string_view line);

private:
    struct Reader
    {
        int number; ///< tells it from all others
        int socket;
        std::string waiting;       ///< to be sent
        std::uint64_t lost = 0;    ///< lines, since it was told last
        std::string received = {}; ///< the beginning of a line from the reader
    };

    static constexpr std::size_t mostReaders = 8;
    static constexpr std::size_t mostWaiting = 1 << 20;   ///< bytes for each reader
    static constexpr std::size_t mostKnowledge = 1 << 20; ///< bytes

    void accept();
    static void add(Reader &reader, std::string_view lines);
    static void tellLost(Reader &reader);
    /// False once the reader has gone.
    static bool send(Reader &reader);
    static bool receive(Reader &reader, Received &received);
    static void understand(const Reader &reader, const std::string &text, Received &received);

    const std::string m_name;
    int m_listener = -1;
    std::vector<Reader> m_readers;
    int m_accepted = 0;
    std::string m_knowledge; ///< lines
};

} // namespace recorder
