#pragma once

#include <string>

namespace lab {

/// Keeps two processes of one user from doing the same with the same file at once, as long as it lives: a
/// locked file in XDG_RUNTIME_DIR, which the system unlocks if the process is killed.
class Lock
{
public:
    /// @p purpose is part of the lock's name, and so are device and inode of @p file.
    Lock(const std::string &purpose, const std::string &file);
    ~Lock();
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;

    /// False if another process holds it, or it cannot be had.
    bool isHeld() const { return m_file >= 0; }

private:
    int m_file = -1;
};

/// The folder for what lasts as long as the user is logged in: XDG_RUNTIME_DIR/lanternix, or a folder of the
/// user's own in /tmp without that variable. Made if necessary, for the user alone. Throws std::runtime_error
/// if it cannot be made or is somebody else's.
std::string runtimeFolder();

} // namespace lab
