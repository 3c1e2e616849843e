#include "process.h"

#include <QByteArray>

#include <cstddef>

#include <malloc.h>
#include <pthread.h>

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

void process::make_stacks_small()
{
    constexpr std::size_t stack_size = 1 << 20;
    pthread_attr_t attributes{};
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stack_size);
    pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
}

void process::give_memory_back()
{
    malloc_trim(0);
}
