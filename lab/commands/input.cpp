#include "commands/input.h"

#include "language.h"
#include "scenarioreader.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace lab {

namespace {

using std::chrono::steady_clock;

constexpr auto longestWait = std::chrono::seconds(1);
constexpr auto progressStep = std::chrono::milliseconds(100);
constexpr int linesBetweenLooks = 256; // at the clock
constexpr int barWidth = 40;           // characters

} // namespace

Input::Input(const std::string &name, Progress progress)
    : m_name(name), m_mayDraw(mayDraw(progress)), m_nextProgress(m_start + longestWait)
{
    m_file = name == "-" ? STDIN_FILENO : open(name.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status = {};
    if (m_file < 0) {
        m_refusal = format(tr("cannot be opened: %s"), std::strerror(errno));
        return;
    }
    if (fstat(m_file, &status) == 0 && S_ISREG(status.st_mode))
        m_size = status.st_size;
    m_reader = std::make_unique<capture::Reader>(m_file, name == "-" ? tr("standard input") : name);
}

Input::~Input()
{
    clearProgress();
    if (m_file > STDIN_FILENO)
        close(m_file);
}

bool Input::next()
{
    if (!m_reader)
        return false;
    if (m_mayDraw && --m_linesUntilLook < 0) {
        m_linesUntilLook = linesBetweenLooks;
        drawProgress();
    }
    return m_reader->next();
}

bool Input::tellEnd() const
{
    clearProgress();
    if (!m_reader) {
        std::fprintf(stderr, "%s\n", boardsim::oneLine(m_name + ":0: " + m_refusal).c_str());
        return false;
    }
    if (!m_reader->error().empty()) {
        std::fprintf(stderr, "%s\n", m_reader->error().c_str());
        return false;
    }
    if (!m_reader->remark().empty())
        std::fprintf(stderr, "%s\n", m_reader->remark().c_str());
    return true;
}

bool Input::mayDraw(Progress progress)
{
    if (progress == Progress::none || isatty(STDERR_FILENO) == 0)
        return false;
    return progress == Progress::drawn || isatty(STDOUT_FILENO) == 0;
}

void Input::drawProgress()
{
    const auto now = steady_clock::now();
    if (now < m_nextProgress || m_size == 0)
        return;
    m_nextProgress = now + progressStep;
    m_hasProgress = true;
    const double share =
        std::min(1.0, static_cast<double>(m_reader->bytesRead()) / static_cast<double>(m_size));
    const int filled = static_cast<int>(share * barWidth);
    std::fprintf(stderr, "\r[%s%s] %3d %%", std::string(static_cast<std::size_t>(filled), '#').c_str(),
                 std::string(static_cast<std::size_t>(barWidth - filled), '.').c_str(),
                 static_cast<int>(share * 100));
}

void Input::clearProgress() const
{
    if (m_hasProgress)
        std::fprintf(stderr, "\r%*s\r", barWidth + 8, "");
}

} // namespace lab
