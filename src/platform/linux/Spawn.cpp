#include "platform/linux/Spawn.h"

#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace vt {

namespace {

Result<pid_t> start(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    std::vector<std::string> copies = command; // posix_spawn wants them writable
    arguments.reserve(copies.size() + 1);
    for (std::string& argument : copies) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
    pid_t process = -1;
    const int code =
        ::posix_spawnp(&process, command.front().c_str(), &actions, &attributes, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (code != 0) return Error::fromErrno(code, command.front());
    return process;
}

Result<int> waitFor(pid_t process, const std::string& name) {
    int status = 0;
    while (::waitpid(process, &status, 0) < 0)
        if (errno != EINTR) return Error::fromErrno(errno, name);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace

Result<void> startDetached(const std::vector<std::string>& command) {
    const auto process = start(command);
    if (!process) return process.error();
    // Somebody must collect it, or it stays in the process table.
    std::thread([pid = *process] { (void)waitFor(pid, {}); }).detach();
    return {};
}

Result<int> runAndWait(const std::vector<std::string>& command) {
    const auto process = start(command);
    if (!process) return process.error();
    return waitFor(*process, command.front());
}

} // namespace vt
