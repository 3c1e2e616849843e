#include "commands/launch.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace lab {

namespace {

std::atomic<pid_t> running{0};

void passOn(int signal)
{
    if (const pid_t process = running)
        kill(process, signal);
}

/// Leaves Ctrl-C to the started program while it lives, and passes SIGTERM on.
class Signals
{
public:
    Signals() : m_interrupt(std::signal(SIGINT, SIG_IGN)), m_terminate(std::signal(SIGTERM, passOn)) { }
    ~Signals()
    {
        std::signal(SIGINT, m_interrupt);
        std::signal(SIGTERM, m_terminate);
    }
    Signals(const Signals &) = delete;
    Signals &operator=(const Signals &) = delete;

private:
    using Handler = void (*)(int);
    const Handler m_interrupt;
    const Handler m_terminate;
};

std::vector<char *> pointersTo(std::vector<std::string> &texts)
{
    std::vector<char *> pointers;
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
        variables.push_back(name + "=" + value);
    return variables;
}

/// Starts the program with the signals as a shell leaves them.
int spawn(std::vector<std::string> program, std::vector<std::string> variables, pid_t &process)
{
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t usual;
    sigemptyset(&usual);
    sigaddset(&usual, SIGINT);
    sigaddset(&usual, SIGTERM);
    posix_spawnattr_setsigdefault(&attributes, &usual);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    const int error = posix_spawnp(&process, program.front().c_str(), nullptr, &attributes,
                                   pointersTo(program).data(), pointersTo(variables).data());
    posix_spawnattr_destroy(&attributes);
    return error;
}

} // namespace

Launch::Launch(std::vector<std::string> program) : m_program(std::move(program)) { }

void Launch::set(const std::string &name, const std::string &value)
{
    m_changes[name] = value;
}

void Launch::prependPath(const std::string &name, const std::string &folder)
{
    const char *const former = std::getenv(name.c_str());
    set(name, former && *former ? folder + ":" + former : folder);
}

void Launch::end()
{
    passOn(SIGTERM);
}

int Launch::run()
{
    if (m_program.front().empty())
        return -1;
    const Signals signals;
    pid_t process = 0;
    if (const int error = spawn(m_program, changed(m_changes), process)) {
        std::fprintf(stderr, "lanternix-lab: %s: %s\n", m_program.front().c_str(), std::strerror(error));
        return -1;
    }
    running = process;
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) { }
    running = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace lab
