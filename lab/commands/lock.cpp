#include "commands/lock.h"

#include "language.h"

#include <cstdlib>
#include <stdexcept>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace lab {

std::string runtimeFolder()
{
    const char *const given = std::getenv("XDG_RUNTIME_DIR");
    std::string folder =
        given && *given ? std::string(given) + "/lanternix" : "/tmp/lanternix-" + std::to_string(getuid());
    mkdir(folder.c_str(), 0700); // it may exist
    struct stat status = {};
    // Whoever else made it could listen in, or stand in for a recording.
    if (lstat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) || status.st_uid != geteuid())
        throw std::runtime_error(format(tr("%s is no folder of this user's own"), folder.c_str()));
    return folder;
}

Lock::Lock(const std::string &purpose, const std::string &file)
{
    struct stat status = {};
    stat(file.c_str(), &status);
    const std::string name = runtimeFolder() + "/" + purpose + "-" + std::to_string(status.st_dev) + "-"
        + std::to_string(status.st_ino) + ".lock";
    m_file = open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (m_file >= 0 && flock(m_file, LOCK_EX | LOCK_NB) != 0) {
        close(m_file);
        m_file = -1;
    }
}

Lock::~Lock()
{
    if (m_file >= 0)
        close(m_file);
}

} // namespace lab
