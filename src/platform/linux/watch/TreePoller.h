// Looks at trees from time to time, where the kernel does not tell of changes. One thread for each group of trees (one
// mount), so that a server that hangs holds up nothing else. A look never takes more than a twentieth of the time.
// Thread: any one at a time; `looked` is called on the group's thread. Owns: the threads; the destructor does not wait
// for them.
#pragma once

#include "platform/linux/watch/WatchScope.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace vt {

class TreePoller {
  public:
    using Key = std::uint64_t;
    enum class Look : std::uint8_t { first, changed };
    using Looked = std::function<void(Key, Look, std::uint64_t folders)>;

    TreePoller(std::chrono::milliseconds interval, Looked looked);
    ~TreePoller();
    TreePoller(const TreePoller&) = delete;
    TreePoller& operator=(const TreePoller&) = delete;

    // From the next look on.
    void setScope(const WatchScope& scope);
    // `inodes` as for digestTree().
    void watch(Key key, const std::string& path, const std::string& group, bool inodes);
    void forget(Key key);

  private:
    struct Group;
    static void run(const std::shared_ptr<Group>& group);

    std::chrono::milliseconds _interval;
    std::shared_ptr<const Looked> _looked;
    std::shared_ptr<const WatchScope> _scope;
    std::map<std::string, std::shared_ptr<Group>> _groups;
    std::map<Key, std::string> _groupOf;
};

} // namespace vt
