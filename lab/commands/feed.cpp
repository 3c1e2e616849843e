#include "commands/feed.h"

#include "commands/recordingsocket.h"

namespace lab {

using std::chrono::steady_clock;

Feed::Feed(const std::string &socket) : m_lines(connectToRecording(socket)) { }

void Feed::receive()
{
    m_lines.receive([this](const capture::Line &line) {
        m_figures.follow(line);
        m_followed = steady_clock::now();
    });
    if (m_followed != steady_clock::time_point())
        m_figures.pass(
            std::chrono::duration_cast<std::chrono::microseconds>(steady_clock::now() - m_followed));
}

} // namespace lab
