#include "commands/text.h"

#include "hex.h"

#include <fstream>
#include <iterator>

namespace lab {

std::string hexOf(const capture::Line &line)
{
    return boardsim::hexText(line.bytes.data(), static_cast<int>(line.bytes.size()));
}

double seconds(std::int64_t microseconds)
{
    return static_cast<double>(microseconds) / 1e6;
}

std::string contentsOf(const std::string &file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace lab
