// Runs a piece of a test in a child process of its own: as another user, or with mounts that nobody else sees.
#pragma once

#include <cstdio>
#include <functional>
#include <grp.h>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vt::test {

// What `work` answered: "" for success, else what went wrong.
inline std::string inChild(const std::function<std::string()>& work) {
    int channel[2];
    if (::pipe(channel) != 0) return "no pipe";
    const pid_t child = ::fork();
    if (child < 0) return "no child";
    if (child == 0) {
        const std::string answer = work();
        const ssize_t written = ::write(channel[1], answer.data(), answer.size());
        ::_exit(written == static_cast<ssize_t>(answer.size()) ? 0 : 1);
    }
    ::close(channel[1]);
    std::string answer;
    char buffer[256];
    for (ssize_t got = 0; (got = ::read(channel[0], buffer, sizeof buffer)) > 0;)
        answer.append(buffer, static_cast<std::size_t>(got));
    ::close(channel[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (answer.empty() && status != 0) return "the child ended with " + std::to_string(status);
    return answer;
}

inline std::string asUser(uid_t user, const std::function<std::string()>& work) {
    return inChild([&]() -> std::string {
        if (::setgroups(0, nullptr) != 0 || ::setgid(user) != 0 || ::setuid(user) != 0) return "no change of user";
        return work();
    });
}

// With mounts of its own, which end with the child.
inline std::string withPrivateMounts(const std::function<std::string()>& work) {
    return inChild([&]() -> std::string {
        if (::unshare(CLONE_NEWNS) != 0) return "no mount namespace";
        if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return "no private mounts";
        return work();
    });
}

// "" when equal, else both; for answers of a child.
template <typename Left, typename Right>
std::string expectEqual(const char* what, const Left& is, const Right& wanted) {
    if (is == wanted) return {};
    return std::string(what) + " is " + std::to_string(is) + ", wanted " + std::to_string(wanted) + "\n";
}

} // namespace vt::test
