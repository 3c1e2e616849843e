#include "process.h"

#include <QByteArray>

#include <csignal>

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

void process::open_standard_streams()
{
    // open() takes the lowest free number.
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (fcntl(stream, F_GETFD) == -1)
            open("/dev/null", O_RDWR);
    }
    std::signal(SIGPIPE, SIG_IGN);
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
