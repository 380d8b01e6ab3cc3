// Counts the system calls of a piece of a test, which runs in a child process of its own under the tracer's eye.
#pragma once

#include <csignal>
#include <functional>
#include <map>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vt::test {

class SystemCalls {
  public:
    // Of one thread; a `work` that starts others is not for this.
    static SystemCalls of(const std::function<void()>& work) {
        SystemCalls calls;
        const pid_t child = ::fork();
        if (child == 0) {
            (void)::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
            (void)::raise(SIGSTOP);
            work();
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        (void)::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
        while (::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) == 0 && ::waitpid(child, &status, 0) == child &&
               WIFSTOPPED(status))
            calls.note(child);
        return calls;
    }
    [[nodiscard]] int all() const {
        int sum = 0;
        for (const auto& [number, count] : _counts) sum += count;
        return sum;
    }
    [[nodiscard]] int count(long number) const {
        const auto found = _counts.find(number);
        return found == _counts.end() ? 0 : found->second;
    }

  private:
    void note(pid_t child) {
        __ptrace_syscall_info info{};
        if (::ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info) > 0 && info.op == PTRACE_SYSCALL_INFO_ENTRY)
            ++_counts[static_cast<long>(info.entry.nr)];
    }
    std::map<long, int> _counts;
};

} // namespace vt::test
