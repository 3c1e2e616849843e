#include "recorder/realdriver.h"

#include <cstdio>

#include <dlfcn.h>

namespace recorder {

RealDriver::RealDriver(const std::string &path) : m_path(path)
{
    if (path.empty() || path.front() != '/') {
        std::fprintf(stderr,
                     "recorder: BOARDREC_DRIVER does not name the driver by an absolute path: \"%s\"\n",
                     path.c_str());
        return;
    }
    m_library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!m_library) {
        const char *const message = dlerror();
        std::fprintf(stderr, "recorder: %s\n", message ? message : "the driver cannot be opened");
        return;
    }
    for (std::size_t i = 0; i < functionCount; ++i)
        m_functions.at(i) = dlsym(m_library, functionNames[i].name);
}

void RealDriver::close()
{
    if (m_library)
        dlclose(m_library);
    m_library = nullptr;
}

} // namespace recorder
