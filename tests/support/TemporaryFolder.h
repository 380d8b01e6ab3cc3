// A folder of its own for one test, removed with everything in it. Owns: the folder on disk.
#pragma once

#include "platform/linux/LinuxFiles.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

namespace vt::test {

class TemporaryFolder {
  public:
    explicit TemporaryFolder(const std::string& parent = defaultParent()) : _path(parent + "/vantaro-test-XXXXXX") {
        if (::mkdtemp(_path.data()) == nullptr) throw std::runtime_error("no temporary folder in " + parent);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        LinuxFiles().remove(_path, [](const Error&) { return true; }).ignore();
    }
    [[nodiscard]] const std::string& path() const { return _path; }
    [[nodiscard]] std::string operator/(const std::string& below) const { return _path + "/" + below; }

  private:
    static std::string defaultParent() {
        const char* given = std::getenv("TMPDIR");
        return given != nullptr && *given == '/' ? given : "/tmp";
    }
    std::string _path;
};

} // namespace vt::test
