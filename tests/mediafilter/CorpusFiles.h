// Small media files of every kind, made with the ffmpeg program when a test asks for one.
// Owns: a temporary folder, removed with the object.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vt {

class CorpusFiles {
  public:
    CorpusFiles();
    ~CorpusFiles();
    CorpusFiles(const CorpusFiles&) = delete;
    CorpusFiles& operator=(const CorpusFiles&) = delete;

    // The path of a file of this name; its content is made at the first call. Fails the test when it cannot be made.
    [[nodiscard]] std::string path(const std::string& name);
    // Every name that is known, in a fixed order.
    [[nodiscard]] static std::vector<std::string> names();
    [[nodiscard]] const std::filesystem::path& folder() const { return _folder; }

  private:
    void make(const std::string& name, const std::string& to);
    std::filesystem::path _folder;
};

} // namespace vt
