#include "torture/process.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

#include <unistd.h>

namespace torture {

namespace {

int entriesOf(const std::string &folder)
{
    std::error_code ignored;
    const std::filesystem::directory_iterator entries(folder, ignored);
    return static_cast<int>(std::distance(begin(entries), end(entries)));
}

} // namespace

Usage usageOf(pid_t process)
{
    const std::string folder = "/proc/" + std::to_string(process);
    std::int64_t all = 0;
    std::int64_t resident = 0;
    std::ifstream(folder + "/statm") >> all >> resident;
    return {resident * sysconf(_SC_PAGESIZE), entriesOf(folder + "/fd"), entriesOf(folder + "/task")};
}

} // namespace torture
