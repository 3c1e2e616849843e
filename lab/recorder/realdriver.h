#pragma once

#include "recorder/function.h"

#include <array>
#include <string>

namespace recorder {

/// The driver library that does the work, with the functions that it has. Opened once, before the program can
/// ask for any function, and closed with the recorder. Any thread may ask.
class RealDriver
{
public:
    /// Opens the library at @p path, which must be absolute: by its bare name the loader would find the
    /// recorder. If that fails, one line on standard error says why, and there are no functions.
    explicit RealDriver(const std::string &path);
    ~RealDriver() { close(); }
    RealDriver(const RealDriver &) = delete;
    RealDriver &operator=(const RealDriver &) = delete;

    const std::string &path() const { return m_path; }
    bool isOpen() const { return m_library; }
    /// The functions must not be called any more.
    void close();
    /// Null if the driver lacks it.
    void *at(Function function) const { return m_functions.at(static_cast<std::size_t>(function)); }

private:
    const std::string m_path;
    void *m_library = nullptr;
    std::array<void *, functionCount> m_functions{};
};

} // namespace recorder
