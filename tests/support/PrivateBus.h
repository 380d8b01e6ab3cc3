// A session bus of the test's own. Owns: the bus process; it ends with the object.
#pragma once

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace vt::test {

class PrivateBus {
  public:
    PrivateBus() {
        int channel[2];
        if (::pipe2(channel, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, channel[1], 3);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        char program[] = "dbus-daemon";
        char session[] = "--session";
        char stay[] = "--nofork";
        char quiet[] = "--nopidfile";
        char print[] = "--print-address=3";
        char* arguments[] = {program, session, stay, quiet, print, nullptr};
        const int code = ::posix_spawnp(&_process, program, &actions, nullptr, arguments, environ);
        posix_spawn_file_actions_destroy(&actions);
        ::close(channel[1]);
        char byte = 0;
        while (code == 0 && ::read(channel[0], &byte, 1) == 1 && byte != '\n') _address.push_back(byte);
        ::close(channel[0]);
        if (code != 0 || _address.empty()) throw std::runtime_error("dbus-daemon does not start");
    }
    ~PrivateBus() { end(); }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    [[nodiscard]] const std::string& address() const { return _address; }
    void end() {
        if (_process == -1) return;
        ::kill(_process, SIGTERM);
        ::waitpid(_process, nullptr, 0);
        _process = -1;
    }

  private:
    pid_t _process = -1;
    std::string _address;
};

} // namespace vt::test
