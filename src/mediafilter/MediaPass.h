// What one drive's validator remembers during one pass: preferences, which are read once, and files that ran out of
// time, which are not tried again.
// Thread: any; a lock of its own, never held while a file is read.
#pragma once

#include "mediafilter/MediaFacts.h"
#include "mediafilter/MediaServices.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_set>

namespace vt {

class MediaPass {
  public:
    explicit MediaPass(MediaServices& services) : _services(services) {}
    void begin(); // forgets everything
    [[nodiscard]] MediaFileCharacterization characterization(const std::string& path, std::int32_t containerType,
                                                             const FileAttributes* known);
    [[nodiscard]] std::optional<std::string> photoBoothLibrary();

    // The facts of one item: its record is found out once, however many container validators try it.
    class Item final : public MediaFacts {
      public:
        Item(MediaPass& pass, const FileAttributes* known) : _pass(pass), _known(known) {}
        [[nodiscard]] MediaFileCharacterization characterization(const std::string& path,
                                                                 std::int32_t containerType) override;
        [[nodiscard]] std::optional<std::string> photoBoothLibrary() override { return _pass.photoBoothLibrary(); }

      private:
        MediaPass& _pass;
        const FileAttributes* _known;
        std::optional<MediaFileCharacterization> _record;
    };

  private:
    MediaServices& _services;
    std::mutex _lock;
    bool _libraryIsRead = false;
    std::optional<std::string> _library;
    std::unordered_set<std::string> _outOfTime;
};

} // namespace vt
