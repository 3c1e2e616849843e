#include "commands/errand.h"

#include "commands/temporaryfolder.h"
#include "commands/text.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace lab {

namespace {

/// Starts the program; an error number if that fails.
int spawn(std::vector<std::string> program, const std::string &folder, const std::string &output,
          const std::string &errors, pid_t &process)
{
    constexpr int flags = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, output.c_str(), flags, 0600);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, errors.c_str(), flags, 0600);
    posix_spawn_file_actions_addchdir_np(&files, folder.c_str());
    std::vector<char *> arguments;
    arguments.reserve(program.size() + 1);
    for (std::string &argument : program)
        arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    const int error = posix_spawnp(&process, arguments.front(), &files, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    return error;
}

/// Waits for the end of a process, which it ends itself if that takes too long. Returns the exit status or
/// -1.
int await(pid_t process, double seconds)
{
    const int ending = static_cast<int>(syscall(SYS_pidfd_open, process, 0));
    pollfd file{ending, POLLIN, 0};
    while (poll(&file, 1, static_cast<int>(seconds * 1000)) < 0 && errno == EINTR) { }
    close(ending);
    if (file.revents == 0)
        kill(process, SIGKILL);
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) { }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

Errand run(std::vector<std::string> program, const std::string &folder, double seconds)
{
    const TemporaryFolder written;
    const std::string output = written.path() + "/output";
    const std::string errors = written.path() + "/errors";
    const std::string name = program.front();
    Errand errand;
    pid_t process = 0;
    if (const int error = spawn(std::move(program), folder, output, errors, process)) {
        errand.errors = name + ": " + strerrordesc_np(error) + "\n";
        return errand;
    }
    errand.status = await(process, seconds);
    errand.output = contentsOf(output);
    errand.errors = contentsOf(errors);
    return errand;
}

} // namespace lab
