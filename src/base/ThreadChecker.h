// Remembers the thread that made it, so that a thread-affine class can assert where it is called.
#pragma once

#include <cassert>
#include <thread>

namespace vt {

class ThreadChecker {
  public:
    [[nodiscard]] bool calledOnOwner() const { return std::this_thread::get_id() == _owner; }
    // For objects that are built on one thread and used on another.
    void adoptCurrentThread() { _owner = std::this_thread::get_id(); }

  private:
    std::thread::id _owner = std::this_thread::get_id();
};

} // namespace vt

#define VT_ASSERT_THREAD(checker) assert((checker).calledOnOwner())
