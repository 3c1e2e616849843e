#include "support/terminal.h"

#include <QFile>
#include <QProcess>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <stdexcept>

#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using std::chrono::steady_clock;

constexpr auto patience = std::chrono::seconds(30);
constexpr int look = 20; // milliseconds

/// What the terminal understands, for tic.
constexpr const char *description = "mini|terminal of a test,\n"
                                    "\tam, cols#80, lines#24,\n"
                                    "\tbel=^G, clear=\\E[H\\E[J, cr=\\r, cub1=^H, cud1=\\n,\n"
                                    "\tcup=\\E[%i%p1%d;%p2%dH, ed=\\E[J, el=\\E[K, home=\\E[H, ind=\\n,\n"
                                    "\trev=\\E[7m, sgr0=\\E[m,\n";

winsize sizeOf(Terminal::Size size)
{
    winsize answer{};
    answer.ws_col = static_cast<unsigned short>(size.columns);
    answer.ws_row = static_cast<unsigned short>(size.rows);
    return answer;
}

std::vector<QByteArray> bytesOf(const QStringList &texts)
{
    std::vector<QByteArray> bytes;
    for (const QString &text : texts)
        bytes.push_back(text.toLocal8Bit());
    return bytes;
}

std::vector<char *> pointersTo(std::vector<QByteArray> &texts)
{
    std::vector<char *> pointers;
    for (QByteArray &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

Terminal::Terminal(const QStringList &command, const QProcessEnvironment &environment, Size size)
    : m_rows(static_cast<std::size_t>(size.rows), std::string(static_cast<std::size_t>(size.columns), ' '))
{
    QFile source(m_folder.filePath("mini.ti"));
    if (!source.open(QIODevice::WriteOnly) || source.write(description) < 0)
        throw std::runtime_error("the description of the terminal cannot be written");
    source.close();
    if (QProcess::execute("tic", {"-o", m_folder.path(), source.fileName()}) != 0)
        throw std::runtime_error("tic does not compile the description of the terminal");
    QProcessEnvironment variables = environment;
    variables.insert("TERM", "mini");
    variables.insert("TERMINFO", m_folder.path());
    std::vector<QByteArray> arguments = bytesOf(command);
    std::vector<QByteArray> settings = bytesOf(variables.toStringList());
    const std::vector<char *> argumentPointers = pointersTo(arguments);
    const std::vector<char *> settingPointers = pointersTo(settings);
    winsize window = sizeOf(size);
    m_process = forkpty(&m_terminal, nullptr, nullptr, &window);
    if (m_process < 0)
        throw std::runtime_error("there is no terminal");
    if (m_process == 0) {
        execvpe(argumentPointers.front(), argumentPointers.data(), settingPointers.data());
        _exit(127);
    }
}

Terminal::~Terminal()
{
    if (m_process > 0) {
        kill(m_process, SIGTERM);
        exit_status();
    }
    if (m_process > 0) {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    close(m_terminal);
}

void Terminal::type(const std::string &keys)
{
    [[maybe_unused]] const ssize_t written = write(m_terminal, keys.data(), keys.size());
}

void Terminal::resize(Size size)
{
    const winsize window = sizeOf(size);
    m_rows.assign(static_cast<std::size_t>(size.rows),
                  std::string(static_cast<std::size_t>(size.columns), ' '));
    m_row = m_column = 0;
    ioctl(m_terminal, TIOCSWINSZ, &window);
}

bool Terminal::shows(const std::string &text)
{
    return eventually([&] { return picture().find(text) != std::string::npos; });
}

bool Terminal::eventually(const std::function<bool()> &condition)
{
    const auto deadline = steady_clock::now() + patience;
    bool isOpen = true;
    while (!condition()) {
        if (!isOpen || steady_clock::now() > deadline)
            return false;
        isOpen = receive(look);
    }
    return true;
}

std::vector<std::string> Terminal::screen() const
{
    std::vector<std::string> rows = m_rows;
    for (std::string &row : rows)
        row.erase(row.find_last_not_of(' ') + 1);
    return rows;
}

std::string Terminal::picture() const
{
    std::string all;
    for (const std::string &row : screen())
        all += row + "\n";
    return all;
}

int Terminal::exit_status()
{
    const auto deadline = steady_clock::now() + patience;
    int status = 0;
    pid_t ended = 0;
    while ((ended = waitpid(m_process, &status, WNOHANG)) == 0 && steady_clock::now() < deadline)
        receive(look);
    if (ended != m_process)
        return -1;
    while (receive(0)) { }
    m_process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Waits for output, and shows it; false if there will be no more, or none has come in no time.
bool Terminal::receive(int milliseconds)
{
    pollfd input{m_terminal, POLLIN, 0};
    std::array<char, 4096> block{};
    if (poll(&input, 1, milliseconds) <= 0)
        return milliseconds > 0;
    const ssize_t count = read(m_terminal, block.data(), block.size());
    if (count <= 0)
        return false;
    m_written.append(block.data(), static_cast<std::size_t>(count));
    std::for_each(block.begin(), block.begin() + count, [this](char byte) { obey(byte); });
    return true;
}

void Terminal::obey(char byte)
{
    constexpr char escape = '\x1b';
    if (!m_sequence.empty()) {
        m_sequence += byte;
        const bool goesOn = m_sequence.size() == 2 ? byte == '[' : byte < '@';
        if (!goesOn) {
            obeySequence(byte);
            m_sequence.clear();
        }
    } else if (byte == escape) {
        m_sequence = byte;
    } else if (byte == '\r') {
        m_column = 0;
    } else if (byte == '\n') {
        newline();
    } else if (byte == '\b') {
        m_column -= m_column > 0 ? 1 : 0;
    } else {
        put(byte);
    }
}

void Terminal::obeySequence(char last)
{
    const std::size_t row = std::min(m_row, m_rows.size() - 1);
    if (last == 'H') {
        unsigned int line = 1;
        unsigned int column = 1;
        std::sscanf(m_sequence.c_str() + 2, "%u;%u", &line, &column);
        m_row = std::min<std::size_t>(line - 1, m_rows.size() - 1);
        m_column = column - 1;
    } else if (last == 'K' || last == 'J') {
        const std::size_t width = m_rows[row].size();
        m_rows[row].replace(std::min(m_column, width), std::string::npos, width - std::min(m_column, width),
                            ' ');
        for (std::size_t below = row + 1; last == 'J' && below < m_rows.size(); ++below)
            m_rows[below].assign(m_rows[below].size(), ' ');
    }
}

void Terminal::put(char byte)
{
    if (m_column >= m_rows[m_row].size()) {
        m_column = 0;
        newline();
    }
    m_rows[m_row][m_column++] = byte;
}

void Terminal::newline()
{
    if (m_row + 1 < m_rows.size()) {
        ++m_row;
        return;
    }
    std::rotate(m_rows.begin(), m_rows.begin() + 1, m_rows.end());
    m_rows.back().assign(m_rows.back().size(), ' ');
}
