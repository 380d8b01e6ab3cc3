// What a file copy agent tells and asks while it copies. Thread: the one that copies.
#pragma once

#include <cstdint>
#include <string>

namespace vt {

class VTFileCopyAgent;

// The error that an agent hands on.
struct FileCopyAgentError {
    static constexpr const char* domain = "com.corvane.FileCopyAgentDomain";
    static constexpr const char* fromPathKey = "com.corvane.FileCopyAgent.VTFileCopyFromPathKey";
    static constexpr const char* toPathKey = "com.corvane.FileCopyAgent.VTFileCopyToPathKey";

    int code = 0;         // errno
    std::string fromPath; // under fromPathKey: the item in error
    std::string toPath;   // under toPathKey
    std::string text;     // the error's own text
};

class VTFileCopyAgentDelegate {
  public:
    virtual ~VTFileCopyAgentDelegate() = default;
    // `copiedBytes`: of this run so far, finished files and the current one together.
    virtual void agentUpdate(VTFileCopyAgent& agent, std::int64_t copiedBytes) = 0;
    // 0 go on, 1 skip this item, 2 stop the copy; any other value counts as 0.
    virtual int agentActionRequired(VTFileCopyAgent& agent, const FileCopyAgentError& error) = 0;
};

} // namespace vt
