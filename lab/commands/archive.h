#pragma once

#include "capture/newfile.h"

#include <string>

struct archive;

namespace lab {

/// A .tar.zst file that is written as a whole: it appears under its name when all is written. Its entries
/// have neither owner nor group. Used on one thread.
class Archive
{
public:
    /// @p name: "-" for standard output.
    explicit Archive(const std::string &name);
    ~Archive();
    Archive(const Archive &) = delete;
    Archive &operator=(const Archive &) = delete;

    /// Adds the file @p path as @p name.
    void add(const std::string &name, const std::string &path);
    /// Ends the archive. False if anything could not be read or written, which one line on standard error
    /// then tells.
    bool finish();

private:
    void check(int result);

    const std::string m_name;
    capture::NewFile m_file;
    archive *m_archive = nullptr; ///< null if there is nothing to write to
    std::string m_error;
};

} // namespace lab
