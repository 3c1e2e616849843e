#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace lab {

/// A folder for this user alone, which is deleted with what is in it.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "lanternix-lab-XXXXXX").string();
        if (mkdtemp(name.data()))
            m_path = name;
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        if (!m_path.empty())
            std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    /// Empty if it could not be made.
    const std::string &path() const { return m_path; }

private:
    std::string m_path;
};

} // namespace lab
