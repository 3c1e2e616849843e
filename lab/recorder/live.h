#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace recorder {

/// Gives every line of a recording live to up to eight readers at a local socket, which the user alone may
/// open. A reader that is too slow loses whole lines and is told how many; neither the recording nor the
/// program waits for it. Readers may send notes. Used on the writer's thread.
class Live
{
public:
    /// Listens at the path @p name, and replaces a socket that nobody listens at. If that fails, one line on
    /// standard error says why, and there are no readers.
    explicit Live(const std::string &name);
    ~Live();
    Live(const Live &) = delete;
    Live &operator=(const Live &) = delete;

    /// Lets new readers in, sends what they can take, and returns the notes that have come.
    std::vector<std::string> serve();
    /// Whole lines of the recording. @p isKnowledge: a reader that comes later needs them, too, to understand
    /// the rest.
    void add(std::string_view lines, bool isKnowledge);

private:
    struct Reader
    {
        int socket;
        std::string waiting;       ///< to be sent
        std::uint64_t lost = 0;    ///< lines, since it was told last
        std::string received = {}; ///< the beginning of a line from the reader
    };

    static constexpr std::size_t mostReaders = 8;
    static constexpr std::size_t mostWaiting = 1 << 20;   ///< bytes for each reader
    static constexpr std::size_t mostKnowledge = 1 << 20; ///< bytes

    void accept();
    void add(Reader &reader, std::string_view lines) const;
    /// False once the reader has gone.
    static bool send(Reader &reader);
    static bool receive(Reader &reader, std::vector<std::string> &notes);

    const std::string m_name;
    int m_listener = -1;
    std::vector<Reader> m_readers;
    std::string m_knowledge; ///< lines
};

} // namespace recorder
