#include "commands/archive.h"

#include "language.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>

#include <archive.h>
#include <archive_entry.h>

namespace lab {

Archive::Archive(const std::string &name) : m_name(name), m_file(name)
{
    if (!m_file.stream())
        return;
    m_archive = archive_write_new();
    check(archive_write_add_filter_zstd(m_archive));
    check(archive_write_set_format_pax_restricted(m_archive));
    archive_write_set_bytes_in_last_block(m_archive, 1); // zstd refuses zeros behind its data
    check(archive_write_open_FILE(m_archive, m_file.stream()));
}

Archive::~Archive()
{
    if (m_archive)
        archive_write_free(m_archive);
}

void Archive::add(const std::string &name, const std::string &path)
{
    if (!m_archive)
        return;
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    std::ifstream file(path, std::ios::binary);
    if (error || !file) {
        if (m_error.empty())
            m_error = path + ":0: cannot be read";
        return;
    }
    const std::unique_ptr<archive_entry, void (*)(archive_entry *)> entry(archive_entry_new(),
                                                                          archive_entry_free);
    archive_entry_set_pathname(entry.get(), name.c_str());
    archive_entry_set_size(entry.get(), static_cast<la_int64_t>(size));
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), 0644);
    archive_entry_set_mtime(entry.get(), std::time(nullptr), 0);
    check(archive_write_header(m_archive, entry.get()));
    std::array<char, 65536> block{};
    while (file.read(block.data(), block.size()), file.gcount() > 0) {
        if (archive_write_data(m_archive, block.data(), static_cast<std::size_t>(file.gcount())) < 0)
            return check(ARCHIVE_FATAL);
    }
}

/// Keeps the first error.
void Archive::check(int result)
{
    if (result >= ARCHIVE_WARN || !m_error.empty())
        return;
    const int number = archive_errno(m_archive);
    m_error = m_name + ":0: " + format(tr("cannot be written: %s"), std::strerror(number));
}

bool Archive::finish()
{
    if (!m_archive)
        return false;
    check(archive_write_close(m_archive));
    if (m_error.empty())
        return m_file.finish();
    std::fprintf(stderr, "%s\n", m_error.c_str());
    return false;
}

} // namespace lab
