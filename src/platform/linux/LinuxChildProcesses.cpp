#include "platform/linux/LinuxChildProcesses.h"

#include "platform/linux/UniqueFd.h"
#include "platform/linux/watch/WatchBackend.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace vt {

namespace {

constexpr std::size_t pieceSize = 64 * 1024; // bytes

struct Pipe {
    UniqueFd readEnd;
    UniqueFd writeEnd;
    [[nodiscard]] int open() {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) return errno;
        readEnd = UniqueFd(ends[0]);
        writeEnd = UniqueFd(ends[1]);
        return 0;
    }
};

struct Child {
    pid_t process = -1;
    UniqueFd exit; // readable once it has ended; not open on kernels that cannot tell
    UniqueFd output;
    UniqueFd error;
};

int spawn(const std::string& path, const std::vector<std::string>& given, int output, int error, pid_t& process) {
    std::vector<std::string> words{path}; // writable, as the call wants them
    words.insert(words.end(), given.begin(), given.end());
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, error, STDERR_FILENO);
    const int code = ::posix_spawn(&process, path.c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    return code;
}

// Hears one child to its end and to the end of its streams, on a thread of its own.
class Hearing {
  public:
    Hearing(Child child, std::shared_ptr<MainThreadMailbox> mailbox, ChildProcesses::Listener listener)
        : _child(std::move(child)), _mailbox(std::move(mailbox)),
          _listener(std::make_shared<const ChildProcesses::Listener>(std::move(listener))) {}

    void run() {
        std::array<pollfd, 3> waited{pollfd{_child.output.get(), POLLIN, 0}, pollfd{_child.error.get(), POLLIN, 0},
                                     pollfd{_child.exit.get(), POLLIN, 0}};
        while (waited[0].fd >= 0 || waited[1].fd >= 0 || waited[2].fd >= 0) {
            if (::poll(waited.data(), waited.size(), -1) < 0 && errno != EINTR) break;
            if (waited[0].revents != 0 && !read(waited[0].fd, &ChildProcesses::Listener::output)) {
                waited[0].fd = -1;
                tell([](const auto& listener) { listener.outputEnded(); });
            }
            if (waited[1].revents != 0 && !read(waited[1].fd, &ChildProcesses::Listener::error)) {
                waited[1].fd = -1;
                tell([](const auto& listener) { listener.errorEnded(); });
            }
            if (waited[2].revents != 0) {
                waited[2].fd = -1;
                collect();
            }
        }
        if (!_collected) collect();
    }

  private:
    using Piece = std::function<void(const std::string&)> ChildProcesses::Listener::*;

    void tell(std::function<void(const ChildProcesses::Listener&)> what) {
        _mailbox->post([what = std::move(what), listener = _listener] { what(*listener); });
    }
    // False at the end of the stream.
    bool read(int stream, Piece piece) {
        std::string bytes(pieceSize, '\0');
        const ssize_t length = ::read(stream, bytes.data(), bytes.size());
        if (length < 0) return errno == EINTR || errno == EAGAIN;
        if (length == 0) return false;
        bytes.resize(static_cast<std::size_t>(length));
        tell([piece, bytes = std::move(bytes)](const auto& listener) { (listener.*piece)(bytes); });
        return true;
    }
    void collect() {
        _collected = true;
        int status = 0;
        while (::waitpid(_child.process, &status, 0) < 0)
            if (errno != EINTR) break;
        const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        tell([code](const auto& listener) { listener.terminated(code); });
    }

    Child _child;
    std::shared_ptr<MainThreadMailbox> _mailbox;
    std::shared_ptr<const ChildProcesses::Listener> _listener;
    bool _collected = false;
};

} // namespace

LinuxChildProcesses::LinuxChildProcesses(RunLoop& runLoop) : _mailbox(std::make_shared<MainThreadMailbox>(runLoop)) {}

LinuxChildProcesses::~LinuxChildProcesses() {
    _mailbox->close();
}

Result<void> LinuxChildProcesses::start(const std::string& launchPath, const std::vector<std::string>& arguments,
                                        Listener listener) {
    Pipe output;
    Pipe error;
    if (const int code = output.open(); code != 0) return Error::fromErrno(code, launchPath);
    if (const int code = error.open(); code != 0) return Error::fromErrno(code, launchPath);
    Child child;
    const int code = spawn(launchPath, arguments, output.writeEnd.get(), error.writeEnd.get(), child.process);
    if (code != 0) return Error::fromErrno(code, launchPath);
    child.exit = UniqueFd(static_cast<int>(::syscall(SYS_pidfd_open, child.process, 0)));
    child.output = std::move(output.readEnd);
    child.error = std::move(error.readEnd);
    auto hearing = std::make_shared<Hearing>(std::move(child), _mailbox, std::move(listener));
    std::thread([hearing] { hearing->run(); }).detach();
    return {};
}

} // namespace vt
