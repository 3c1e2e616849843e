#include "commands/launch.h"

#include "language.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace lab {

namespace {

constexpr const char *platformVariable = "QT_QPA_PLATFORM"; ///< Qt's

volatile sig_atomic_t receiver = 0; ///< the process that SIGTERM is passed on to; 0 for none

void passOn(int signal)
{
    if (receiver != 0)
        kill(receiver, signal);
}

std::vector<char *> pointersTo(std::vector<std::string> &texts)
{
    std::vector<char *> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// The environment with @p changes.
std::vector<std::string> changed(const std::map<std::string, std::string> &changes)
{
    std::vector<std::string> variables;
    for (char **variable = environ; *variable; ++variable) {
        const std::string text = *variable;
        if (changes.count(text.substr(0, text.find('='))) == 0)
            variables.push_back(text);
    }
    for (const auto &[name, value] : changes)
        variables.emplace_back(name).append("=").append(value);
    // X11, if there is an X server: Wayland tells no program where its window is.
    const char *const chosen = std::getenv(platformVariable);
    if ((!chosen || !*chosen) && changes.count(platformVariable) == 0)
        variables.emplace_back(platformVariable).append("=xcb;wayland");
    return variables;
}

sigset_t passedOn()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

/// Holds up what is passed on to a program from before its start until there is somebody to pass it on to.
class HeldSignals
{
public:
    HeldSignals()
    {
        const sigset_t held = passedOn();
        pthread_sigmask(SIG_BLOCK, &held, &m_former);
    }
    ~HeldSignals() { pthread_sigmask(SIG_SETMASK, &m_former, nullptr); }
    HeldSignals(const HeldSignals &) = delete;
    HeldSignals &operator=(const HeldSignals &) = delete;

    const sigset_t &former() const { return m_former; }

private:
    sigset_t m_former{};
};

/// Where a program prints.
class Streams
{
public:
    Streams() { posix_spawn_file_actions_init(&m_actions); }
    ~Streams() { posix_spawn_file_actions_destroy(&m_actions); }
    Streams(const Streams &) = delete;
    Streams &operator=(const Streams &) = delete;

    void join(int stream, int other) { posix_spawn_file_actions_adddup2(&m_actions, other, stream); }
    void open(int stream, const std::string &file)
    {
        posix_spawn_file_actions_addopen(&m_actions, stream, file.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                         0600);
    }
    const posix_spawn_file_actions_t *actions() const { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions{};
};

/// Starts the program with the signals as a shell leaves them, and @p mask.
int spawn(std::vector<std::string> program, std::vector<std::string> variables, const Streams &streams,
          const sigset_t &mask, pid_t &process)
{
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    const sigset_t usual = passedOn();
    posix_spawnattr_setsigdefault(&attributes, &usual);
    posix_spawnattr_setsigmask(&attributes, &mask);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    const int error = posix_spawnp(&process, program.front().c_str(), streams.actions(), &attributes,
                                   pointersTo(program).data(), pointersTo(variables).data());
    posix_spawnattr_destroy(&attributes);
    return error;
}

} // namespace

/// Leaves Ctrl-C to a started program as long as it lives, and passes SIGTERM on to it.
class Launch::Signals
{
public:
    explicit Signals(pid_t process)
        : m_interrupt(std::signal(SIGINT, SIG_IGN)), m_terminate(std::signal(SIGTERM, passOn)),
          m_receiver(receiver)
    {
        receiver = process;
    }
    ~Signals()
    {
        receiver = m_receiver;
        std::signal(SIGINT, m_interrupt);
        std::signal(SIGTERM, m_terminate);
    }
    Signals(const Signals &) = delete;
    Signals &operator=(const Signals &) = delete;

private:
    using Handler = void (*)(int);
    const Handler m_interrupt;
    const Handler m_terminate;
    const sig_atomic_t m_receiver; ///< before
};

Launch::Launch(std::vector<std::string> program) : m_program(std::move(program)) { }

Launch::~Launch()
{
    end();
    wait();
}

void Launch::set(const std::string &name, const std::string &value)
{
    m_changes[name] = value;
}

void Launch::prependPath(const std::string &name, const std::string &folder)
{
    const char *const former = std::getenv(name.c_str());
    set(name, former && *former ? folder + ":" + former : folder);
}

void Launch::printTo(const std::string &output, const std::string &errors)
{
    m_output = output;
    m_errors = errors;
}

bool Launch::start()
{
    if (m_program.front().empty())
        return false;
    Streams streams;
    if (m_stream != STDOUT_FILENO)
        streams.join(STDOUT_FILENO, m_stream);
    if (!m_output.empty()) {
        streams.open(STDOUT_FILENO, m_output);
        streams.open(STDERR_FILENO, m_errors);
    }
    const HeldSignals held;
    if (const int error = spawn(m_program, changed(m_changes), streams, held.former(), m_process)) {
        complain("%s: %s", m_program.front().c_str(), std::strerror(error));
        m_process = 0;
        return false;
    }
    m_signals = std::make_unique<Signals>(m_process);
    m_ending = static_cast<int>(syscall(SYS_pidfd_open, m_process, 0)); // glibc 2.36 declares it for C only
    return true;
}

bool Launch::hasEnded() const
{
    pollfd ending{m_ending, POLLIN, 0};
    return m_process == 0 || poll(&ending, 1, 0) > 0;
}

void Launch::end() const
{
    if (m_process != 0)
        ::kill(m_process, SIGTERM);
}

void Launch::kill() const
{
    if (m_process != 0)
        ::kill(m_process, SIGKILL);
}

int Launch::wait()
{
    if (m_process == 0)
        return -1;
    // The process keeps its number until it is waited for, so no signal is passed on to another one.
    siginfo_t ignored{};
    while (waitid(P_PID, static_cast<id_t>(m_process), &ignored, WEXITED | WNOWAIT) < 0 && errno == EINTR) { }
    m_signals.reset();
    int status = 0;
    waitpid(m_process, &status, 0);
    m_process = 0;
    close(m_ending);
    m_ending = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace lab
