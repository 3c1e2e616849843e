#pragma once

#include <cstdint>
#include <string>

namespace recorder {

/// By what a driver file is known again elsewhere.
struct FileIdentity
{
    std::int64_t size = 0; ///< bytes
    std::string sha256;    ///< in hexadecimal; empty if the file cannot be read
};

FileIdentity identify(const std::string &path);

} // namespace recorder
