#include "process.h"

#include <QByteArray>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include <fcntl.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// What the window takes at once, and something to spare.
constexpr std::size_t needed_files = 16;         // ten with a driver; fonts and plugins come and go
constexpr std::size_t needed_threads = 4;        // the X server's, the session bus's, the driver's, a render
constexpr std::size_t needed_memory = 256 << 20; // bytes: Qt's plugins, four pictures of 3840 x 2160

// Each of these takes all that is needed, gives it back, and returns 0 or the error number.

int try_files()
{
    std::array<int, needed_files> files{};
    int error = 0;
    for (int &file : files) {
        file = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
        if (file == -1)
            error = errno;
    }
    for (const int file : files) {
        if (file != -1)
            close(file);
    }
    return error;
}

/// Lasts until the other side unlocks the mutex.
void *wait_for_mutex(void *mutex)
{
    const std::lock_guard lock(*static_cast<std::mutex *>(mutex));
    return nullptr;
}

int try_threads()
{
    std::mutex all_started;
    std::array<pthread_t, needed_threads> threads{};
    std::size_t started = 0;
    int error = 0;
    {
        const std::lock_guard lock(all_started);
        while (started < needed_threads && error == 0) {
            error = pthread_create(&threads[started], nullptr, wait_for_mutex, &all_started);
            started += error == 0 ? 1 : 0;
        }
    }
    for (std::size_t i = 0; i < started; ++i)
        pthread_join(threads[i], nullptr);
    return error;
}

int try_memory()
{
    void *const memory = mmap(nullptr, needed_memory, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED)
        return errno;
    munmap(memory, needed_memory);
    return 0;
}

void require(const char *refusal, int error)
{
    if (error == 0)
        return;
    std::fprintf(stderr, "lanternix: %s: %s\n", refusal, std::strerror(error));
    std::exit(1);
}

} // namespace

void process::open_standard_streams()
{
    // open() takes the lowest free number.
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (fcntl(stream, F_GETFD) == -1)
            open("/dev/null", O_RDWR);
    }
    std::signal(SIGPIPE, SIG_IGN);
}

void process::require_resources()
{
    require("too few files can be open", try_files());
    require("too few threads can be started", try_threads());
    require("there is too little memory", try_memory());
}

void process::leave_opengl_out()
{
    constexpr const char *integration = "QT_XCB_GL_INTEGRATION"; // Qt's own switch
    if (!qEnvironmentVariableIsSet(integration))
        qputenv(integration, "none");
}

void process::share_heap()
{
    mallopt(M_ARENA_MAX, 1);
}

process::SmallStacks::SmallStacks()
{
    constexpr std::size_t stack_size = 1 << 20;
    if (pthread_getattr_default_np(&m_former) != 0)
        return;
    pthread_attr_t small{};
    pthread_attr_init(&small);
    pthread_attr_setstacksize(&small, stack_size);
    m_changed = pthread_setattr_default_np(&small) == 0;
    pthread_attr_destroy(&small);
    if (!m_changed)
        pthread_attr_destroy(&m_former);
}

process::SmallStacks::~SmallStacks()
{
    if (!m_changed)
        return;
    pthread_setattr_default_np(&m_former);
    pthread_attr_destroy(&m_former);
}

void process::give_memory_back()
{
    malloc_trim(0);
}
